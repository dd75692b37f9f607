// Reads header lines up to their end mark: version, kind, labels.

#include "formats/rinex_header.h"

#include <string>

#include "text/fields.h"

namespace gnx {

namespace {
constexpr std::size_t kLabel = 60;
constexpr long kLongestHeader = 20000;
}  // namespace

double readRinexVersion(TextReader& reader, char type, double lowest, double highest, const char* content) {
  std::string_view line;
  if (!reader.next(line)) reader.failAtEnd("file is empty");
  // Clock files of version 3.04 carry the label a few columns further right.
  if (line.find("COMPACT RINEX FORMAT") != std::string_view::npos)
    reader.fail("", std::string("holds observations in compact form; give ") + content);
  if (line.find("RINEX VERSION / TYPE") == std::string_view::npos) {
    reader.fail(
        "", std::string("is not a RINEX file (no RINEX VERSION / TYPE in the first line); give ") + content);
  }
  const auto version = parseReal(column(line, 0, 9));
  if (!version) reader.fail("version", "'" + std::string(trim(column(line, 0, 9))) + "' is not a number");
  const std::string_view kind = trim(column(line, 9, 40));
  if (kind.empty() || kind.front() != type) {
    reader.fail("file type", "'" + std::string(kind.substr(0, 20)) + "' where '" + type +
                                 "' is expected; give " + content);
  }
  if (*version < lowest - 1e-6 || *version > highest + 1e-6) {
    reader.fail("version",
                std::string(trim(column(line, 0, 9))) + " is not supported; convert the file to RINEX 3");
  }
  return *version;
}

bool nextHeaderLine(TextReader& reader, HeaderLine& line) {
  std::string_view text;
  if (reader.line() > kLongestHeader)
    reader.fail("header", "no END OF HEADER in 20000 lines; the file is damaged");
  if (!reader.next(text)) reader.failAtEnd("file ends inside the header; it is truncated, fetch it again");
  if (!text.empty() && text.front() == '>') {
    reader.fail("header", "data begin before END OF HEADER; the header is damaged");
  }
  line.text = column(text, 0, kLabel);
  line.label = trim(column(text, kLabel, 40));
  return line.label != "END OF HEADER";
}

}  // namespace gnx
