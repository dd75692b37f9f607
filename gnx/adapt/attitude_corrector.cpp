// What the attitudes of a product change against those of the engine.

#include <algorithm>
#include <cmath>
#include <numbers>

#include "deployment/antex_file.h"
#include "geometry/astronomy.h"
#include "geometry/vector3.h"
#include "gnx/adapt.h"
#include "gnx/signal.h"
#include "text/fields.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

constexpr double kOnEarth_m = 1e6;

/// Effective dipole of a crossed-dipole antenna for propagation along k (Wu et al. 1993, eqs. 15 and 16).
Vector3 effectiveDipole(const Vector3& x, const Vector3& y, const Vector3& k, double sign) {
  return unit(plus(minus(x, scaled(k, dot(k, x))), scaled(cross(k, y), sign)));
}

/// The same phase as `cycles`, as near as can be to the one before.
double continued(double before, double cycles) { return cycles + std::round(before - cycles); }

/// A vector in body axes as an Earth-fixed one.
Vector3 fixed(const Vector3& v, const BodyAxes& axes) {
  return plus(plus(scaled(axes.x, v[0]), scaled(axes.y, v[1])), scaled(axes.z, v[2]));
}

bool fliesOrbitNormal(const std::string& block) {
  return block == "BEIDOU-2G" || block == "BEIDOU-3G-SECM" || block == "BEIDOU-3G-CAST";
}

/// "    279.00      0.00   2319.50" in millimetres; x and y stand in the fields of north and east.
std::map<char, Vector3> offsetsOf(const AntexBlock& block, bool reversed) {
  std::map<char, Vector3> offsets;
  for (const AntexFrequency& frequency : block.frequencies) {
    if (frequency.code.size() != 3) continue;
    for (const std::string& line : frequency.lines) {
      if (line.find("NORTH / EAST / UP") != 60) continue;
      const auto x = parseReal(column(line, 0, 10)), y = parseReal(column(line, 10, 10)),
                 z = parseReal(column(line, 20, 10));
      if (!x || !y || !z) continue;
      const double side = reversed ? -1e-3 : 1e-3;
      offsets[frequency.code[2]] = {*x * side, *y * side, *z * 1e-3};
    }
  }
  return offsets;
}

}  // namespace

double windUp(const BodyAxes& satellite, const Vector3& line, const Vector3& receiver) {
  const Geodetic place = toGeodetic(receiver);
  const Vector3 north = fromEastNorthUp({0.0, 1.0, 0.0}, place),
                west = fromEastNorthUp({-1.0, 0.0, 0.0}, place);
  const Vector3 k = scaled(unit(line), -1.0);
  const Vector3 d = effectiveDipole(north, west, k, 1.0),
                s = effectiveDipole(satellite.x, satellite.y, k, -1.0);
  const double cycles = std::acos(std::clamp(dot(s, d), -1.0, 1.0)) / (2.0 * std::numbers::pi);
  return dot(k, cross(s, d)) > 0.0 ? cycles : -cycles;
}

std::map<SatName, AttitudeCorrector::Satellite> AttitudeCorrector::satellitesOf(const Deployment& deployment,
                                                                                const GpsTime& date) {
  std::map<SatName, Satellite> satellites;
  const TableTime day = tableTime(date);
  const auto rows = parseSatelliteTable(readTextFile(deployment.file("satnav")));
  std::set<SatName> reversed = reversedSatellites(rows, day);
  for (const SatelliteRecord& row : rows)
    if (row.validAt(day)) satellites[row.name].orbitNormal = fliesOrbitNormal(row.block);
  const auto antennas = deployment.file("antpcv");
  if (!deployment.toMassCentre() || !std::filesystem::exists(antennas)) return satellites;
  for (const AntexBlock& block : readAntex(antennas))
    if (block.isSatellite() && satelliteOf(block).validAt(day))
      satellites[block.serial].offsets = offsetsOf(block, reversed.contains(block.serial));
  return satellites;
}

AttitudeCorrector::AttitudeCorrector(std::shared_ptr<const AttitudeProduct> attitudes,
                                     std::map<SatName, Satellite> satellites, const MessageStore& messages)
    : m_attitudes(std::move(attitudes)), m_satellites(std::move(satellites)), m_messages(messages) {}

std::string AttitudeCorrector::engineOptions() const {
  std::string options = "-nominalyaw:";
  for (const auto& [sat, points] : m_attitudes->attitudes)
    if (m_satellites.contains(sat)) options += sat;
  return options;
}

void AttitudeCorrector::apply(ObsEpoch& epoch) {
  if (length(m_position) < kOnEarth_m) return;
  for (SatObs& sat : epoch.sats)
    if (m_satellites.contains(sat.sat) && m_attitudes->attitudes.contains(sat.sat)) apply(sat, epoch.time);
}

void AttitudeCorrector::apply(SatObs& sat, const GpsTime& t) {
  const BroadcastEph* eph = m_messages.pick(sat.sat, t);
  if (eph == nullptr) return;
  const Satellite& satellite = m_satellites.at(sat.sat);
  const auto reference = [&](const GpsTime& at) {
    const SatState state = evaluateBroadcast(*eph, at);
    const BodyAxes orbital = orbitNormalAxes(state);
    const BodyAxes model =
        satellite.orbitNormal ? orbital : nominalYawAxes(state, sunEarthFixed(at)).value_or(orbital);
    return ReferenceAttitudes{quaternionOf(model), quaternionOf(orbital)};
  };
  const Quaternion model = reference(t).model;
  const BodyAxes flown = axesOf(model);
  const BodyAxes given = axesOf(attitudeAt(*m_attitudes, sat.sat, t, reference).value_or(model));
  const Vector3 line = minus(evaluateBroadcast(*eph, t).position, m_position);
  const double turned = turnedBy(sat.sat, windUp(flown, line, m_position), windUp(given, line, m_position));
  for (SignalObs& signal : sat.signals) {
    const auto frequency = carrierFrequency(sat.sat[0], signal.code[0]);
    if (!frequency) continue;
    const auto found = satellite.offsets.find(signal.code[0]);
    const Vector3 offset = found == satellite.offsets.end() ? Vector3{} : found->second;
    const double longer = dot(minus(fixed(offset, given), fixed(offset, flown)), unit(line));
    if (signal.range != 0.0) signal.range -= longer;
    if (signal.phase != 0.0) signal.phase -= longer * *frequency / kLightSpeed + turned;
  }
}

/// Wind-up by the product beyond that of the engine, cycles, both without jumps since the last epoch.
double AttitudeCorrector::turnedBy(const SatName& sat, double engine, double product) {
  const auto [entry, isNew] = m_windUps.try_emplace(sat, WindUps{engine, continued(engine, product)});
  WindUps& now = entry->second;
  if (!isNew) now = {continued(now.engine, engine), continued(now.product, product)};
  return now.product - now.engine;
}

}  // namespace gnx
