// Satellites that turn at noon and midnight, through the whole of the program: a sky whose first planes
// point at the Sun. Wind-up and antenna offsets of its observations follow turns that the simulator flies
// from the definition of each law (attitude.h); what the engine does not follow stays in the phases.
//
// The Sun is 0.3 degrees above the planes, +-0.5 by satellite: where its direction has to be good to a
// hundredth of a degree. Observations are free of noise, so the test of outliers, which judges by the
// scatter, is off.

#include <gmock/gmock.h>

#include <cmath>
#include <numbers>

#include "geometry/astronomy.h"
#include "run/run_files.h"
#include "support/simulated_files.h"
#include "text/printed.h"

namespace gnx::test {
namespace {

struct Event {
  bool noon = false, massCentre = false;
};

class EclipsePass : public ::testing::TestWithParam<Event> {
 protected:
  EclipsePass() {
    truth = shortSky("GEC", 5.0);
    truth.sky.start = toGpsTime({2018, 11, 21, 6, 0, 0.0});
    truth.sky.sunAbovePlane = 0.3;
    truth.sky.massCentre = GetParam().massCentre;
    // Under the Sun or opposite to it in the middle of the span, away from the zenith of the turns.
    const Vector3 sun = sunEarthFixed(truth.sky.start + 2.5 * 3600.0);
    const double longitude = std::atan2(sun[1], sun[0]) + (GetParam().noon ? 0.0 : std::numbers::pi);
    const double latitude = (GetParam().noon ? 0.7 : -0.7) * std::asin(sun[2] / length(sun));
    ObserverOptions& o = truth.observer;
    o.site = toEarthFixed({latitude, longitude, 100.0});
    o.maskDegrees = 15.0;
    o.codeSigma = o.phaseSigma = o.codeMultipath = o.phaseMultipath = 0.0;
  }

  /// Ionosphere-free phase residuals by block of the satellites off nominal yaw, and "" for the others.
  struct Residuals {
    int epochs = 0;
    double square = 0.0, largest = 0.0;
    double rms() const { return std::sqrt(square / epochs); }
    void add(double v) {
      ++epochs;
      square += v * v;
      largest = std::fmax(largest, std::fabs(v));
    }
  };
  using ByBlock = std::map<std::string, Residuals>;

  /// Runs the engine over the sky.
  /// \param turning  whether the satellites of the observations turn
  /// \param told  whether the run is given their attitudes
  ByBlock run(bool turning, bool told = false) {
    const std::filesystem::path folder =
        directory.path() / (std::string(turning ? "turning" : "nominal") + (told ? "_told" : ""));
    truth.sky.turns = turning;
    ReplayOptions o = replayOf(simulate(truth, folder), "GEC", folder / "run");
    o.deploy.refpoint = truth.sky.massCentre ? "CoM_ITRF" : "APC_ITRF";
    o.deploy.resolution = false;
    o.deploy.overrides["threshold.dia_batch-limit"] = "1e6 1e6";
    o.plan.excluded = {"G04"};  // no law is simulated for block IIA
    o.plan.details = 30.0;
    if (told) o.plan.orbex = {directory.write(folder.filename().string() + ".obx", attitudes())};
    runReplay(o);
    return residuals(folder / "run");
  }

 private:
  /// How the satellites fly, every 30 s.
  std::string attitudes() const {
    const Constellation sky(truth.sky);
    std::string text = "%=ORBEX  0.09\n%%\n+EPHEMERIS/DATA\n";
    for (double at = 0.0; at <= 3600.0 * truth.sky.hours; at += 30.0) {
      const GpsTime t = truth.sky.start + at;
      const Calendar c = toCalendar(t);
      text += printed("## %d %d %d %d %d %.3f\n", c.year, c.month, c.day, c.hour, c.minute, c.second);
      for (std::size_t i = 0; i < sky.satellites().size(); ++i) {
        const SatelliteState state = sky.state(i, t);
        const Vector3 sun = sunEarthFixed(t);
        const double turned = sky.turned(i, t, sunGeometry(state, sun));
        const auto [w, x, y, z] = quaternionOf(turnedAboutZ(nominalAxes(state.position, sun), turned));
        text += printed(" ATT %s 4 %.12f %.12f %.12f %.12f\n", sky.satellites()[i].name.c_str(), w, x, y, z);
      }
    }
    return text + "-EPHEMERIS/DATA\n%END_ORBEX\n";
  }

