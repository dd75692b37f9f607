// Blocks and offsets of the simulated antennas, as a deployment has them.

#include "simulate/satellite_body.h"

#include <cstdio>

#include "deployment/antex_file.h"
#include "deployment/built_in_files.h"
#include "gnx/satellite.h"
#include "simulate/signals.h"

namespace gnx {

namespace {

const std::vector<SatelliteRecord>& table() {
  static const std::vector<SatelliteRecord> rows = parseSatelliteTable(builtInFiles().at("satnav.txt"));
  return rows;
}

}  // namespace

SatelliteBody builtInBody(const SatName& sat, const GpsTime& date, const std::vector<std::string>& signals) {
  const TableTime time = tableTime(date);
  for (const SatelliteRecord& row : table()) {
    if (row.name != sat || !row.validAt(time)) continue;
    SatelliteBody body{row.block, {}};
    AntexBlock antennas = nominalBlock(row, builtInFiles().at("block_offsets.csv"));
    for (const std::string& signal : signals) {
      const std::string code = std::string{sat[0], '0', signal[0]};
      double x = 0.0, y = 0.0, z = 0.0;
      if (completeFrequency(antennas, code, carrierFrequency(sat[0], signal)) &&
          std::sscanf(antennas.find(code)->lines.front().c_str(), "%lf %lf %lf", &x, &y, &z) == 3)
        body.antenna[signal] = scaled({x, y, z}, 1e-3);
    }
    return body;
  }
  return {};
}

}  // namespace gnx
