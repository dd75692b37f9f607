// The turns of satellites at noon and midnight, flown twice: by the engine from Kouba's routine and its kin,
// and by the simulator from the definition of each law, second by second on an orbit that is not circular.

#include <gmock/gmock.h>

#include <cmath>

#include "Core/Model/Eclipse.h"
#include "simulate/astronomy.h"
#include "simulate/constellation.h"
#include "support/reference_cases.h"
#include "support/table_fixture.h"

namespace gnx {
namespace {

constexpr double kDegrees = 57.29577951308232;

struct Turns : gnx_test::TableFixture {
  Turns() {
    for (const auto& [cprn, block, limit] : kFlown)
      if (tarvio::s_satRow(cprn) < 0) add(cprn);
  }
  ~Turns() override { tarvio::Eclipse::s_getInstance().m_reset(); }

  /// Body axis x of the engine in the axes of the simulator (earth-fixed).
  static Vector3 engineX(const char* cprn, const char* block, const SatelliteState& state, const GpsTime& t) {
    const double angle = -siderealAngle(t);
    const Vector3 r = turnedAxes(state.position, angle), sun = turnedAxes(sunEarthFixed(t), angle);
    const Vector3 v =
        turnedAxes(plus(state.velocity, cross({0.0, 0.0, kEarthRotation}, state.position)), angle);
    const double xv[6] = {r[0], r[1], r[2], v[0], v[1], v[2]};
    Vector3 x{}, y{}, z{};
    tarvio::Eclipse::s_getInstance().rot_scfix2j2000(modifiedJulianDay(t), secondsOfDay(t), cprn, block, xv,
                                                     sun.data(), x.data(), y.data(), z.data());
    return turnedAxes(x, -angle);
  }

  struct Flown {
    const char *cprn, *block;
    double limit;  ///< largest difference of yaw that is accepted, deg
  };
  /// The engine opens the turn of a CAST satellite at 6 degrees from the Sun's line, the simulator at 6
  /// degrees of orbit angle: the more beta, the more apart.
  static constexpr Flown kFlown[] = {{"G03", "BLOCK IIF", 1.0},      {"G03", "BLOCK IIR-A", 1.0},
                                     {"G03", "BLOCK IIR-B", 1.0},    {"G03", "BLOCK IIR-M", 1.0},
                                     {"G03", "BLOCK IIIA", 1.0},     {"E01", "GALILEO-1", 1.0},
                                     {"E01", "GALILEO-2", 1.0},      {"C20", "BEIDOU-3M-CAST", 8.0},
                                     {"C38", "BEIDOU-3I-CAST", 8.0}, {"C20", "BEIDOU-2M", 1e-6}};
};

TEST_F(Turns, OfEngineAndSimulatorAgree) {
  for (const double beta : {0.9, 1.5, -1.8, 3.2}) {
    SkyOptions o{.systems = "GEC", .start = toGpsTime({2018, 11, 21, 6, 0, 0.0}), .hours = 15.0};
    o.sunAbovePlane = beta;
    o.turns = false;
    const Constellation sky(o);
    for (const auto& [cprn, block, limit] : kFlown) {
      SCOPED_TRACE(testing::Message() << block << ", beta " << beta);
      std::size_t i = 0;
      while (sky.satellites()[i].name != cprn) ++i;
      const bool reversed = std::string(block).starts_with("BLOCK II") && std::string(block) != "BLOCK IIF";
      const Attitude attitude(
          block, [&](const GpsTime& t) { return sky.state(i, t); }, o.start, o.start + o.hours * 3600.0);
      tarvio::Eclipse::s_getInstance().m_reset();
      double largest = 0.0, apart = 0.0;
      for (double s = 0.0; s < o.hours * 3600.0; s += 30.0) {
        const GpsTime t = o.start + s;
        const SatelliteState state = sky.state(i, t);
        const Vector3 sun = sunEarthFixed(t);
        const double turned = attitude.turned(t, sunGeometry(state, sun));
        const BodyAxes axes =
            turnedAboutZ(nominalAxes(state.position, sun), reversed ? turned + 180.0 : turned);
        const Vector3 x = engineX(cprn, block, state, t);
        const double difference = std::atan2(dot(x, axes.y), dot(x, axes.x)) * kDegrees;
        largest = std::fmax(largest, std::fabs(turned));
        apart = std::fmax(apart, std::fabs(difference));
      }
      EXPECT_LT(apart, limit);
      const bool turns = std::string(block) != "BEIDOU-2M" && std::fabs(beta) < 1.6;
      EXPECT_TRUE(!turns || largest > 10.0) << "no turn met: " << largest;
    }
  }
}

// China Satellite Navigation Office, 2019: nominal yaw of beta = +-3 degrees, all along the orbit.
TEST(SimulatedAttitude, OfSecmSatellitesFreezesBeta) {
  const GpsTime start = toGpsTime({2018, 11, 21, 6, 0, 0.0});
  const Constellation sky({.systems = "C", .start = start, .hours = 1.0});
  const Attitude attitude(
      "BEIDOU-3M-SECM", [&](const GpsTime& t) { return sky.state(0, t); }, start, start + 3600.0);
  const Json::Value rows = gnx_test::referenceCases("yaw_cases.json")["galileo_bds"]["secm_csno"];
  ASSERT_GT(rows.size(), 5U);
  for (const Json::Value& row : rows) {
    const SunGeometry g{.beta = row[0].asDouble(), .mu = row[1].asDouble()};
    EXPECT_NEAR(nominalYaw(g), row[2].asDouble(), 1e-4);
    EXPECT_NEAR(std::remainder(nominalYaw(g) + attitude.turned(start, g) - row[3].asDouble(), 360.0), 0.0,
                1e-4);
  }
}

}  // namespace
}  // namespace gnx
