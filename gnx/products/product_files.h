#pragma once
/// \file product_files.h
/// Orbits, clocks and biases as files: SP3-d, RINEX clock 3.00, Bias-SINEX 1.00. GPS time throughout.
/// Writers throw InputError when a file cannot be written.

#include <filesystem>
#include <string>
#include <vector>

#include "products/stream_products.h"

namespace gnx {

struct ProductFileOptions {
  std::string frame = "ITRF";           ///< at most 5 characters
  std::vector<std::string> comments{};  ///< at most 60 characters each
  GpsTime made{};                       ///< when the files are made, UTC
};

/// Positions and clocks at every epoch from the first to the last; what is missing is marked so.
void writeOrbitFile(const std::filesystem::path& file, const StreamProducts& products,
                    const ProductFileOptions& options);
void writeClockFile(const std::filesystem::path& file, const StreamProducts& products,
                    const ProductFileOptions& options);
/// Observable-specific biases in nanoseconds.
void writeBiasFile(const std::filesystem::path& file, const StreamProducts& products,
                   const ProductFileOptions& options);

}  // namespace gnx
