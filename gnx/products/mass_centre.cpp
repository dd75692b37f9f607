// Antenna offsets of satellites in earth-fixed axes, from nominal attitude.

#include "products/mass_centre.h"

#include <string>

#include "geometry/astronomy.h"
#include "geometry/vector3.h"
#include "gnx/signal.h"
#include "text/fields.h"

namespace gnx {

namespace {

constexpr double kMillimetre = 1e-3;

bool isGeostationary(const SatName& sat) {
  return (sat >= "C01" && sat <= "C05") || (sat >= "C59" && sat <= "C63");
}

/// Offset of a frequency, m: x, y, z stand in the fields of north, east, up.
std::optional<Vector3> offsetOf(const AntexBlock& block, char band) {
  const AntexFrequency* frequency = block.find(std::string{block.serial[0], '0', band});
  if (frequency == nullptr) return std::nullopt;
  for (const std::string& line : frequency->lines) {
    if (line.find("NORTH / EAST / UP") != 60) continue;
    const auto x = parseReal(column(line, 0, 10)), y = parseReal(column(line, 10, 10)),
               z = parseReal(column(line, 20, 10));
    if (x && y && z) return Vector3{*x * kMillimetre, *y * kMillimetre, *z * kMillimetre};
  }
  return std::nullopt;
}

std::optional<Vector3> ionosphereFree(const AntexBlock& block) {
  const char system = block.serial[0];
  for (const auto& [first, second] : clockReferences(system)) {
    const auto o1 = offsetOf(block, first[1]), o2 = offsetOf(block, second[1]);
    const auto f1 = carrierFrequency(system, first[1]), f2 = carrierFrequency(system, second[1]);
    if (!o1 || !o2 || !f1 || !f2) continue;
    const double g1 = *f1 * *f1, g2 = *f2 * *f2;
    return scaled(minus(scaled(*o1, g1), scaled(*o2, g2)), 1.0 / (g1 - g2));
  }
  return std::nullopt;
}

}  // namespace

MassCentre::MassCentre(const std::vector<AntexBlock>& blocks, const GpsTime& date) {
  const TableTime time = tableTime(date);
  for (const AntexBlock& block : blocks) {
    if (!block.isSatellite() || block.serial.size() != 3 || !satelliteOf(block).validAt(time)) continue;
    if (const auto offset = ionosphereFree(block)) m_offsets[block.serial] = *offset;
  }
}

std::optional<Vector3> MassCentre::offset(const SatName& sat, const Vector3& position,
                                          const GpsTime& t) const {
  const auto found = m_offsets.find(sat);
  if (found == m_offsets.end()) return std::nullopt;
  const Vector3 z = unit(scaled(position, -1.0));
  // against the normal of the equatorial orbit, or along z x Sun
  const Vector3 y =
      isGeostationary(sat) ? Vector3{0.0, 0.0, -1.0} : unit(cross(z, minus(sunEarthFixed(t), position)));
  const Vector3 x = cross(y, z);
  const Vector3& o = found->second;
  return plus(plus(scaled(x, o[0]), scaled(y, o[1])), scaled(z, o[2]));
}

}  // namespace gnx
