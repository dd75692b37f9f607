#pragma once
/// \file csv_reader.h
/// Comma-separated tables whose first line names the columns.

#include <string>
#include <string_view>
#include <vector>

#include "gnx/records.h"
#include "text/text_reader.h"

namespace gnx {

/// Reads row by row; cells are asked for by the names of their columns, in any order. All members throw an
/// InputError that names file, line and column.
class CsvReader {
 public:
  /// \param columns  which the table must have
  /// \param hint     what to do when it has not: "give the file that ..."
  CsvReader(const std::string& path, const std::vector<std::string>& columns, const std::string& hint);

  /// False at the end. Empty lines are passed over, and a last line that a broken run left unfinished.
  bool next();

  double real(std::string_view column) const;
  int whole(std::string_view column) const;
  /// GPS time of the columns "week" and "sow_s".
  GpsTime time() const;
  [[noreturn]] void fail(const std::string& column, const std::string& what) const {
    m_reader.fail(column, what);
  }

 private:
  std::string_view cell(std::string_view column) const;

  TextReader m_reader;
  std::vector<std::string> m_columns;
  std::vector<std::string_view> m_cells;
};

/// The cells of a line, without blanks around them.
void splitCells(std::string_view line, std::vector<std::string_view>& cells);

}  // namespace gnx
