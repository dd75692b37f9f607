// Satellite biases: signs, validity, differences turned into biases of signals, wide-lanes.

#include <gmock/gmock.h>

#include <cmath>

#include "corrections/bias_table.h"
#include "corrections/sources.h"
#include "gnx/adapt.h"
#include "gnx/corrections.h"
#include "gnx/signal.h"
#include "support/host_files.h"

namespace gnx::test {
namespace {

const GpsTime kNoon = toGpsTime({2020, 6, 25, 12, 0, 0.0});

std::string sinex(const std::string& rows) {
  return "%=BIA 1.00 TST 2020:177:00000 TST 2020:177:00000 2020:178:00000 R 00000004\n"
         "+BIAS/DESCRIPTION\n TIME_SYSTEM                             G\n-BIAS/DESCRIPTION\n"
         "+BIAS/SOLUTION\n"
         "*BIAS SVN_ PRN STATION__ OBS1 OBS2 BIAS_START____ BIAS_END______ UNIT __ESTIMATED_VALUE____ "
         "_STD_DEV___\n" +
         rows + "-BIAS/SOLUTION\n%=ENDBIA\n";
}

/// A row for G01; a second signal makes it a difference.
std::string row(const char* signal, const char* other, double value, const char* unit = "ns",
                const char* span = "2020:177:00000 2020:178:00000", const char* station = "") {
  char text[200];
  std::snprintf(text, sizeof text, " %s  G063 G01 %-9s %-4s %-4s %s %-4s %21.4f %11.4f\n",
                *other == 0 ? "OSB" : "DSB", station, signal, other, span, unit, value, 0.001);
  return text;
}

double valueOf(const std::vector<SsrBias>& biases, const std::string& signal) {
  const auto found = std::ranges::find(biases, signal, &SsrBias::signal);
  return found == biases.end() ? std::nan("") : found->value;
}

struct SinexBias : testing::Test {
  std::vector<SatBiases> at(const std::string& rows, const GpsTime& t) {
    return BiasTable(readSinexBias({m_dir.write("a.bia", sinex(rows))})).at(t);
  }
  TempDir m_dir;
};

TEST_F(SinexBias, FilesSubtractTheEngineAdds) {
  const auto biases = at(row("C1W", "", -1.0) + row("L1C", "", 0.5) + row("L5Q", "", 0.25, "cyc") +
                             row("C1W", "", 77.0, "ns", "2020:177:00000 2020:178:00000", "ESBC"),
                         kNoon);
  ASSERT_THAT(biases, SizeIs(1));
  EXPECT_NEAR(valueOf(biases[0].code, "1W"), 1e-9 * kLightSpeed, 1e-12);
  EXPECT_NEAR(valueOf(biases[0].phase, "1C"), -0.5e-9 * kLightSpeed, 1e-12);
  EXPECT_NEAR(valueOf(biases[0].phase, "5Q"), -0.25 * kLightSpeed / 1176.45e6, 1e-12);
  EXPECT_THAT(biases[0].code, SizeIs(1)) << "the receiver's bias is not the satellite's";
}

TEST_F(SinexBias, RowsHoldInTheirTimeOnly) {
  const std::string rows = row("C1W", "", 1.0, "ns", "2020:177:00000 2020:177:43200") +
                           row("C1W", "", 2.0, "ns", "2020:177:43200 0000:000:00000");
  EXPECT_NEAR(valueOf(at(rows, kNoon + -1.0)[0].code, "1W"), -1e-9 * kLightSpeed, 1e-12);
  EXPECT_NEAR(valueOf(at(rows, kNoon)[0].code, "1W"), -2e-9 * kLightSpeed, 1e-12);
  EXPECT_THAT(at(rows, kNoon + -86400.0), IsEmpty());
}

TEST_F(SinexBias, DifferencesReferToTheClocksPair) {
  const auto biases = at(row("C1W", "C2W", 8.0) + row("C1C", "C1W", -1.5) + row("C5Q", "C5X", 3.0), kNoon);
  ASSERT_THAT(biases, SizeIs(1));
  const double w1 = valueOf(biases[0].code, "1W"), w2 = valueOf(biases[0].code, "2W");
  const double f1 = 1575.42e6, f2 = 1227.6e6, ns = 1e-9 * kLightSpeed;
  EXPECT_NEAR(f1 * f1 * w1 - f2 * f2 * w2, 0.0, 1e5) << "nothing in the ionosphere-free combination";
  EXPECT_NEAR(w1 - w2, -8.0 * ns, 1e-9);
  EXPECT_NEAR(valueOf(biases[0].code, "1C") - w1, 1.5 * ns, 1e-9);
  EXPECT_TRUE(std::isnan(valueOf(biases[0].code, "5Q"))) << "not connected to the pair";
}

TEST_F(SinexBias, Refusals) {
  const auto refusal = [&](const std::string& content) {
    return inputError([&] { readSinexBias({m_dir.write("bad.bia", content)}); });
  };
  const std::string good = sinex(row("C1W", "", -1.0));
  EXPECT_EQ(refusal(good), "");
  EXPECT_THAT(refusal(good.substr(0, good.size() - 10)), HasSubstr("without %=ENDBIA"));
  std::string unit = good;
  unit.replace(unit.find(" ns "), 4, " km ");
  EXPECT_THAT(refusal(unit), HasSubstr("bad.bia:7: G01 unit: 'km'"));
  EXPECT_THAT(refusal("%=SNX 2.02\n"), HasSubstr("is not a bias SINEX file"));
}

TEST(WideLaneBiases, ShiftTheWideLaneAndNothingElse) {
  const auto wideLanes =
      wideLaneBiases({"WL G02  2020  6 25 12  0  0.000000  1   -0.125700E+01  0102 COMMENT",
                      "WL E01 2020   6 25 12  0  0.000000  1   -4.400000E-01  0105 COMMENT",
                      "WIDELANE SATELLITE BIASES    COMMENT"});
  ASSERT_THAT(wideLanes, SizeIs(2));
  for (const SatBiases& b : phaseBiasesOf(wideLanes)) {
    const double cycles = wideLanes.at(b.sat).cycles;
    const double f1 = 1575.42e6, f2 = b.sat[0] == 'G' ? 1227.6e6 : 1176.45e6;
    const double b1 = valueOf(b.phase, "1C"), b2 = valueOf(b.phase, b.sat[0] == 'G' ? "2W" : "5Q");
    // Melbourne-Wuebbena in cycles is phi1 - phi2 - ...; its integer needs "plus WL".
    EXPECT_NEAR(b1 * f1 / kLightSpeed - b2 * f2 / kLightSpeed, cycles, 1e-12);
    EXPECT_NEAR((f1 * f1 * b1 - f2 * f2 * b2) / (f1 * f1 - f2 * f2), 0.0, 1e-12);
  }
}

// Offsets added to codes and phases, as the engine's model does, must leave the biased wide-lane where it
// was without them, within what a constant can do from the zenith to the horizon.
TEST(WideLaneBiases, MakeUpForOffsetsThatDifferBetweenFrequencies) {
  auto biases = phaseBiasesOf({{"E05", {0.17, '1', '5'}}})[0];
  const double plain = valueOf(biases.phase, "1C");
  const double z1 = 0.72610, z2 = 0.61715, f1 = 1575.42e6, f2 = 1176.45e6;
  makeUpForOffsets(biases, {{'1', z1}, {'5', z2}});
  const double b1 = valueOf(biases.phase, "1C"), b2 = valueOf(biases.phase, "5Q");
  EXPECT_NEAR((f1 * f1 * b1 - f2 * f2 * b2) / (f1 * f1 - f2 * f2), 0.0, 1e-12);
  for (const double nadir : {0.0, 12.4}) {
    const double d1 = z1 * std::cos(nadir / 57.29577951308232), d2 = d1 * z2 / z1;
    const double wideLane = (f1 * (d1 + b1) - f2 * (d2 + b2)) / (f1 - f2) - (f1 * d1 + f2 * d2) / (f1 + f2);
    EXPECT_NEAR(wideLane / (kLightSpeed / (f1 - f2)), 0.17, 0.01) << nadir;
  }
  makeUpForOffsets(biases, {{'1', 0.7}});  // no second offset: nothing to make up for
  EXPECT_EQ(valueOf(biases.phase, "1C"), b1);
  EXPECT_GT(std::abs(b1 - plain), 0.2);
}

TEST(WideLaneBiases, AgreeWithAnIndependentConversion) {
  GNX_REQUIRE_DATA("esbc_2020177");
  // The header of the clock file says -1.257 cycles for G02; corrections_grg.ssr.gz, made by another
  // program, has these metres.
  const auto biases = phaseBiasesOf({{"G02", {-1.257, '1', '2'}}});
  EXPECT_NEAR(valueOf(biases[0].phase, "1C"), 0.8442, 5e-5);
  EXPECT_NEAR(valueOf(biases[0].phase, "2W"), 1.3904, 5e-5);
  const auto signals = correctedSignals({}, {realFile("esbc_2020177/corrections_grg.ssr.gz")});
  EXPECT_THAT(signals.at('G'), testing::ElementsAre("1W", "2W"));
  EXPECT_THAT(signals.at('E'), testing::ElementsAre("1C", "5Q"));
}

}  // namespace
}  // namespace gnx::test
