// Fifteen minutes at 1 Hz with a real-time correction stream as it was received, with its delays.

#include "support/real_data.h"

namespace gnx::test {
namespace {

TEST(ClasStream, RunsThroughAndStaysWithinAMetre) {
  GNX_REQUIRE_DATA("clas_2021078");
  const RunDirectory dir;
  ReplayOptions o;
  o.outDir = dir.path();
  o.program = GNX_PROGRAM;
  o.quiet = true;
  useRealModels(o.deploy);
  o.deploy.systems = "GEJ";
  o.deploy.refpoint = "APC_ITRF";
  o.deploy.run.mode = o.plan.mode = "kinematic";
  o.deploy.run.interval_s = o.plan.interval = 1.0;
  o.plan.obs = {realFile("clas_2021078/SEPT078M.21O.gz")};
  o.plan.nav = {realFile("clas_2021078/SEPT078M.21P.gz"), realFile("clas_2021078/30340780.21q.gz")};
  o.plan.ssr = {realFile("clas_2021078/corrections.ssr.gz")};
  o.plan.availability = realFile("clas_2021078/availability.csv.gz");
  o.reference = {-3962108.674, 3381309.575, 3668678.639};
  const ReplayResult r = runReplay(o);
  EXPECT_EQ(r.epochs.size(), 900U);
  EXPECT_GT(r.summary.solved, 880U);
  for (const SolutionEpoch& e : r.epochs) {
    if (e.time - r.epochs.front().time < 300.0) continue;
    double error = 0.0;
    for (std::size_t i = 0; i < 3; ++i)
      error += (e.xyz[i] - (*o.reference)[i]) * (e.xyz[i] - (*o.reference)[i]);
    EXPECT_LT(error, 1.0) << formatTime(e.time);
  }
}

}  // namespace
}  // namespace gnx::test
