#pragma once
/// \file sinex_bias.h
/// Satellite biases of Bias-SINEX 1.00 files.
///
/// Reference: S. Schaer, SINEX_BIAS, Solution (Software/technique) INdependent EXchange Format for
/// GNSS Biases, version 1.00, 2016.

#include <string>
#include <vector>

#include "formats/records.h"

namespace gnx {

/// One row of BIAS/SOLUTION as it stands: observable-specific biases are to be SUBTRACTED from
/// observations; a differential row is the bias of `signal` minus that of `second`.
struct BiasRow {
  SatName sat;
  std::string signal;   ///< "C1W", "L1C"
  std::string second;   ///< empty for an observable-specific bias
  GpsTime from, until;  ///< validity; open ends are far away
  double value = 0.0;   ///< s, or cycles
  bool cycles = false;
};

/// Reads files and appends their rows in order; station biases and ISB rows are skipped.
/// Throws InputError for damage, a missing end line (%=ENDBIA) included.
std::vector<BiasRow> readSinexBias(const std::vector<std::string>& paths);

/// The agency whose data the file holds, from its first line; "" when that names none.
std::string sinexBiasAgency(const std::string& path);

}  // namespace gnx
