// Narrow-lane offsets of satellites: estimated from float ambiguities of known offsets, and their file.

#include "corrections/phase_offsets.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <random>

#include "calibrate/narrow_lanes.h"
#include "formats/input_error.h"
#include "formats/printed.h"
#include "support/files.h"

namespace gnx {
namespace {

double wrapped(double cycles) { return cycles - std::round(cycles); }

/// Floats of arcs that rise every 20 minutes and last 4 hours: integer, offsets, noise that settles.
std::vector<NarrowLane> simulatedFloats(const std::vector<double>& offsets, double noise) {
  std::mt19937 random(7);
  std::normal_distribution<double> normal;
  std::uniform_int_distribution<int> integer(-50, 50);
  std::vector<int> whole;
  for (std::size_t s = 0; s < offsets.size(); ++s) whole.push_back(integer(random));
  std::vector<NarrowLane> floats;
  for (int t = 0; t < 20 * 3600; t += 300) {
    std::optional<std::size_t> reference;  // the first in sight
    for (std::size_t s = 0; s < offsets.size(); ++s) {
      const double age = t - 1200.0 * static_cast<double>(s);
      if (age < 0.0 || age >= 4.0 * 3600.0) continue;
      if (!reference) reference = s;
      const std::size_t r = *reference;
      if (s == r) continue;
      floats.push_back({{t, 0.0},
                        printed("E%zu", 10 + s),
                        printed("E%zu", 10 + r),
                        whole[s] - whole[r] + offsets[s] - offsets[r] +
                            normal(random) * (noise + (age < 1800.0 ? 1.0 : 0.0))});
    }
  }
  return floats;
}

TEST(PhaseOffsets, AreFoundThroughChangingReferences) {
  std::vector<double> truth;
  for (int s = 0; s < 30; ++s) truth.push_back(wrapped(0.37 * s));  // all over the circle
  const PhaseOffsets found = narrowLaneOffsets(simulatedFloats(truth, 0.05));
  ASSERT_GT(found.size(), 25U);
  const double datum = found.at("E15").cycles - truth[5];
  for (const auto& [sat, offset] : found) {
    const auto s = static_cast<std::size_t>(std::stoi(sat.substr(1)) - 10);
    EXPECT_NEAR(wrapped(offset.cycles - datum - truth[s]), 0.0, 0.08) << sat;
  }
}

TEST(PhaseOffsets, OfUnconnectedSatellitesAreLeftOut) {
  std::vector<NarrowLane> floats;
  for (int t = 0; t < 10800; t += 300)
    floats.insert(
        floats.end(),
        {{{t, 0.0}, "G01", "G02", 3.2}, {{t, 0.0}, "G03", "G02", 3.4}, {{t, 0.0}, "G08", "G09", 0.4}});
  const PhaseOffsets found = narrowLaneOffsets(floats);
  EXPECT_EQ(found.size(), 3U);
  EXPECT_FALSE(found.contains("G08"));
  EXPECT_NEAR(wrapped(found.at("G01").cycles - found.at("G02").cycles), 0.2, 1e-9);
}

TEST(PhaseOffsets, FileKeepsThemAndDamageIsNamed) {
  const support::TemporaryDirectory dir;
  const auto read = [&](const std::string& text) { return readPhaseOffsets(dir.write("offsets.csv", text)); };
  const PhaseOffsets kept = read(phaseOffsetsText({{"G05", {-0.123, 0.01, 7}}, {"E31", {0.5, 0.0, 1}}}));
  EXPECT_NEAR(kept.at("G05").cycles, -0.123, 1e-9);
  EXPECT_EQ(kept.size(), 2U);
  for (const char* damage :
       {"", "sat,x\n", "satellite,offset_cycles\nG05\n", "satellite,offset_cycles\nG05,7\n",
        "satellite,offset_cycles\nX,0.1\n", "satellite,offset_cycles\nG05,0\nG05,0\n"})
    EXPECT_THROW(read(damage), InputError) << damage;
}

}  // namespace
}  // namespace gnx
