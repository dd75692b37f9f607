// Reads critical values and looks them up by dimension and failure rate.

#include "Config/RatioTable.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace tarvio {

namespace {

constexpr std::size_t kFieldWidth = 6;
constexpr std::size_t kHeaderLength = 4095;
constexpr int kMaxDimensions = 1000, kMaxRows = 100000;  ///< beyond them the header is no header
constexpr double kRateStep = 0.0002;

}  // namespace

bool RatioTable::read_table(const char* path) {
  ndim = nrow = 0;
  u = nullptr;
  m_values.clear();
  std::ifstream file(path);
  if (!file.is_open()) {
    std::printf("can't open file: %s\n", path);
    return false;
  }
  std::string line;
  int rows = 0, dimensions = 0;
  std::getline(file, line);
  line.resize(std::min(line.size(), kHeaderLength));
  if (std::sscanf(line.c_str(), "%*s %9d %*s %9d", &rows, &dimensions) != 2) return false;
  if (rows > kMaxRows || dimensions > kMaxDimensions) return false;
  ndim = std::max(dimensions, 0);
  nrow = std::max(rows, 0);
  if (ndim == 0 || nrow == 0) return true;

  m_values.assign(static_cast<std::size_t>(ndim) * static_cast<std::size_t>(nrow), 0.0);
  u = m_values.data();
  for (int r = 0; r < nrow; ++r) {
    if (!std::getline(file, line)) {
      std::printf("end of file: %s", path);
      continue;
    }
    for (int c = 0; c < ndim; ++c) {
      const std::size_t from = static_cast<std::size_t>(c) * kFieldWidth;
      if (from >= line.size()) break;
      const std::string field = line.substr(from, kFieldWidth);
      u[c * nrow + r] = std::strtod(field.c_str(), nullptr);
    }
  }
  return true;
}

double RatioTable::get_u(int n, double pf) const {
  if (ndim < 1 || nrow < 1 || u == nullptr) {
    std::printf("WARNING: Ratio Table is empty");
    return 0.0;
  }
  int row = 0;
  if (!(pf <= 0.25)) {
    row = 1246;  // also for a rate that is no number
  } else if (pf > 0.001) {
    row = static_cast<int>(std::lround(pf / kRateStep)) - 5;
  }
  if (n < 1 || n > ndim || row >= nrow) return 0.0;
  return u[(n - 1) * nrow + std::max(row, 0)];
}

}  // namespace tarvio
