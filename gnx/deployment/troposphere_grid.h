#pragma once
/// \file troposphere_grid.h
/// The engine's troposphere climatology is a grid of 1 degree in the GPT2w layout: one header line,
/// 64800 lines of 44 numbers from 89.5 N 0.5 E eastwards, then south.

#include <filesystem>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace gnx {

/// Rows of 5 degrees, 36 x 72 from 87.5 N 2.5 E, each with the 42 numbers behind the coordinates.
struct CoarseGrid {
  static constexpr std::size_t kRows = 36, kColumns = 72, kValues = 42;
  std::vector<double> values;

  const double* node(std::size_t row, std::size_t column) const {
    return &values[(row * kColumns + column) * kValues];
  }
};

/// The built-in GPT2 grid, which lacks two quantities: the decrease factor of water vapour is set to
/// its global mean 2.65, the weighted mean temperature to 70.2 + 0.72 T (Bevis et al. 1992, J.
/// Geophys. Res. 97, 15787-15801).
/// \param csv header line, then latitude, longitude and 32 numbers a line
CoarseGrid parseBuiltInGrid(std::string_view csv);

/// Writes the 1-degree grid: the four surrounding nodes are brought to the interpolated height
/// (pressure by the hydrostatic exponential, temperature by the lapse rate), then all is bilinear.
/// At Vienna 0.2 hPa and 1 hPa of vapour pressure from the 1-degree model, more in mountains.
void writeFineGrid(std::ostream& out, const CoarseGrid& grid);

/// What a grid file given by the user is.
enum class GridKind { fine, coarse };
/// Counts lines and numbers. A coarse grid (GPT2w of 5 degrees) goes to `*coarse`.
/// \throws InputError for anything else
GridKind inspectGrid(const std::filesystem::path& path, CoarseGrid* coarse);

}  // namespace gnx
