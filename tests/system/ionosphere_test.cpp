// Maps of the ionosphere through the whole of the program: what the engine estimates is what they lack.

#include <gmock/gmock.h>

#include <cmath>

#include "run/run_files.h"
#include "support/simulated_files.h"
#include "text/printed.h"

namespace gnx::test {
namespace {

/// The same content everywhere, TECU.
std::string flatMap(double content) {
  const auto line = [](const std::string& text, const char* label) {
    return printed("%-60s%s\n", text.c_str(), label);
  };
  const std::string row = printed("%5.0f%5.0f%5.0f\n", 10.0 * content, 10.0 * content, 10.0 * content);
  std::string text = line("     1.0            IONOSPHERE MAPS     GPS", "IONEX VERSION / TYPE") +
                     line("  6371.0", "BASE RADIUS") + line("   450.0 450.0   0.0", "HGT1 / HGT2 / DHGT") +
                     line("    90.0 -90.0-180.0", "LAT1 / LAT2 / DLAT") +
                     line("  -180.0 180.0 180.0", "LON1 / LON2 / DLON") + line("", "END OF HEADER") +
                     line("     1", "START OF TEC MAP") +
                     line("  2026    11    21     6     0     0", "EPOCH OF CURRENT MAP");
  for (const double latitude : {90.0, -90.0})
    text += line(printed("  %6.1f-180.0 180.0 180.0 450.0", latitude), "LAT/LON1/LON2/DLON/H") + row;
  return text + line("     1", "END OF TEC MAP") + line("", "END OF FILE");
}

TEST(IonosphereMaps, LeaveTheRestOfTheSlantDelaysAndThePosition) {
  const RunDirectory directory;
  constexpr double kContent = 12.0;
  const SimulationFiles files = simulate(shortSky("G", 0.3), directory.path() / "sky");
  const auto run = [&](const char* name, bool mapped) {
    ReplayOptions o = replayOf(files, "G", directory.path() / name);
    o.plan.details = 30.0;
    o.deploy.ionosphereSigma_m = 9.0;  // next to unknown: both runs find the same ionosphere
    if (mapped) o.plan.ionex = {directory.write("maps.inx", flatMap(kContent))};
    const SolutionEpoch last = runReplay(o).epochs.back();
    return std::pair(last, readRunFiles(o.outDir).ionosphere);
  };
  const auto [position, all] = run("without", false);
  const auto [same, rest] = run("with", true);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(position.xyz[i], same.xyz[i], 0.005);
  ASSERT_GE(all.size(), 6u);
  double least = 1e9, most = 0.0;
  for (const auto& [sat, samples] : all) {
    const double taken = samples.back().value - rest.at(sat).back().value;
    least = std::fmin(least, taken);
    most = std::fmax(most, taken);
  }
  // 0.16 m a TECU at the zenith, nearly three times as much at the horizon; the receiver's bias takes the
  // mean
  EXPECT_GT(most - least, 0.8 * 0.16 * kContent);
  EXPECT_LT(most - least, 2.0 * 0.16 * kContent);
}

}  // namespace
}  // namespace gnx::test
