#pragma once
/// \file RatioTable.h
/// Critical values of the ratio test at a fixed failure rate
/// (Verhagen & Teunissen 2013, The ratio test for future GNSS ambiguity resolution, GPS Solut. 17).

#include <vector>

namespace tarvio {

/// Table of critical values by number of ambiguities and failure rate. Row r stands for the rate
/// (r + 5) * 0.0002. In use exactly when `u` is not null.
class RatioTable {
 public:
  RatioTable() = default;
  RatioTable(const RatioTable&) = delete;
  RatioTable& operator=(const RatioTable&) = delete;

  int ndim = 0;         ///< ambiguity dimensions
  int nrow = 0;         ///< rows per dimension
  double* u = nullptr;  ///< critical values, (n-1)*nrow + r; points into m_values

  /// Reads the table file. False when it cannot be opened or its header is unreadable; a header
  /// without dimensions or rows leaves the table empty: ratio tests then use the configured value.
  bool read_table(const char* path);
  /// Critical value of dimension n at failure rate pf; 0 when there is none.
  double get_u(int n, double pf) const;

 private:
  std::vector<double> m_values;
};

}  // namespace tarvio
