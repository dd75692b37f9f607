#pragma once
/// \file Configuration.h
/// How every subsystem reaches the configuration and the satellite rows without knowing who owns them.

#include <string>

#include "Config/Deploy.h"

namespace tarvio {

/// The configuration in force: that of the controller, the values of absent keys where there is none.
/// Constant after loading, but for the current epoch (m_curMjd, m_curSod).
const Deploy& s_config();

/// The satellite row that the models write to: body axes are products of the epoch, which live inside
/// the configuration by contract. Epoch thread only.
Satellite& s_epochSatellite(int isat);

/// Puts a configuration in force; its owner withdraws it with null before it goes.
void s_setConfig(Deploy* deploy);

/// Path behind a key of the table of data files, null when the table lacks it.
const std::string* s_tableFile(const char* key);
/// The same for a file that must be there: a missing key ends the process with the text of the readers,
/// `text` (printf form, the key is its only argument).
const std::string& s_requiredTableFile(const char* function, int line, const char* key,
                                       const char* text = "item = %s,file_table not exist key item\n");

}  // namespace tarvio
