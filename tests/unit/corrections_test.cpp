// Products turned into corrections: broadcast message plus correction has to give the product back.

#include "gnx/corrections.h"

#include "corrections/orbit_interpolation.h"
#include "corrections/sources.h"
#include "corrections/ssr_joiner.h"
#include "geometry/vector3.h"
#include "gnx/read.h"
#include "gnx/signal.h"
#include "support/host_files.h"

namespace gnx::test {
namespace {

const GpsTime kStart = toGpsTime({2020, 6, 25, 0, 0, 0.0});

double distance(const Vector3& a, const Vector3& b) { return length(minus(a, b)); }

BroadcastEph sample(const std::string& sat) {
  return {.sat = sat,
          .toc = kStart + 7200.0,
          .toe = kStart + 7200.0,
          .transmission = kStart,
          .af = {1.23e-4, -4.5e-12, 0.0},
          .deltaN = 4.5e-9,
          .m0 = 1.234,
          .e = 0.0123,
          .sqrtA = 5153.65,
          .omega0 = 2.345,
          .i0 = 0.965,
          .crc = 215.0,
          .omega = -0.777};
}

TEST(BroadcastOrbit, IssueOfBeidouIsItsHalfHour) {
  BroadcastEph e = sample("C06");
  e.toe = fromWeek(2111, 385200.0 + 14.0);  // 11:00 BDT
  EXPECT_EQ(issueOfData(e), 23);
}

/// A true orbit beside that of its message: metres, with the periods of the orbit.
Vector3 trueOrbit(double seconds) {
  BroadcastEph e = sample("G05");
  e.m0 += 3e-7;
  e.e += 2e-7;
  e.crc += 2.0;
  e.i0 += 1e-7;
  return evaluateBroadcast(e, kStart + seconds).position;
}

TEST(OrbitInterpolation, HoldsBetweenThePointsUpToGapsAndEnds) {
  const BroadcastEph e = sample("G05");
  std::vector<OrbitPoint> points;
  for (int i = 0; i < 40; ++i)
    if (i != 20) points.push_back({kStart + 900.0 * i, trueOrbit(900.0 * i)});
  OrbitInterpolator orbit(points, 900.0, kStart, kStart + 39 * 900.0, 600.0);
  const auto error = [&](double t) {
    const auto d = orbit.difference(e, kStart + t);
    if (!d) return HUGE_VAL;
    const OrbitClockCorrection c{"G05", 0, d->value, {}, {}};
    return distance(applyCorrection(evaluateBroadcast(e, kStart + t), c, 0.0).position, trueOrbit(t));
  };
  EXPECT_GT(distance(trueOrbit(450.0), evaluateBroadcast(e, kStart + 450.0).position), 1.0);
  for (double t = 0.0; t <= 19 * 900.0; t += 150.0) EXPECT_LT(error(t), 0.002) << t;
  EXPECT_EQ(error(19 * 900.0 + 1.0), HUGE_VAL) << "gap";
  EXPECT_LT(error(39 * 900.0 + 600.0), 0.04) << "ten minutes behind the last point";
  EXPECT_EQ(error(39 * 900.0 + 601.0), HUGE_VAL);
  OrbitInterpolator dropped(points, 900.0, kStart, kStart + 41 * 900.0, 600.0);
  EXPECT_FALSE(dropped.difference(e, kStart + 39 * 900.0 + 1.0))
      << "the product goes on without this satellite";
}

// ---- real products ----

struct RealProducts : testing::Test {
  static std::string file(const char* name) { return realFile(std::string("esbc_2020177/") + name); }
  static EphemerisTimeline timeline() {
    return {readRinexNav({file("ESBC00DNK_R_20201770000_01D_MN.rnx.gz")}), kStart};
  }
  static ProductOptions products() {
    ProductOptions options;
    options.sp3 = {file("GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz"),
                   file("GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz")};
    options.clk = {file("GRG0MGXFIN_20201770000_01D_30S_CLK.CLK.gz")};
    return options;
  }
  /// Message plus correction against the files' own numbers; every batch of the source.
  static void expectBack(const ProductOptions& options,
                         const std::map<SatName, std::vector<ClockPoint>>& clocks, const std::string& systems,
                         ProductFacts* facts = nullptr) {
    const EphemerisTimeline messages = timeline();
    const auto orbits = readSp3(options.sp3).orbits;
    const auto source = makeProductSource(options, messages, facts);
    std::map<char, int> compared;
    for (CorrectionBatch b; source->next(b);)
      for (const OrbitClockCorrection& c : b.orbitClock) {
        const BroadcastEph* eph = messages.store().chosenByEngine(c.sat, c.iod, b.tag);
        ASSERT_TRUE(eph) << c.sat << " " << formatTime(b.tag) << ": the engine has no message " << c.iod;
        const SatState got = applyCorrection(evaluateBroadcast(*eph, b.tag), c, 0.0);
        if (const auto* p = pointAt(orbits.at(c.sat), b.tag)) {
          EXPECT_LT(distance(got.position, p->position), 1e-3) << c.sat;
          ++compared[c.sat[0]];
        }
        if (const auto* p = pointAt(clocks.at(c.sat), b.tag)) {
          EXPECT_NEAR(got.clock, p->bias, 1e-11) << c.sat;
        }
      }
    for (const char system : systems) EXPECT_GT(compared[system], 500) << system;
  }
  template <class Point>
  static const Point* pointAt(const std::vector<Point>& points, const GpsTime& t) {
    const auto found = std::ranges::lower_bound(points, t, std::less(), &Point::time);
    return found != points.end() && found->time == t ? &*found : nullptr;
  }
};

TEST_F(RealProducts, SumGivesOrbitsAndClocksBack) {
  GNX_REQUIRE_DATA("esbc_2020177");
  const ProductOptions both = products();
  expectBack(both, readRinexClocks(both.clk).clocks, "GE", nullptr);
  ProductOptions alone;  // its own clocks
  alone.sp3 = {file("COD0MGXFIN_20201770000_01D_05M_ORB.SP3.gz")};
  ProductFacts facts;
  expectBack(alone, readSp3(alone.sp3).clocks, "GEC", &facts);
  EXPECT_THAT(facts.notes, testing::ElementsAre("clocks every 300 s are interpolated linearly to 30 s"));
}

// A stream comes in pieces, so that a batch may be given between the biases of two systems.
TEST(JoinedCorrections, BiasesOfASystemHoldUntilItsOwnComeOrCease) {
  SsrJoiner joiner({}, nullptr);
  const auto apply = [&](SsrKind kind, double t, const SatName& sat, double bias_m) {
    SsrBlock block;
    block.kind = kind;
    block.time = kStart + t;
    block.interval = 30;
    SsrBias bias;
    bias.signal = "1C";
    bias.value = bias_m;
    if (kind == SsrKind::orbit) block.orbits.emplace_back().sat = sat;
    else if (kind == SsrKind::clock) block.clocks.emplace_back().sat = sat;
    else block.biases.push_back({sat, 0.0, 0.0, {bias}});
    joiner.apply(block, kStart + t);
  };
  const auto joined = [&](double t) {
    CorrectionBatch batch;
    apply(SsrKind::clock, t, "G05", 0.0);
    EXPECT_TRUE(joiner.join(batch));
    std::string text;
    for (const SatBiases& sat : batch.biases)
      for (const auto* list : {&sat.code, &sat.phase})
        for (const SsrBias& bias : *list)
          text += sat.sat + (list == &sat.code ? " code " : " phase ") +
                  std::to_string(static_cast<int>(bias.value)) + "; ";
    return text;
  };
  apply(SsrKind::orbit, 0.0, "G05", 0.0);
  for (const char* sat : {"G05", "G07", "E11"}) apply(SsrKind::phaseBias, 0.0, sat, 1.0);
  apply(SsrKind::codeBias, 0.0, "E11", 1.0);
  EXPECT_EQ(joined(0.0), "E11 code 1; E11 phase 1; G05 phase 1; G07 phase 1; ");
  apply(SsrKind::phaseBias, 30.0, "G05", 2.0);
  EXPECT_EQ(joined(30.0), "E11 code 1; E11 phase 1; G05 phase 2; ") << "G07 is withdrawn, E11 not";
  apply(SsrKind::phaseBias, 30.0, "E11", 2.0);
  EXPECT_EQ(joined(35.0), "E11 code 1; E11 phase 2; G05 phase 2; ");
  apply(SsrKind::phaseBias, 150.0, "G05", 3.0);
  apply(SsrKind::codeBias, 150.0, "G05", 3.0);
  EXPECT_EQ(joined(150.0), "G05 code 3; G05 phase 3; ") << "E11 has ceased";
}

}  // namespace
}  // namespace gnx::test
