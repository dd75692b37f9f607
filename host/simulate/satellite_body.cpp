// Blocks and offsets of the simulated antennas, as a deployment has them.

#include "simulate/satellite_body.h"

#include "gnx/antenna.h"
#include "gnx/satellite.h"

namespace gnx {

SatelliteBody builtInBody(const SatName& sat, const GpsTime& date, const std::vector<std::string>& signals) {
  const TableTime time = tableTime(date);
  for (const SatelliteRecord& row : builtInSatellites()) {
    if (row.name != sat || !row.validAt(time)) continue;
    SatelliteBody body{row.block, {}};
    for (const std::string& signal : signals)
      if (const auto offset = nominalOffset(row, signal[0])) body.antenna[signal] = *offset;
    return body;
  }
  return {};
}

}  // namespace gnx
