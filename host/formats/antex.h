#pragma once
/// \file antex.h
/// Light index of an ANTEX file: which antennas it holds and when they are valid.
///
/// Reference: M. Rothacher, R. Schmid, ANTEX: The Antenna Exchange Format, version 1.4, 2010.

#include <string>
#include <vector>

#include "formats/records.h"

namespace gnx {

/// One antenna block. A satellite has its name in `sat`; a receiver antenna has it empty.
struct AntexEntry {
  std::string type;     ///< 20 columns, trailing blanks kept for receiver antennas (radome in 17-20)
  SatName sat;          ///< "G05", satellites only
  std::string svn;      ///< "G050"
  std::string cospar;   ///< "2009-014A"
  GpsTime from, until;  ///< open ends are far away
  std::vector<std::string> frequencies;  ///< "G01", ...
  long line = 0;                         ///< of START OF ANTENNA
};

/// Reads the index; patterns are passed over. Throws InputError for damage.
std::vector<AntexEntry> readAntexIndex(const std::string& path);

}  // namespace gnx
