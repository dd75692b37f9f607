// Offsets of the built-in table, by satellite and band.

#include <cstdio>

#include "deployment/antex_file.h"
#include "deployment/built_in_files.h"
#include "gnx/antenna.h"
#include "gnx/signal.h"

namespace gnx {

std::optional<Vector3> nominalOffset(const SatelliteRecord& satellite, char band) {
  AntexBlock block = nominalBlock(satellite, builtInFiles().at("block_offsets.csv"));
  const std::string code{satellite.name[0], '0', band};
  const auto hz = carrierFrequency(satellite.name[0], band);
  double x = 0.0, y = 0.0, z = 0.0;
  if (!hz || !completeFrequency(block, code, *hz) ||
      std::sscanf(block.find(code)->lines.front().c_str(), "%lf %lf %lf", &x, &y, &z) != 3)
    return std::nullopt;
  return Vector3{x * 1e-3, y * 1e-3, z * 1e-3};
}

}  // namespace gnx
