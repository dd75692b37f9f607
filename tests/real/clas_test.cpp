// Fifteen minutes at 1 Hz with a real-time correction stream as it was received, with its delays.

#include "geometry/vector3.h"
#include "support/real_data.h"

namespace gnx::test {
namespace {

TEST(ClasStream, RunsThroughAndSettles) {
  GNX_REQUIRE_DATA("clas_2021078");
  const RunDirectory dir;
  ReplayOptions o = realRun(dir.path(), "kinematic");
  o.deploy.systems = "GEJ";
  o.deploy.refpoint = "APC_ITRF";
  o.deploy.run.interval_s = o.plan.interval = 1.0;
  o.plan.obs = {realFile("clas_2021078/SEPT078M.21O.gz")};
  o.plan.nav = {realFile("clas_2021078/SEPT078M.21P.gz"), realFile("clas_2021078/30340780.21q.gz")};
  o.plan.ssr = {realFile("clas_2021078/corrections.ssr.gz")};
  o.plan.availability = realFile("clas_2021078/availability.csv.gz");
  o.reference = {-3962108.674, 3381309.575, 3668678.639};
  const ReplayResult r = runReplay(o);
  EXPECT_EQ(r.epochs.size(), 900U);
  EXPECT_GT(r.summary.solved, 880U);
  // Without the changes of the phase biases in the phases, or with Galileo F/NAV, it is 0.3 to 0.7 m off
  // there.
  for (const SolutionEpoch& e : r.epochs) {
    const double after_s = e.time - r.epochs.front().time;
    if (after_s < 300.0) continue;
    EXPECT_LT(length(minus(e.xyz, *o.reference)), after_s < 600.0 ? 0.5 : 0.25) << formatTime(e.time);
  }
}

}  // namespace
}  // namespace gnx::test
