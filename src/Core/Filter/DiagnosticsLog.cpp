// Lines of the diagnostics: one format a kind of line.

#include "Core/Filter/DiagnosticsLog.h"

#include <charconv>

#include "Common/Logtrace.h"

namespace tarvio {

namespace {

constexpr std::size_t kStation = 32;  ///< letters of a station's name that are written

/// As printf has it: both round correctly.
void s_append(std::string& text, double value, int digits) {
  constexpr std::size_t kLongest = 400;  // the largest number has 309 digits before the point
  char buffer[kLongest];
  text.append(buffer, std::to_chars(buffer, buffer + kLongest, value, std::chars_format::fixed, digits).ptr);
}

}  // namespace

void DiagnosticsLines::m_begin(const char* tag, std::string_view station) {
  m_text.append(tag).append(1, ' ').append(std::to_string(m_mjd)).append(1, ' ');
  s_append(m_text, m_sod, 3);
  m_text.append(1, ' ').append(station.substr(0, kStation));
}

void DiagnosticsLines::m_put(const Fixed& number) {
  if (!number.known) return m_put("-");
  m_text.push_back(' ');
  s_append(m_text, number.value, number.digits);
}

void DiagnosticsLines::m_flush() {
  static constexpr char kFile[] = "diagnostics.log";
  if (m_text.empty()) return;
  if (!Logtrace::s_defaultlogger.m_lexist(kFile)) Logtrace::s_defaultlogger.m_openLog(kFile);
  Logtrace::s_defaultlogger.m_wtText(("@" + std::string(kFile) + " " + m_text).c_str());
  m_text.clear();
}

}  // namespace tarvio
