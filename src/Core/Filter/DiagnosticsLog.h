#pragma once
/// \file DiagnosticsLog.h
/// How diagnostics are written: tagged lines in the file "diagnostics.log" of the working directory, one line
/// a row, fields separated by blanks. Every line starts with
///
///   TAG mjd sod station

#include <string>
#include <string_view>

#include "Core/Filter/FilterConfig.h"

namespace tarvio {

/// Whether the option string (Deploy::m_pams) asks for a kind of lines.
inline bool s_wantsLines(const char* option) { return s_has(s_config().m_pams, option); }

/// A number with so many digits behind the point; "-" for one that is not known.
struct Fixed {
  double value = 0.0;
  int digits = 0;
  bool known = true;
};

/// Gathers the lines of an epoch: one write, one flush for as many as the log takes at once.
class DiagnosticsLines {
 public:
  DiagnosticsLines(int mjd, double sod) : m_mjd(mjd), m_sod(sod) {}
  ~DiagnosticsLines() { m_flush(); }
  DiagnosticsLines(const DiagnosticsLines&) = delete;
  DiagnosticsLines& operator=(const DiagnosticsLines&) = delete;

  /// \param values  texts, whole numbers, Fixed; blanks go between them
  template <typename... Values>
  void m_add(const char* tag, std::string_view station, const Values&... values) {
    m_begin(tag, station);
    (m_put(values), ...);
    m_text.push_back('\n');
    if (m_text.size() > kChunk) m_flush();
  }

 private:
  static constexpr std::size_t kChunk = 30000;  ///< characters; the log formats into a bounded buffer

  void m_begin(const char* tag, std::string_view station);
  void m_put(std::string_view text) { m_text.append(1, ' ').append(text); }
  void m_put(char letter) { m_put(std::string_view(&letter, 1)); }
  void m_put(int number) { m_put(std::to_string(number)); }
  void m_put(const Fixed& number);
  void m_flush();

  int m_mjd;
  double m_sod;
  std::string m_text;
};

}  // namespace tarvio
