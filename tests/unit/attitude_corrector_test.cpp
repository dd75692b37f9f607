// Attitudes of a product in observations: what they change of phases and codes against those of the engine.

#include "geometry/astronomy.h"
#include "geometry/vector3.h"
#include "gnx/adapt.h"
#include "simulate/observer.h"
#include "simulate/simulation.h"
#include "support/host_files.h"

namespace gnx::test {
namespace {

struct AttitudeCorrection : testing::Test {
  AttitudeCorrection() {
    for (const SimulatedSatellite& satellite : sky.satellites())
      satellites[satellite.name].offsets = {{'1', {0.4, 0.1, 1.0}}, {'2', {0.4, 0.1, 1.5}}};
  }

  /// Nominal yaw, turned by what `yaw` says of the seconds since the start, deg.
  std::shared_ptr<AttitudeProduct> turned(const std::function<double(double)>& yaw) const {
    auto product = std::make_shared<AttitudeProduct>();
    product->interval = 30.0;
    for (std::size_t i = 0; i < sky.satellites().size(); ++i)
      for (double at = 0.0; at <= 1800.0; at += 30.0) {
        const GpsTime t = start + at;
        const BodyAxes nominal = nominalAxes(sky.state(i, t).position, sunEarthFixed(t));
        product->attitudes[sky.satellites()[i].name].push_back(
            {t, quaternionOf(turnedAboutZ(nominal, yaw(at)))});
      }
    return product;
  }

  /// Visible satellites at a second, both signals at some phase and range.
  ObsEpoch epochAt(double at) const {
    ObsEpoch epoch{start + at, {}};
    for (std::size_t i = 0; i < sky.satellites().size(); ++i) {
      const Vector3 line = minus(sky.state(i, epoch.time).position, site);
      if (dot(unit(line), unit(site)) < 0.3) continue;
      epoch.sats.push_back({sky.satellites()[i].name, {}});
      for (const char band : {'1', '2'}) epoch.sats.back().signals.push_back({{band, 'W', 0}, 1e8, 2e7});
    }
    return epoch;
  }

  const GpsTime start = toGpsTime({2026, 11, 21, 6, 0, 0.0});
  const Constellation sky{{.systems = "G", .start = start, .hours = 1.0}};
  const Vector3 site = toEarthFixed({0.829, 0.148, 450.0});
  const EphemerisTimeline timeline{{allMessages(sky), {}, {}}, start};
  std::map<SatName, AttitudeCorrector::Satellite> satellites;
};

TEST_F(AttitudeCorrection, NominalYawLeavesEverythingAsItIs) {
  AttitudeCorrector corrector(turned([](double) { return 0.0; }), satellites, timeline.store());
  corrector.moveTo(site);
  for (const double at : {0.0, 45.0, 1000.0}) {
    ObsEpoch epoch = epochAt(at);
    ASSERT_GE(epoch.sats.size(), 6u);
    corrector.apply(epoch);
    for (const SatObs& sat : epoch.sats) {
      EXPECT_NEAR(sat.signals[0].phase, 1e8, 1e-4) << sat.sat;
      EXPECT_NEAR(sat.signals[0].range, 2e7, 1e-5) << sat.sat;
    }
  }
}

// Half a turn about z is half a cycle of both carriers, in the sense of the turn, from epoch to epoch; a
// whole one is a cycle and not nothing.
TEST_F(AttitudeCorrection, TurnsOfTheSatelliteComeOffPhasesAndOffsets) {
  AttitudeCorrector corrector(turned([](double at) { return 0.4 * at; }), satellites, timeline.store());
  EXPECT_THAT(corrector.engineOptions(), StartsWith("-nominalyaw:G"));
  corrector.moveTo(site);
  for (double at = 0.0; at <= 900.0; at += 30.0) {
    ObsEpoch epoch = epochAt(at);
    corrector.apply(epoch);
    if (at != 450.0 && at != 900.0) continue;
    for (const SatObs& sat : epoch.sats) {
      const BroadcastEph& eph = *timeline.store().pick(sat.sat, epoch.time);
      const Vector3 position = evaluateBroadcast(eph, epoch.time).position;
      const BodyAxes axes = nominalAxes(position, sunEarthFixed(epoch.time));
      const double shorter =
          at == 450.0 ? 2.0 * dot(plus(scaled(axes.x, 0.4), scaled(axes.y, 0.1)), unit(minus(position, site)))
                      : 0.0;
      for (const SignalObs& signal : sat.signals) {
        const double wavelength = kLightSpeed / *carrierFrequency('G', signal.code[0]);
        EXPECT_NEAR(signal.range - 2e7, shorter, 1e-3) << sat.sat;
        const double cycles = signal.phase - 1e8 - (signal.range - 2e7) / wavelength;
        EXPECT_NEAR(cycles, at / 900.0, 0.02) << sat.sat << ", up to 14 degrees off the axis";
      }
    }
  }
}

}  // namespace
}  // namespace gnx::test
