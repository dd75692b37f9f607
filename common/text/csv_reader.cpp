// Reads tables of named columns row by row; complaints name line and column.

#include "text/csv_reader.h"

#include <algorithm>
#include <cmath>

#include "text/fields.h"

namespace gnx {

void splitCells(std::string_view line, std::vector<std::string_view>& cells) {
  cells.clear();
  for (;;) {
    const std::size_t comma = line.find(',');
    cells.push_back(trim(line.substr(0, comma)));
    if (comma == std::string_view::npos) return;
    line.remove_prefix(comma + 1);
  }
}

CsvReader::CsvReader(const std::string& path, const std::vector<std::string>& columns,
                     const std::string& hint)
    : m_reader(path) {
  std::string_view line;
  if (!m_reader.next(line)) m_reader.failAtEnd("is empty; " + hint);
  splitCells(line, m_cells);
  m_columns.assign(m_cells.begin(), m_cells.end());
  for (const std::string& column : columns)
    if (std::ranges::find(m_columns, column) == m_columns.end())
      fail("", "has no column " + column + "; " + hint);
}

bool CsvReader::next() {
  std::string_view line;
  while (m_reader.next(line)) {
    if (trim(line).empty()) continue;
    splitCells(line, m_cells);
    return m_reader.terminated() || m_cells.size() >= m_columns.size();
  }
  return false;
}

std::string_view CsvReader::cell(std::string_view column) const {
  const auto at = static_cast<std::size_t>(std::ranges::find(m_columns, column) - m_columns.begin());
  return at < m_cells.size() ? m_cells[at] : std::string_view();
}

double CsvReader::real(std::string_view column) const {
  const auto value = parseReal(cell(column));
  if (!value) fail(std::string(column), "is missing or no number");
  return *value;
}

int CsvReader::whole(std::string_view column) const {
  const auto value = parseInt(cell(column));
  if (!value) fail(std::string(column), "is missing or no whole number");
  return *value;
}

GpsTime CsvReader::time() const {
  constexpr int kLastWeek = 9999;
  constexpr double kWeek_s = 604800.0;
  const int week = whole("week");
  const double sow = real("sow_s");
  if (week < 0 || week > kLastWeek) fail("week", "is no GPS week");
  if (!(sow >= 0.0 && sow <= kWeek_s)) fail("sow_s", "is no second of a week");
  return fromWeek(week, sow);
}

}  // namespace gnx
