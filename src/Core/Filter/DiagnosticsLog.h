#pragma once
/// \file DiagnosticsLog.h
/// How diagnostics are written: tagged lines in the file "diagnostics.log" of the working directory, one line
/// a row, fields separated by blanks. Every line starts with
///
///   TAG mjd sod station

#include <cstdio>
#include <string>

#include "Core/Filter/FilterConfig.h"

namespace tarvio {

/// Whether the option string (Deploy::m_pams) asks for a kind of lines.
inline bool s_wantsLines(const char* option) { return s_has(s_config().m_pams, option); }

/// Gathers the lines of an epoch: one write, one flush for as many as the log takes at once.
class DiagnosticsLines {
 public:
  DiagnosticsLines(int mjd, double sod) : m_mjd(mjd), m_sod(sod) {}
  ~DiagnosticsLines() { m_flush(); }
  DiagnosticsLines(const DiagnosticsLines&) = delete;
  DiagnosticsLines& operator=(const DiagnosticsLines&) = delete;

  template <typename... Args>
  void m_add(const char* tag, const std::string& station, const char* format, Args... args) {
    char head[96], body[640];
    std::snprintf(head, sizeof head, "%s %d %.3f %.32s ", tag, m_mjd, m_sod, station.c_str());
    std::snprintf(body, sizeof body, format, args...);
    m_text.append(head).append(body).push_back('\n');
    if (m_text.size() > kChunk) m_flush();
  }

 private:
  static constexpr std::size_t kChunk = 30000;  ///< characters; the log formats into a bounded buffer

  void m_flush();

  int m_mjd;
  double m_sod;
  std::string m_text;
};

}  // namespace tarvio
