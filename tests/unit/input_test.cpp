#include <gmock/gmock.h>

#include <optional>

#include "Adapter/OrbitClkAdapter.h"
#include "Config/SatelliteTable.h"
#include "Interface/BoundaryInput.h"
#include "gnx/adapt.h"
#include "support/table_fixture.h"

namespace {

using GNX_IO::eph_entry_t;
using GNX_IO::ssr_t;

constexpr int kMjd = 59025;  // 2020-06-25, day 4 of week 2111
constexpr std::int64_t kDayStart = (kMjd - 40587) * 86400LL;

/// Keeps what the conversions deliver.
struct Recorder : tarvio::OrbitClkAdapter {
  void v_inputEph(tarvio::GPSEPH* eph, tarvio::GLSEPH*) override { kepler = *eph; }
  void v_inputSsr(tarvio::SSRORB* orb, tarvio::SSRCLK* clk) override {
    ++batches;
    orbit = orb == nullptr ? std::nullopt : std::optional(*orb);
    clock = clk == nullptr ? std::nullopt : std::optional(*clk);
  }
  std::optional<tarvio::GPSEPH> kepler;
  std::optional<tarvio::SSRORB> orbit;
  std::optional<tarvio::SSRCLK> clock;
  int batches = 0;
};

struct Input : gnx_test::TableFixture {
  Input() : eph(256), ssr(GNX_IO::kMaxSatellite) {
    frequencies('G', 2, {"L1", "L2", "L5"});
    frequencies('C', 2, {"L2", "L6"});
    for (const char* name : {"G05", "C21", "G07"}) add(name);
    controller().m_orbclk = &recorder;
    nav.eph = eph.data();
    for (ssr_t& e : ssr) e.mark_orb = e.mark_clk = e.mark_cbias = e.mark_pbias = e.mark_ifpb = -999;
  }
  int number(const char* name) const { return numbers.satellite(name); }
  eph_entry_t& source(const char* name) {
    eph_entry_t& entry = eph[static_cast<std::size_t>(number(name) - 1)];
    entry.toe = entry.toc = {kDayStart + 7200, 0.0};
    entry.A = 26560000.0;
    return entry;
  }
  ssr_t& element(const char* name) { return ssr[static_cast<std::size_t>(number(name) - 1)]; }

