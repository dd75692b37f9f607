// Spreads the built-in climatology over the cells of the grid.

#include "deployment/troposphere_grid.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <ostream>

#include "gnx/error.h"
#include "text/fields.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

/// First column of each quantity behind the coordinates, five coefficients each but for the heights.
enum Column : std::size_t {
  kP = 0,
  kT = 5,
  kQ = 10,
  kDT = 15,
  kUndulation = 20,
  kHs = 21,
  kAh = 22,
  kTm = 37
};
constexpr std::size_t kBuiltInValues = 32;
/// Decimals of the published file.
constexpr std::array<int, CoarseGrid::kValues> kDecimals{0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 2, 2, 2, 2,
                                                         2, 1, 1, 1, 1, 1, 2, 2, 4, 4, 4, 4, 4, 4,
                                                         4, 4, 4, 4, 4, 4, 4, 4, 4, 1, 1, 1, 1, 1};

/// Lines of one length are found without reading those before. The longest one is shorter.
constexpr std::size_t kLine = 275;

using Cell = std::array<double, CoarseGrid::kValues>;

/// Appends a number with a fixed count of decimals; 2.8 million of them make the file.
void append(std::string& text, double value, int decimals) {
  static constexpr std::array<double, 5> kScale{1.0, 10.0, 100.0, 1000.0, 10000.0};
  auto scaled = static_cast<long>(std::llround(value * kScale[static_cast<std::size_t>(decimals)]));
  char digits[24];
  char* const end = digits + sizeof digits;
  char* p = end;
  const bool negative = scaled < 0;
  if (negative) scaled = -scaled;
  for (int i = 0; i < decimals || scaled > 0 || i == decimals; ++i) {
    if (i == decimals && decimals > 0) *--p = '.';
    *--p = static_cast<char>('0' + scaled % 10);
    scaled /= 10;
  }
  if (negative) *--p = '-';
  *--p = ' ';
  text.append(p, end);
}

/// The node's values at another height.
Cell atHeight(const double* node, double height) {
  constexpr double kGravity = 9.80665, kMolarMass = 0.028965, kGas = 8.3143;
  Cell cell;
  std::copy_n(node, cell.size(), cell.begin());
  const double rise = height - node[kHs];
  const double virtualTemperature = node[kT] * (1.0 + 0.6077 * node[kQ] / 1000.0);
  const double factor = std::exp(-kGravity * kMolarMass / (kGas * virtualTemperature) * rise);
  for (std::size_t i = 0; i < 5; ++i) {
    cell[kP + i] *= factor;
    cell[kT + i] += node[kDT + i] / 1000.0 * rise;
  }
  return cell;
}

struct Corner {
  const double* node;
  double weight;
};

/// The nodes around a point; poleward of 87.5 degrees the last row holds.
std::array<Corner, 4> cornersOf(const CoarseGrid& grid, double latitude, double longitude) {
  const double y = std::clamp((87.5 - latitude) / 5.0, 0.0, static_cast<double>(CoarseGrid::kRows - 1));
  const double x = (longitude - 2.5) / 5.0;
  const auto row = static_cast<std::size_t>(y);
  const std::size_t below = std::min(row + 1, CoarseGrid::kRows - 1);
  const auto west = static_cast<int>(std::floor(x));
  constexpr int kColumns = static_cast<int>(CoarseGrid::kColumns);
  const auto left = static_cast<std::size_t>((west + kColumns) % kColumns);
  const auto right = static_cast<std::size_t>((west + 1) % kColumns);
  const double v = y - static_cast<double>(row), u = x - west;
  return {Corner{grid.node(row, left), (1 - v) * (1 - u)}, Corner{grid.node(row, right), (1 - v) * u},
          Corner{grid.node(below, left), v * (1 - u)}, Corner{grid.node(below, right), v * u}};
}