  /// Of the turns as they should be, behind the first hour.
  ByBlock residuals(const std::filesystem::path& folder) {
    truth.sky.turns = true;
    const Constellation sky(truth.sky);
    std::map<SatName, std::size_t> rows;
    for (std::size_t i = 0; i < sky.satellites().size(); ++i) rows[sky.satellites()[i].name] = i;
    ByBlock found;
    std::map<std::pair<double, SatName>, double> first;
    for (const Residual& r : readRunFiles(folder).residuals) {
      const double seconds = r.time - truth.sky.start;
      if (!r.phase || seconds < 3600.0) continue;
      const auto [before, fresh] = first.try_emplace({seconds, r.satellite}, r.value);
      if (fresh) continue;
      const std::size_t i = rows.at(r.satellite);
      const double turn =
          std::fabs(sky.turned(i, r.time, sunGeometry(sky.state(i, r.time), sunEarthFixed(r.time))));
      if (turn != 0.0 && turn < 10.0) continue;
      const auto& signals = truth.sky.signals.at(r.satellite[0]);
      const double g = std::pow(
          carrierFrequency(r.satellite[0], signals[0]) / carrierFrequency(r.satellite[0], signals[1]), 2);
      found[turn == 0.0 ? "" : sky.satellites()[i].block].add((g * before->second - r.value) / (g - 1.0));
    }
    return found;
  }

  SimulationOptions truth;
  const RunDirectory directory;
};

INSTANTIATE_TEST_SUITE_P(, EclipsePass,
                         ::testing::Values(Event{false, true}, Event{true, true}, Event{true, false}),
                         [](const auto& info) {
                           return std::string(info.param.noon ? "Noon" : "Midnight") +
                                  (info.param.massCentre ? "" : "WindupAlone");
                         });

// The engine follows every turn to half a millimetre. Where the sky does not turn it leaves what it adds:
// the test sees turns that are missing, late or the wrong way round.
TEST_P(EclipsePass, ResidualsStayAtAMillimetre) {
  ByBlock turning = run(true), nominal = run(false);
  EXPECT_LT(turning[""].rms(), 0.001) << "satellites in nominal yaw";
  std::vector<std::string> blocks = {"GALILEO-2", "BEIDOU-3M-CAST"};
  if (GetParam().noon) blocks.insert(blocks.end(), {"BLOCK IIR-M", "BEIDOU-3M-SECM"});
  else blocks.insert(blocks.end(), {"BLOCK IIR-B", "BLOCK IIF"});
  for (const std::string& block : blocks) {
    SCOPED_TRACE(block);
    EXPECT_GT(turning[block].epochs, 10);
    EXPECT_LT(turning[block].rms(), 0.0005);
    EXPECT_LT(turning[block].largest, 0.0012);
    EXPECT_GT(nominal[block].largest, 3.0 * turning[block].largest);
  }
  EXPECT_GT(nominal["GALILEO-2"].largest, 0.01);
}

// Whatever the satellites do, a product that tells it leaves nothing: of turns, and of those that the
// engine's laws would make where they make none, half a cycle of wind-up and the offsets across the line of
// sight.
TEST_P(EclipsePass, AttitudesOfAProductGoBeforeTheLawsOfTheEngine) {
  for (const bool turning : {true, false}) {
    SCOPED_TRACE(turning);
    ByBlock told = run(turning, true);
    EXPECT_GE(told.size(), 4u);
    for (const auto& [block, residuals] : told) {
      EXPECT_LT(residuals.rms(), block.empty() ? 0.001 : 0.0005) << block;
      EXPECT_LT(residuals.largest, 0.0025) << block;
    }
  }
}

}  // namespace
}  // namespace gnx::test
