// Reads the pole of a deployment and interpolates it.

#include "Core/Model/PoleTable.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "Common/Logtrace.h"
#include "Common/TextScan.h"

namespace tarvio {

PoleTable& PoleTable::s_getInstance() {
  static PoleTable s_Instance;
  return s_Instance;
}

void PoleTable::v_acqData(const char* path) {
  m_rows.clear();
  std::string content;
  if (!s_readFile(path, content) || s_trimmed(content).empty()) return;
  const std::string wrong = m_take(content);
  if (wrong.empty()) return;
  m_rows.clear();
  Logtrace::m_logStatInfo("polut1 = %s,%s: no polar motion is applied\n", path, wrong.c_str());
}

std::string PoleTable::m_take(const std::string& content) {
  constexpr double kLargestPole_arcsec = 1.0, kLargestUt1_s = 1.0;
  std::string_view text = content, line;
  int limit[2];
  if (!s_nextLine(text, line) || s_scanNumbers(line, limit, 2) != 2)
    return "line 1: first and last MJD expected";
  for (int number = 2; s_nextLine(text, line); ++number) {
    double v[4];
    if (s_scanNumbers(line, v, 4) != 4) continue;
    const std::string where = "line " + std::to_string(number);
    if (!m_rows.empty() && v[0] <= m_rows.back().mjd) return where + ": the dates do not ascend";
    if (std::fabs(v[1]) > kLargestPole_arcsec || std::fabs(v[2]) > kLargestPole_arcsec ||
        std::fabs(v[3]) > kLargestUt1_s)
      return where + ": arcseconds of the pole and seconds of UT1-UTC expected, none beyond 1";
    m_rows.push_back({v[0], {v[1], v[2], v[3]}});
  }
  if (m_rows.size() < 2) return "two records at least expected";
  m_first = std::max<double>(limit[0], m_rows.front().mjd);
  m_last = std::min<double>(limit[1], m_rows.back().mjd);
  return "";
}

bool PoleTable::m_covers(double mjd) const { return !m_rows.empty() && mjd >= m_first && mjd <= m_last; }

void PoleTable::v_polut1(double mjd, double* eop) {
  std::fill(eop, eop + 3, 0.0);
  if (!m_covers(mjd)) return;
  const auto next = std::upper_bound(m_rows.begin() + 1, m_rows.end() - 1, mjd,
                                     [](double day, const Row& row) { return day < row.mjd; });
  const Row &a = *std::prev(next), &b = *next;
  const double w = (mjd - a.mjd) / (b.mjd - a.mjd);
  for (int k = 0; k < 3; ++k) eop[k] = a.value[k] + w * (b.value[k] - a.value[k]);
}

}  // namespace tarvio
