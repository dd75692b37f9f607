// The pole tide through the whole of the program: a simulated site rides on the tide of a pole away from the
// secular one; a run that is given the pole takes it off, one that is not leaves it in the position.

#include <gmock/gmock.h>

#include "deployment/pole_table.h"
#include "simulate/tides.h"
#include "support/simulated_files.h"
#include "text/printed.h"

namespace gnx::test {
namespace {

TEST(PoleTide, IsTakenOffWithRecordsOfThePole) {
  const RunDirectory directory;
  constexpr double kX = 0.45, kY = -0.35;  // twice what the pole ever does
  SimulationOptions sky = shortSky("GE", 0.25);
  sky.observer.poleOffset = {kX, kY};
  std::string erp = "version 2\n  MJD   Xpole   Ypole  UT1-UTC\n";
  for (const double mjd : {61364.5, 61365.5, 61366.5}) {
    const EarthRotation secular = secularPole(mjd);
    erp += printed("%.2f %.0f %.0f 150000\n", mjd, (secular.x + kX) * 1e6, (secular.y + kY) * 1e6);
  }
  const SimulationFiles files = simulate(sky, directory.path() / "data");
  const auto position = [&](const std::string& name, const std::string& file) {
    ReplayOptions o = replayOf(files, "GE", directory.path() / name);
    o.deploy.resolution = false;
    o.deploy.erp = file;
    const ReplayResult result = runReplay(o);
    EXPECT_FALSE(result.epochs.empty());
    return result.epochs.empty() ? Vector3{} : Vector3(result.epochs.back().xyz);
  };
  const Vector3 left = minus(position("without", ""), position("with", directory.write("pole.erp", erp)));
  const Vector3 tide = poleTide(toGeodetic(sky.observer.site), kX, kY);
  EXPECT_GT(length(tide), 0.01);
  EXPECT_LT(length(minus(left, tide)), 0.0005);
}

}  // namespace
}  // namespace gnx::test
