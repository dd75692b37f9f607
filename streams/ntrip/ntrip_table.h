#pragma once
/// \file ntrip_table.h
/// The table of a caster's streams.

#include <vector>

#include "link/connection.h"
#include "ntrip/protocol.h"

namespace gnx {

/// Asks the caster of a URL. \throws ConnectionError, UsageError
std::vector<Mountpoint> readSourceTable(const StreamUrl& url, const Credentials& credentials);

}  // namespace gnx
