#pragma once
/// \file satellite_table.h
/// Which vehicle flies under which satellite name: the rows of the engine's satellite navigation table.

#include <array>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "formats/records.h"

namespace gnx {

/// Year, month, day, hour, minute, second (GPS time); year 0 = open.
using TableTime = std::array<int, 6>;

TableTime tableTime(const GpsTime& t);

struct SatelliteRecord {
  std::string name;     ///< "G01"
  std::string vehicle;  ///< three digits of the vehicle number
  std::string block;    ///< "BLOCK IIF"
  std::string launch;   ///< "2011-036A"
  TableTime from{}, until{};
  double mass_kg = 0.0;

  /// Strictly inside, as the engine tests it.
  bool validAt(const TableTime& t) const { return from < t && (until[0] == 0 || t < until); }
};

/// Letter of the engine's system: G R E J, C for BeiDou-3, B for BeiDou-2.
char systemLetter(const SatelliteRecord& satellite);

/// Whether the engine takes the body axes x and y of a block opposite to the convention of the IGS
/// (Montenbruck et al. 2015, Adv. Space Res. 56): GPS blocks IIR and III.
bool hasReversedAxes(const std::string& block);

/// Satellites of such blocks at a time. Their wind-up is half a cycle off for everybody else.
std::set<SatName> reversedSatellites(const std::vector<SatelliteRecord>& rows, const TableTime& now);

/// Reads part 1 of a table.
std::vector<SatelliteRecord> parseSatelliteTable(std::string_view text);
std::string formatSatelliteTable(const std::vector<SatelliteRecord>& rows);

}  // namespace gnx
