// Fixes against the whole cycles of a simulation.

#include "report/integer_check.h"

#include <gtest/gtest.h>

#include "support/files.h"

namespace gnx {
namespace {

/// Epochs of half a minute; slips of G05 on its second signal at the third one.
std::optional<IntegerTruth> truth() {
  std::string text = "sow_s,sat,azimuth_deg,ambiguities\n";
  for (int k = 0; k < 6; ++k) {
    const std::string sow = std::to_string(30 * k) + ".000,";
    text += sow + "G02,1.0,1C:100 2W:40\n";
    text += sow + "G05,2.0,1C:-7 2W:" + (k < 3 ? "5" : "6") + "\n";
  }
  const support::TemporaryDirectory directory;
  return IntegerTruth::read(directory.write("truth.csv", text));
}

IntegerSample sample(int epoch, const char* level, const char* slots, double value,
                     std::optional<int> integer) {
  return {fromWeek(2445, 30.0 * epoch), "G05", "G02", level, slots, value, integer};
}

TEST(IntegerCheck, DifferencesOfFrequenciesMustEqualTheTruthAndSingleOnesButForTurns) {
  std::vector<IntegerSample> samples;
  for (int k = 0; k < 6; ++k) {
    // L1-L2: (-7 - 5) - (100 - 40) = -72, and -73 behind the slip.
    const int wide = k < 3 ? -72 : -73;
    samples.push_back(sample(k, "wl", "L1-L2", wide + 0.1, k == 4 ? wide + 1 : wide));
    // L1: -7 - 100 = -107, half of the fixes of a wind-up that began one turn later and one by two.
    samples.push_back(
        sample(k, "n1", "L1", -106.2, k == 0 ? std::nullopt : std::optional(k == 5 ? -108 : -106)));
  }
  const IntegerCheck check = checkIntegers(samples, truth());
  const LevelCheck &wide = check.levels.at("wl"), &narrow = check.levels.at("n1");
  EXPECT_EQ(wide.checked, 6u);
  EXPECT_EQ(wide.wrong, 1u);
  EXPECT_EQ(narrow.candidates, 6u);
  EXPECT_EQ(narrow.fixed, 5u);
  EXPECT_EQ(narrow.wrong, 1u);
  EXPECT_EQ(check.epochs, 6u);
  EXPECT_EQ(check.wrongEpochs, 2u);
  EXPECT_EQ(shareNearInteger(wide), 1.0);
  EXPECT_EQ(shareNearInteger(narrow), 0.0) << "0.2 cycle off";
  EXPECT_EQ(arcsNearInteger(narrow), 0u);
}

TEST(IntegerCheck, TwoTurnsAreNoWindUpAndWithoutTruthNothingIsWrong) {
  std::vector<IntegerSample> samples;
  for (int k = 0; k < 6; ++k) samples.push_back(sample(k, "n1", "L1", -105.0, -105));
  EXPECT_EQ(checkIntegers(samples, truth()).levels.at("n1").wrong, 6u);
  EXPECT_EQ(checkIntegers(samples, std::nullopt).levels.at("n1").checked, 0u);
  EXPECT_FALSE(IntegerTruth::read("/absent.csv"));
}

TEST(IntegerCheck, GroupsOfSatellitesThatALaterPairJoinsShareOneZero) {
  // Without cycles in the truth a fix tells the turns themselves: G01 and G02 have none, G03 and G04 one.
  const support::TemporaryDirectory directory;
  const auto zeros = IntegerTruth::read(
      directory.write("truth.csv",
                      "sow_s,sat,azimuth_deg,ambiguities\n0.000,G01,1,1C:0\n0.000,G02,1,1C:0\n"
                      "0.000,G03,1,1C:0\n0.000,G04,1,1C:0\n"));
  std::vector<IntegerSample> samples;
  const auto fix = [&](int times, const char* satellite, const char* reference, int integer) {
    for (int k = 0; k < times; ++k)
      samples.push_back({fromWeek(2445, 30.0 * k), satellite, reference, "n1", "L1", integer + 0.1, integer});
  };
  fix(7, "G01", "G02", 0);
  fix(6, "G03", "G04", 0);
  fix(5, "G04", "G02", 1);
  fix(4, "G01", "G03", -1);
  EXPECT_EQ(checkIntegers(samples, zeros).levels.at("n1").wrong, 0u);
  fix(3, "G01", "G04", 0);
  EXPECT_EQ(checkIntegers(samples, zeros).levels.at("n1").wrong, 3u) << "against both groups";
}

TEST(IntegerCheck, ArcsEndWithGapsAndLeaps) {
  std::vector<IntegerSample> samples;
  for (int k = 0; k < 4; ++k) samples.push_back(sample(k, "wl", "L1-L2", k < 2 ? 5.1 : 8.1, std::nullopt));
  for (int k = 40; k < 43; ++k) samples.push_back(sample(k, "wl", "L1-L2", 8.4, std::nullopt));
  const auto check = checkIntegers(samples, std::nullopt);
  const LevelCheck& level = check.levels.at("wl");
  ASSERT_EQ(level.arcs.size(), 3u);
  EXPECT_EQ(arcsNearInteger(level), 2u);
  EXPECT_NEAR(level.arcs[0].mean, 0.1, 1e-12);
  EXPECT_EQ(level.arcs[2].count, 3u);
}

}  // namespace
}  // namespace gnx
