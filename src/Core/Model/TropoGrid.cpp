// Reading of troposphere grids, cell by cell where the file allows it.

#include "Core/Model/TropoGrid.h"

#include <algorithm>
#include <charconv>

#include "Common/Fatal.h"
#include "Common/Logtrace.h"

namespace tarvio {

namespace {

constexpr std::size_t kNumbers = 44;
constexpr std::size_t kKept = 16;  ///< cells, four of which a site lies between

using Numbers = std::array<double, kNumbers>;

/// Reads the numbers of one line and moves behind the line. \return whether all were there
bool s_lineNumbers(const char*& p, const char* end, Numbers& out) {
  std::size_t i = 0;
  for (; i < out.size(); ++i) {
    while (p < end && (*p == ' ' || *p == '\t')) ++p;
    const auto [next, error] = std::from_chars(p + (p < end && *p == '+'), end, out[i]);
    if (error != std::errc{}) break;
    p = next;
  }
  p = std::find(p, end, '\n');
  if (p < end) ++p;
  return i == out.size();
}

TropoGrid::Cell s_cellOf(const Numbers& v) {
  constexpr double kMilli = 1000.0;
  const auto harmonics = [&v](std::size_t first, double divisor) {
    TropoGrid::Harmonics h;
    for (std::size_t i = 0; i < h.size(); ++i) h[i] = v[first + i] / divisor;
    return h;
  };
  return {harmonics(2, 1.0),
          harmonics(7, 1.0),
          harmonics(12, kMilli),
          harmonics(17, kMilli),
          harmonics(24, kMilli),
          harmonics(29, kMilli),
          harmonics(34, 1.0),
          harmonics(39, 1.0),
          v[22],
          v[23]};
}

}  // namespace

TropoGrid::TropoGrid(const std::string& file) : m_file(file), m_in(file, std::ios::binary) {
  if (!m_in) s_fatal("Tropo_vmf1", __LINE__, "file = %s,can't open file to read!\n", file.c_str());
  if (!m_findLines()) m_readAll();
}

/// Whether the file is a header and kCells lines of one length.
bool TropoGrid::m_findLines() {
  std::string header, first;
  std::getline(m_in, header);
  std::getline(m_in, first);
  m_begin = static_cast<std::streamoff>(header.size()) + 1;
  m_line = static_cast<std::streamoff>(first.size()) + 1;
  m_in.seekg(0, std::ios::end);
  const std::streamoff size = m_in.tellg(), lines = m_line * static_cast<std::streamoff>(kCells);
  return m_in && (size == m_begin + lines || size == m_begin + lines - 1) && m_readLine(0) &&
         m_readLine(kCells - 1);
}

void TropoGrid::m_readAll() {
  m_line = 0;
  m_in.clear();
  m_in.seekg(0, std::ios::end);
  std::string text(static_cast<std::size_t>(std::max<std::streamoff>(m_in.tellg(), 0)), '\0');
  m_in.seekg(0);
  m_in.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (!m_in) s_fatal("Tropo_vmf1", __LINE__, "file = %s,can't open file to read!\n", m_file.c_str());
  m_in.close();
  m_all.reserve(kCells);
  const char* const end = text.data() + text.size();
  const char* p = std::find(static_cast<const char*>(text.data()), end, '\n');
  if (p < end) ++p;  // behind the header line
  for (Numbers v{}; m_all.size() < kCells; m_all.push_back(s_cellOf(v)))
    if (!s_lineNumbers(p, end, v))
      s_fatal("Tropo_vmf1", __LINE__, "file = %s,line %zu: 44 numbers expected in a grid of %zu cells\n",
              m_file.c_str(), m_all.size() + 2, kCells);
}

/// The line must end where the others do, and begin behind another one.
std::optional<TropoGrid::Cell> TropoGrid::m_readLine(std::size_t i) {
  std::string text(static_cast<std::size_t>(m_line) + 1, '\n');
  m_in.clear();
  m_in.seekg(m_begin + m_line * static_cast<std::streamoff>(i) - 1);
  m_in.read(text.data(), static_cast<std::streamsize>(text.size()));
  const bool whole = m_in.gcount() >= m_line && text.front() == '\n' && text.find('\n', 1) + 1 == text.size();
  const char* p = text.data() + 1;
  Numbers v{};
  if (!whole || !s_lineNumbers(p, text.data() + text.size(), v)) return std::nullopt;
  return s_cellOf(v);
}

const TropoGrid::Cell& TropoGrid::m_cell(std::size_t i) {
  if (m_line == 0) return m_all[i];
  const auto kept = std::ranges::find(m_kept, i, &std::pair<std::size_t, Cell>::first);
  if (kept != m_kept.end()) return kept->second;
  std::optional<Cell> cell = m_readLine(i);
  if (!cell && m_kept.empty())
    s_fatal("Tropo_vmf1", __LINE__, "file = %s,line %zu: 44 numbers expected in a grid of %zu cells\n",
            m_file.c_str(), i + 2, kCells);
  if (!cell) {
    Logtrace::m_logStatInfo("grid %s, line %zu cannot be read, its neighbour stands in\n", m_file.c_str(),
                            i + 2);
    cell = m_kept.back().second;
  }
  if (m_kept.size() >= kKept) m_kept.erase(m_kept.begin());
  return m_kept.emplace_back(i, *cell).second;
}

}  // namespace tarvio
