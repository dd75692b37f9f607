/// \file diagnostics.cpp
/// Takes the lines of "diagnostics.log" apart.

#include "run/diagnostics.h"

#include "text/fields.h"

namespace gnx {

bool DiagnosticsReader::next() {
  while (std::getline(m_in, m_line))
    if (takeLine()) return true;
  return false;
}

bool DiagnosticsReader::takeLine() {
  constexpr std::size_t kFewestWords = 5;  // tag, date, time, station, a value
  constexpr std::int64_t kUnixMjd = 40587;
  split(m_line, m_words);
  if (m_words.size() < kFewestWords) return false;
  const auto mjd = parseInt(m_words[1]);
  const auto sod = parseReal(m_words[2]);
  if (!mjd || !sod || !(*sod >= 0.0 && *sod <= 86400.0)) return false;
  m_time = GpsTime{(*mjd - kUnixMjd) * 86400, 0.0} + *sod;
  return true;
}

std::optional<double> DiagnosticsReader::real(std::size_t i) const {
  return i < m_words.size() ? parseReal(m_words[i]) : std::nullopt;
}

std::optional<int> DiagnosticsReader::whole(std::size_t i) const {
  return i < m_words.size() ? parseInt(m_words[i]) : std::nullopt;
}

}  // namespace gnx
