#pragma once
/// \file sp3.h
/// Precise orbits of the Standard Product 3 formats a, b, c and d.
///
/// Reference: S. Hilla, The Extended Standard Product 3 Orbit Format (SP3-d), 2016.

#include <string>
#include <vector>

#include "formats/product_records.h"

namespace gnx {

struct Sp3Product {
  double interval = 0.0;         ///< s; the longest of the files
  std::string agency;            ///< of the first file
  bool broadcastClocks = false;  ///< a header says that the clocks are those of broadcast messages
  std::map<SatName, std::vector<OrbitPoint>> orbits;
  std::map<SatName, std::vector<ClockPoint>> clocks;
};

/// Reads files and joins them by time (GPS time); at equal times the later file wins. Missing positions
/// (0) and clocks (999999.999999) are left out; velocity lines and correlations are skipped.
/// Throws InputError for damage, a missing EOF line included.
Sp3Product readSp3(const std::vector<std::string>& paths);

}  // namespace gnx