  const gnx::BoundaryNumbers numbers;
  Recorder recorder;
  std::vector<eph_entry_t> eph;
  std::vector<ssr_t> ssr;
  GNX_IO::nav_t nav{};
};

TEST_F(Input, WeekIsThatOfEphemerisNotOfClock) {
  // The second set of the table, which `off` reaches.
  eph_entry_t& entry = eph[static_cast<std::size_t>(number("G05") - 1 + 50)] = source("G05");
  entry.toc.time = kDayStart + 3 * 86400 - 300;  // the last minutes of week 2111
  entry.toe.time = kDayStart + 3 * 86400;
  tarvio::s_setEphData(&nav, number("G05"), 50);
  EXPECT_EQ(recorder.kepler->m_week, 2112.0);
  EXPECT_EQ(recorder.kepler->m_toe, 0.0);
  EXPECT_EQ(recorder.kepler->m_sod, 86100.0);
}

TEST_F(Input, BeidouTimesMoveToBdtInTheHostsRecord) {
  eph_entry_t& entry = source("C21");
  entry.toe.time = entry.toc.time = kDayStart + 7200 + 14;
  tarvio::s_setEphData(&nav, number("C21"), 0);
  EXPECT_TRUE(entry.toc.time == kDayStart + 7200 && entry.toe.time == kDayStart + 7200);
  EXPECT_EQ(recorder.kepler->m_sod, 7200.0);
  EXPECT_EQ(recorder.kepler->m_toe, 4 * 86400.0 + 7200.0);
  EXPECT_EQ(recorder.kepler->m_iode, 5);  // half hours of the day of toe, counted from one
  tarvio::s_setEphData(&nav, number("C21"), 0);
  EXPECT_EQ(recorder.kepler->m_sod, 7186.0);
}

TEST_F(Input, BatchCarriesTheLastTagAndConsumesItsMarks) {
  ssr_t &first = element("G05"), &last = element("C21");
  first.update = last.update = 1;
  first.mark_orb = first.mark_clk = last.mark_orb = 0;
  first.t0_orb = first.t0_clk = {kDayStart, 0.0};
  last.t0_orb = {kDayStart + 5, 0.0};
  first.iod = last.iod = 33;
  last.iod_bds = 4;
  tarvio::s_setSsrData(ssr.data());
  ASSERT_TRUE(recorder.orbit && recorder.clock);
  EXPECT_EQ(recorder.orbit->m_sow, 4 * 86400.0 + 5.0);
  EXPECT_EQ(recorder.clock->m_sow, 4 * 86400.0);
  const int bds = tarvio::s_satRow("C21");
  EXPECT_EQ(recorder.orbit->m_iod[tarvio::s_satRow("G05")], 33);
  EXPECT_EQ(recorder.orbit->m_iod[bds], 4);
  EXPECT_EQ(recorder.clock->m_iod[bds], -1);
  EXPECT_TRUE(first.update == 0 && first.mark_orb == -999 && first.mark_clk == -999);
  tarvio::s_setSsrData(ssr.data());
  EXPECT_EQ(recorder.batches, 1);
}

constexpr double c = 299792458.0, f1 = 1.57542e9, f2 = 1.2276e9;

struct PhaseBias : Input {
  PhaseBias() {
    for (const int slot : {0, 1}) deploy().m_ambconfig[2].ambfreq[0][slot] = slot;
  }
  void give(const char* name, const char* code, double bias) {
    ssr_t& target = element(name);
    target.mark_pbias = 0;
    target.t0_pbias = {kDayStart + 30, 0.0};
    target.pbias[numbers.code(code) - 1] = bias;
    target.stdpb[numbers.code(code) - 1] = 0.01F;
  }
  /// The value of a combination after input, 999 when there is none.
  double value(const char* tag, const char* name) {
    tarvio::Upd_comb comb;
    controller().m_upd.m_inquireComb(kMjd, 30.0, "comb", tag, comb);
    return comb.m_value[tarvio::s_satRow(name)];
  }
};

TEST_F(PhaseBias, FloatCombinationsMinusTheValuesAreTheIntegers) {
  constexpr double b1 = 0.183, b2 = -0.244;  // to be added to the observed phases, metres
  constexpr int n1 = 17, n2 = -5;
  give("G05", "1C", 0.9);
  give("G05", "1W", b1);  // the highest code of a band wins
  give("G05", "2W", b2);
  tarvio::s_setBiasData(ssr.data());
  // Ambiguities of the uncorrected phases, metres.
  const double a1 = n1 * c / f1 - b1, a2 = n2 * c / f2 - b2;
  const double floatWide = a1 * f1 / c - a2 * f2 / c;
  EXPECT_NEAR(floatWide - value("wl", "G05"), n1 - n2, 1e-9);
  const double ionosphereFree = (f1 * f1 * a1 - f2 * f2 * a2) / (f1 * f1 - f2 * f2);
  const double narrow = ionosphereFree / (c / (f1 + f2)) - (n1 - n2) / (f1 / f2 - 1.0);
  EXPECT_NEAR(narrow - value("n1", "G05"), n1, 1e-9);
  EXPECT_EQ(value("ewl", "G05"), 999.0);  // its slots are not set
  tarvio::Upd_comb comb;
  controller().m_upd.m_inquireComb(kMjd, 0.0, "comb", "wl", comb);
  EXPECT_EQ(comb.m_sod, 30.0) << "the time of the biases";
  EXPECT_EQ(element("G05").mark_pbias, -999);
}

TEST_F(PhaseBias, SignalBySignalOnlyWhereTheyCorrectObservations) {
  give("G05", "1C", 0.1);
  tarvio::s_setBiasData(ssr.data());
  tarvio::Upd_bias bias;
  controller().m_upd.m_inquireBias(kMjd, 0.0, bias);
  EXPECT_EQ(bias.m_mjd, 0);

  deploy().m_losb = true;
  deploy().m_curMjd = kMjd;
  give("G05", "1C", 0.1);
  give("G05", "2W", 0.2);
  tarvio::s_setBiasData(ssr.data());
  tarvio::Rnxobs rnx;
  const int gps = tarvio::s_satRow("G05"), other = tarvio::s_satRow("G07");
  for (const int isat : {gps, other}) {
    std::fill_n(rnx.m_obs[isat], 2, 1.1e8);
    std::fill_n(rnx.m_obs[isat] + 4, 2, 2.0e7);
  }
  controller().m_corrosb(&rnx);
  EXPECT_NEAR(rnx.m_obs[gps][0] - 1.1e8, 0.1 * f1 / c, 1e-7);
  EXPECT_NEAR(rnx.m_obs[gps][1] - 1.1e8, 0.2 * f2 / c, 1e-7);
  EXPECT_THAT(rnx.m_obs[other], testing::Each(0.0)) << "no bias, no observation";
}

TEST_F(Input, CodeBiasesBySignalAndTheClockTerm) {
  ssr_t& target = element("G05");
  target.mark_cbias = target.mark_ifpb = 0;
  target.cbias[numbers.code("1C") - 1] = 1.25F;
  target.cbias[numbers.code("2W") - 1] = 0.0F;  // zero says: none
  target.cbias[numbers.code("5Q") - 1] = std::numeric_limits<float>::infinity();
  target.ifpb = 0.5;
  target.t0_ifpb = {kDayStart, 0.0};
  target.t1_ifpb = {kDayStart + 60, 0.0};
  tarvio::s_setBiasData(ssr.data());
  double value = 0.0;
  EXPECT_TRUE(controller().m_codebias.m_inquireCodeBias(false, "G05", "1C", &value) && value == 1.25);
  EXPECT_FALSE(controller().m_codebias.m_inquireCodeBias(false, "G05", "2W", &value));
  EXPECT_FALSE(controller().m_codebias.m_inquireCodeBias(false, "G05", "5Q", &value));
  tarvio::t_ifpb term;
  ASSERT_TRUE(controller().m_ifpb.m_inquireIfpb("G05", term));
  EXPECT_TRUE(term.m_value == 0.5 && term.m_t0 == kDayStart && term.m_t1 == kDayStart + 60);
  EXPECT_TRUE(target.mark_cbias == -999 && target.mark_ifpb == -999);
}

}  // namespace
