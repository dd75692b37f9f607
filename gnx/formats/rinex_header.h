#pragma once
/// \file rinex_header.h
/// What the headers of all RINEX files have in common.

#include <string_view>

#include "text/text_reader.h"

namespace gnx {

/// One header line: 60 columns of content and a label behind them.
struct HeaderLine {
  std::string_view text, label;
};

/// Reads the first line, "RINEX VERSION / TYPE".
/// \param type    letter expected in column 20: 'O', 'N' or 'C'
/// \param lowest, highest  versions accepted, both inclusive
/// \param content what the file should be, for the message
/// \return the version
double readRinexVersion(TextReader& reader, char type, double lowest, double highest, const char* content);

/// Reads the next header line. False at END OF HEADER; an InputError when the file ends before it.
bool nextHeaderLine(TextReader& reader, HeaderLine& line);

}  // namespace gnx
