// A whole day of a static station with precise products and with a recorded correction stream.
// Margins are about twice the figures of docs/accuracy.md: a wrong sign or a lost model term breaks them.

#include <cmath>
#include <fstream>
#include <map>

#include "support/real_data.h"

namespace gnx::test {
namespace {

class EsbcDay : public ::testing::Test {
 protected:
  void SetUp() override { GNX_REQUIRE_DATA("esbc_2020177"); }
  const RunDirectory directory;
};

int countLines(const std::filesystem::path& file, const std::string& text) {
  std::ifstream in(file);
  int n = 0;
  for (std::string line; std::getline(in, line);) n += line.find(text) != std::string::npos ? 1 : 0;
  return n;
}

TEST_F(EsbcDay, StaticWithProductsIsAccurateInEveryEpoch) {
  const auto dir = directory.path();
  ReplayOptions o = esbc(dir, "static");
  useProducts(o);
  const ReplayResult r = runReplay(o);
  ASSERT_EQ(r.epochs.size(), 2880U) << "one solution line an epoch";
  ASSERT_TRUE(r.summary.tail);
  EXPECT_LT(r.summary.tail->east.rms, 0.01);
  EXPECT_LT(r.summary.tail->north.rms, 0.01);
  EXPECT_LT(r.summary.tail->up.rms, 0.06);
  EXPECT_LT(r.summary.tail->up.deviation, 0.008);
  EXPECT_GT(r.summary.sigma0Median, 0.4);
  EXPECT_LT(r.summary.sigma0Max, 2.0);
  EXPECT_GE(r.summary.satellitesMin, 10);
  // the single-point start
  double start = 0.0;
  for (std::size_t i = 0; i < 3; ++i) start += std::pow(r.epochs.front().xyz[i] - (*o.reference)[i], 2);
  EXPECT_LT(std::sqrt(start), 10.0);
  // arcs restart at rises, gaps and slips only
  EXPECT_LT(countLines(dir / "engine.log", "add ambiguity!"), 1500);
}

TEST_F(EsbcDay, KinematicWithProductsStaysBelowADecimetre) {
  ReplayOptions o = esbc(directory.path(), "kinematic");
  useProducts(o);
  const ReplayResult r = runReplay(o);
  ASSERT_TRUE(r.summary.afterHour);
  EXPECT_LT(r.summary.afterHour->east.rms, 0.03);
  EXPECT_LT(r.summary.afterHour->north.rms, 0.03);
  EXPECT_LT(r.summary.afterHour->up.rms, 0.10);
}

TEST_F(EsbcDay, StreamAndProductsAgree) {
  ReplayOptions products = esbc(directory.path() / "products", "static");
  useProducts(products);
  ReplayOptions stream = esbc(directory.path() / "stream", "static");
  stream.plan.ssr = {realFile("esbc_2020177/corrections_grg.ssr.gz")};
  stream.deploy.refpoint = "CoM_ITRF";
  const ReplayResult a = runReplay(products), b = runReplay(stream);
  std::map<std::int64_t, std::array<double, 3>> positions;
  for (const SolutionEpoch& e : a.epochs) positions[e.time.seconds] = e.xyz;
  int compared = 0;
  for (const SolutionEpoch& e : b.epochs) {
    const auto found = positions.find(e.time.seconds);
    if (found == positions.end() || e.status == 0 || e.time - a.epochs.front().time < 3600.0) continue;
    ++compared;
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(e.xyz[i], found->second[i], 0.03) << formatTime(e.time);
  }
  EXPECT_GT(compared, 2600);
}

TEST_F(EsbcDay, BroadcastOrbitsAloneGiveAMetre) {
  ReplayOptions o = esbc(directory.path(), "static");
  o.plan.broadcastOnly = true;
  o.deploy.refpoint = "APC_ITRF";
  const ReplayResult r = runReplay(o);
  ASSERT_TRUE(r.summary.tail);
  EXPECT_LT(r.summary.tail->spatialRms, 1.0);
  EXPECT_EQ(r.epochs.size(), 2880U);
}

TEST_F(EsbcDay, TheSameInputGivesTheSameOutput) {
  ReplayOptions o = esbc(directory.path() / "a", "kinematic");
  useProducts(o);
  o.plan.to = toGpsTime({2020, 6, 25, 1, 0, 0.0});
  ReplayOptions again = o;
  again.outDir = directory.path() / "b";
  runReplay(o);
  runReplay(again);
  for (const char* file : {"solution.pos", "ppp_pos"}) {
    const std::string one = support::readFile(o.outDir / file);
    EXPECT_FALSE(one.empty()) << file;
    EXPECT_EQ(one, support::readFile(again.outDir / file)) << file;
  }
}

}  // namespace
}  // namespace gnx::test
