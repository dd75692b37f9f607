#pragma once
/// \file satellite.h
/// Names of satellites, and which vehicle flies under which name.

#include <array>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "gnx/time.h"

namespace gnx {

/// Three characters such as "G05": the letter of the system (G GPS, R GLONASS, E Galileo, C BeiDou, J QZSS,
/// S SBAS) and a number; QZSS counts from J01.
using SatName = std::string;

/// A satellite name; " 5" and "G 5" are read as GPS 5 and "G05". Nothing for number 0 or bad text.
std::optional<SatName> parseSat(std::string_view text);

/// Year, month, day, hour, minute, second (GPS time); year 0 = open.
using TableTime = std::array<int, 6>;

TableTime tableTime(const GpsTime& t);

/// A vehicle under its name, for a time.
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

/// Reads the first part of the engine's satellite table.
std::vector<SatelliteRecord> parseSatelliteTable(std::string_view text);
std::string formatSatelliteTable(const std::vector<SatelliteRecord>& rows);

/// The vehicles that this library knows without any file.
const std::vector<SatelliteRecord>& builtInSatellites();

}  // namespace gnx
