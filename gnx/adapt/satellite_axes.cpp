// Who flies with axes of the engine's own.

#include "gnx/adapt.h"

namespace gnx {

bool hasReversedAxes(const std::string& block) {
  return block.starts_with("BLOCK IIR") || block == "BLOCK IIIA";
}

std::set<SatName> reversedSatellites(const std::vector<SatelliteRecord>& rows, const TableTime& now) {
  std::set<SatName> names;
  for (const SatelliteRecord& satellite : rows) {
    if (hasReversedAxes(satellite.block) && satellite.validAt(now)) names.insert(satellite.name);
  }
  return names;
}

}  // namespace gnx
