#pragma once
/// \file solution_line.h
/// Lines that the engine prints, read back.

#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>

#include "run/solution.h"

namespace gnx::test {

/// Takes the fields of a line one after the other. Integers have fixed widths; a number with decimals
/// ends behind its last decimal, wherever that is, since wide coordinates leave no blank in between.
class FieldCursor {
 public:
  explicit FieldCursor(std::string_view text) : m_text(text) {}

  bool skip(std::size_t count) {
    if (m_text.size() < count) return false;
    m_text.remove_prefix(count);
    return true;
  }

  bool integer(std::size_t width, int& value) {
    if (m_text.size() < width) return false;
    std::string_view field = m_text.substr(0, width);
    m_text.remove_prefix(width);
    const std::size_t start = field.find_first_not_of(' ');
    if (start == std::string_view::npos) return false;
    field.remove_prefix(start);
    const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), value);
    return error == std::errc() && end == field.data() + field.size();
  }

  bool decimal(std::size_t decimals, double& value) {
    const std::size_t start = m_text.find_first_not_of(' ');
    if (start == std::string_view::npos) return false;
    m_text.remove_prefix(start);
    const std::size_t point = m_text.find('.');
    if (point == std::string_view::npos || m_text.size() < point + 1 + decimals) return false;
    const std::string_view field = m_text.substr(0, point + 1 + decimals);
    m_text.remove_prefix(field.size());
    const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), value);
    return error == std::errc() && end == field.data() + field.size() && std::isfinite(value);
  }

  std::string_view rest() const { return m_text; }

 private:
  std::string_view m_text;
};

inline bool readDate(FieldCursor& cursor, GpsTime& time) {
  Calendar c;
  double second = 0.0;
  if (!cursor.integer(4, c.year) || !cursor.integer(3, c.month) || !cursor.integer(3, c.day) ||
      !cursor.integer(3, c.hour) || !cursor.integer(3, c.minute) || !cursor.decimal(1, second))
    return false;
  if (c.year < 1980 || c.month < 1 || c.month > 12 || c.day < 1 || c.day > 31 || c.hour < 0 || c.hour > 23 ||
      c.minute < 0 || c.minute > 59 || second < 0.0 || second > 60.0)
    return false;
  // 59.96 s prints as 60.0: added to the full minute it carries over.
  time = toGpsTime(c) + second;
  return true;
}

/// Reads a solution line as the engine prints it on standard output; nothing for any other line.
/// Format: "%4d%3d%3d%3d%3d%5.1lf%2s%4s%13.4lf%13.4lf%13.4lf%9.3lf%9.3lf%9.3lf%13.3lf%13.3lf%13.3lf
/// %3d%3d%3d%3d%3d%3d%3d %5.2lf%6.3lf %02d %02d": date, " ", station, X Y Z, three zeros, east north
/// up (cm), rows, satellites G R E C B J, PDOP, sigma0, status, fixed.
inline std::optional<SolutionEpoch> parseSolutionLine(std::string_view line) {
  while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.remove_suffix(1);
  FieldCursor cursor(line);
  SolutionEpoch epoch;
  if (!readDate(cursor, epoch.time)) return std::nullopt;
  constexpr std::size_t kFillAndStation = 2 + 4;
  if (!cursor.skip(kFillAndStation)) return std::nullopt;
  for (double& coordinate : epoch.xyz)
    if (!cursor.decimal(4, coordinate)) return std::nullopt;
  double unused = 0.0;
  for (int i = 0; i < 6; ++i)  // sigmas, which stay zero, and the offset from the a-priori position
    if (!cursor.decimal(3, unused)) return std::nullopt;
  const auto readTail = [&epoch](FieldCursor c) {
    if (!c.integer(3, epoch.rows)) return false;
    for (int& count : epoch.satellites)
      if (!c.integer(3, count)) return false;
    return c.decimal(2, epoch.pdop) && c.decimal(3, epoch.sigma0) && c.integer(3, epoch.status) &&
           c.integer(3, epoch.fixed);
  };
  // A blank may stand before the counts; read at the wrong place, their columns hold no whole numbers.
  FieldCursor behindBlank = cursor;
  if (cursor.rest().starts_with(' ') && behindBlank.skip(1) && readTail(behindBlank)) return epoch;
  if (!readTail(cursor)) return std::nullopt;
  return epoch;
}

}  // namespace gnx::test
