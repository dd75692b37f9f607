// Real streams of Rome: a receiver, and corrections that change their broadcast messages before those come.

#include <gmock/gmock.h>

#include <cmath>

#include "gnx/geodesy.h"
#include "run/run_files.h"
#include "support/child.h"
#include "support/real_data.h"

namespace gnx::test {
namespace {

TEST(LiveStreams, RomeHasAPositionFromTheFirstUsableMessageToTheLastEpoch) {
  GNX_REQUIRE_DATA("rtcm3/roma_2026037_msm5.rtcm3.gz");
  GNX_REQUIRE_DATA("rome_2026037_ssr/ssr_provider260_2026037.rtcm3.gz");
  const std::string observations = realFile("rtcm3/roma_2026037_msm5.rtcm3.gz"),
                    corrections = realFile("rome_2026037_ssr/ssr_provider260_2026037.rtcm3.gz");
  const support::TemporaryDirectory dir;
  const auto run =
      support::runProgram("live --obs 'file://" + observations + "?speed=0' --ssr file://" + corrections +
                          " --systems E --mode static " + "--antex " + realFile("antex/igs14_2134.atx.gz") +
                          " --solution-name solution.csv --out " + dir.path().string());
  ASSERT_EQ(run.status, 0) << run.output;
  EXPECT_THAT(run.output, testing::HasSubstr("I/NAV alone"));
  EXPECT_THAT(run.output, testing::HasSubstr("GLONASS corrections in GPS time"));

  std::vector<SolutionEpoch> solved;
  for (const SolutionEpoch& e : readSolutionCsv(dir.path() / "solution.csv"))
    if (e.status >= 2) solved.push_back(e);
  ASSERT_GT(solved.size(), 2490U);
  EXPECT_LT(solved.front().time - toGpsTime({2026, 2, 6, 20, 4, 0.0}), 25.0);
  for (std::size_t i = 1; i < solved.size(); ++i)
    EXPECT_LT(solved[i].time - solved[i - 1].time, 23.0) << formatTime(solved[i].time);  // the receiver's gap
  // Seven satellites and codes with multipath; a wrong message would move the position by more.
  const SolutionEpoch& last = solved.back();
  for (const SolutionEpoch& e : solved) {
    if (e.time - solved.front().time < 1800.0) continue;
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(e.xyz[i], last.xyz[i], 0.4);
  }
}

}  // namespace
}  // namespace gnx::test
