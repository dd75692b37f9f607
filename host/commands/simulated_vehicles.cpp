#include "commands/simulated_vehicles.h"

#include "commands/embedded.h"
#include "deployment/satellite_table.h"

namespace gnx {

std::set<SatName> reversedSatellites(const GpsTime& date) {
  std::set<SatName> names;
  const auto file = embeddedFiles().find("satnav.txt");
  if (file == embeddedFiles().end()) return names;
  const TableTime now = tableTime(date);
  for (const SatelliteRecord& satellite : parseSatelliteTable(file->second)) {
    const bool reversed = satellite.block.starts_with("BLOCK IIR") || satellite.block == "BLOCK IIIA";
    if (reversed && satellite.validAt(now)) names.insert(satellite.name);
  }
  return names;
}

}  // namespace gnx