/// Numbers of a line, separated by blanks or commas.
std::size_t numbersOf(std::string_view line, double* out, std::size_t most) {
  std::size_t n = 0;
  const char* p = line.data();
  const char* const end = p + line.size();
  while (n < most) {
    while (p < end && (*p == ' ' || *p == ',' || *p == '\t' || *p == '+')) ++p;
    const auto [next, error] = readNumber(p, end, out[n]);
    if (error != std::errc{} || !std::isfinite(out[n])) break;
    p = next;
    ++n;
  }
  return n;
}

}  // namespace

CoarseGrid parseBuiltInGrid(std::string_view csv) {
  CoarseGrid grid;
  grid.values.reserve(CoarseGrid::kRows * CoarseGrid::kColumns * CoarseGrid::kValues);
  csv.remove_prefix(std::min(csv.find('\n') + 1, csv.size()));
  while (!csv.empty()) {
    const std::size_t end = std::min(csv.find('\n'), csv.size());
    std::array<double, 2 + kBuiltInValues> v{};
    if (numbersOf(csv.substr(0, end), v.data(), v.size()) == v.size()) {
      grid.values.insert(grid.values.end(), v.begin() + 2, v.end());
      grid.values.insert(grid.values.end(), {2.65, 0.0, 0.0, 0.0, 0.0});
      for (std::size_t i = 0; i < 5; ++i) grid.values.push_back((i == 0 ? 70.2 : 0.0) + 0.72 * v[2 + kT + i]);
    }
    csv.remove_prefix(std::min(end + 1, csv.size()));
  }
  if (grid.values.size() != CoarseGrid::kRows * CoarseGrid::kColumns * CoarseGrid::kValues) {
    throw InputError("built-in troposphere grid", 0, "is damaged; build the program anew");
  }
  return grid;
}

void writeFineGrid(std::ostream& out, const CoarseGrid& grid) {
  out << "% lat lon p[5] T[5] Q[5] dT[5] undulation Hs ah[5] aw[5] lambda[5] Tm[5]; interpolated from 5 "
         "degrees\n";
  std::string text;
  for (int row = 0; row < 180; ++row) {
    text.clear();
    for (int column = 0; column < 360; ++column) {
      const double latitude = 89.5 - row, longitude = 0.5 + column;
      const std::array<Corner, 4> corners = cornersOf(grid, latitude, longitude);
      double height = 0.0;
      for (const Corner& c : corners) height += c.weight * c.node[kHs];
      Cell sum{};
      for (const Corner& c : corners) {
        const Cell cell = atHeight(c.node, height);
        for (std::size_t i = 0; i < sum.size(); ++i) sum[i] += c.weight * cell[i];
      }
      sum[kHs] = height;
      const std::size_t begin = text.size();
      append(text, latitude, 1);
      append(text, longitude, 1);
      for (std::size_t i = 0; i < sum.size(); ++i) append(text, sum[i], kDecimals[i]);
      text.resize(std::max(text.size(), begin + kLine), ' ');
      text += '\n';
    }
    out << text;
  }
}

GridKind inspectGrid(const std::filesystem::path& path, CoarseGrid* coarse) {
  constexpr std::size_t kFineLines = 64800, kCoarseLines = CoarseGrid::kRows * CoarseGrid::kColumns;
  TextReader in(path.string());
  std::string_view line;
  if (!in.next(line)) in.failAtEnd("is empty: a troposphere grid is needed");
  std::size_t lines = 0;
  std::array<double, 44> v{};
  coarse->values.clear();
  while (in.next(line)) {
    if (line.find_first_not_of(" \t\r") == std::string_view::npos) continue;
    if (lines < kCoarseLines || lines % 997 == 0) {
      if (numbersOf(line, v.data(), v.size()) != v.size())
        in.fail("grid", "44 numbers expected (GPT2w layout)");
      if (lines < kCoarseLines) coarse->values.insert(coarse->values.end(), v.begin() + 2, v.end());
    }
    ++lines;
  }
  if (lines == kFineLines) return GridKind::fine;
  if (lines == kCoarseLines) return GridKind::coarse;
  throw InputError(
      path.string(), 0,
      "has " + std::to_string(lines) + " cells; a GPT2w grid has 64800 (1 degree) or 2592 (5 degrees)");
}

}  // namespace gnx
