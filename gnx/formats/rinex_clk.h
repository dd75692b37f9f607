#pragma once
/// \file rinex_clk.h
/// Satellite clocks of RINEX clock files, versions 2.00 to 3.04.
///
/// Reference: RINEX Extensions to Handle Clock Information, versions 3.00 and 3.04 (IGS).

#include <string>
#include <vector>

#include "formats/product_records.h"

namespace gnx {

struct ClockProduct {
  double interval = 0.0;  ///< s; the difference found most often between neighbours
  std::map<SatName, std::vector<ClockPoint>> clocks;
  std::string agency;               ///< of the first file that names its centre
  std::vector<std::string> header;  ///< header lines, comments included: some centres keep biases there
};

/// Reads files and joins them by time (GPS time); at equal times the later file wins. Only the rows of
/// satellites (AS) are used. Throws InputError for damage.
ClockProduct readRinexClocks(const std::vector<std::string>& paths);

}  // namespace gnx
