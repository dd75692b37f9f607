#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <vector>

#include "Adapter/OrbitClkAdapter.h"
#include "Interface/BoundaryInput.h"
#include "support/table_fixture.h"

namespace {

using GNX_IO::eph_entry_t;
using GNX_IO::geph_entry_t;
using GNX_IO::gtime_t;
using GNX_IO::ssr_t;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr int kMjd = 59025;  // 2020-06-25, day 4 of week 2111
constexpr std::int64_t kDayStart = (kMjd - 40587) * 86400LL;

/// Keeps what the conversions deliver.
class Recorder : public tarvio::OrbitClkAdapter {
 public:
  void v_inputEph(tarvio::GPSEPH* eph, tarvio::GLSEPH* geph) override {
    if (eph != nullptr) kepler = *eph;
    if (geph != nullptr) glonass = *geph;
  }
  void v_inputSsr(tarvio::SSRORB* orb, tarvio::SSRCLK* clk) override {
    ++batches;
    orbit = orb == nullptr ? std::nullopt : std::optional(*orb);
    clock = clk == nullptr ? std::nullopt : std::optional(*clk);
  }
  std::optional<tarvio::GPSEPH> kepler;
  std::optional<tarvio::GLSEPH> glonass;
  std::optional<tarvio::SSRORB> orbit;
  std::optional<tarvio::SSRCLK> clock;
  int batches = 0;
};

class Input : public gnx_test::TableFixture {
 protected:
  Input() : eph(256), geph(64), ssr(GNX_IO::kMaxSatellite) {
    frequencies('G', 2, {"L1", "L2", "L5"});
    frequencies('E', 2, {"L1", "L5"});
    frequencies('C', 2, {"L2", "L6"});
    for (const char* name : {"G05", "E11", "C21", "R05", "G07"}) add(name);
    controller().m_orbclk = &recorder;
    nav.eph = eph.data();
    nav.geph = geph.data();
    for (ssr_t& element : ssr) {
      element.mark_orb = element.mark_clk = element.mark_cbias = element.mark_pbias = element.mark_ifpb =
          -999;
    }
  }
  static int number(const char* name) {
    for (int sat = 1; sat <= 255; ++sat) {
      if (std::strcmp(tarvio::SatelliteId(sat).m_text, name) == 0) return sat;
    }
    return 0;
  }
  static int codeNumber(const char* code) {
    for (int n = 1; n <= GNX_IO::kMaxCode; ++n) {
      if (std::strcmp(GNX_IO::code2obs(static_cast<unsigned char>(n)), code) == 0) return n;
    }
    return 0;
  }
  eph_entry_t& source(const char* name) {
    eph_entry_t& entry = eph[static_cast<std::size_t>(number(name) - 1)];
    entry.toe = entry.toc = {kDayStart + 7200, 0.0};
    entry.A = 26560000.0;
    entry.e = 0.01;
    entry.iode = 33;
    return entry;
  }
  ssr_t& element(const char* name) { return ssr[static_cast<std::size_t>(number(name) - 1)]; }

  Recorder recorder;
  std::vector<eph_entry_t> eph;
  std::vector<geph_entry_t> geph;
  std::vector<ssr_t> ssr;
  GNX_IO::nav_t nav{};
};

// ---- ephemerides ----

TEST_F(Input, KeplerMessageKeepsItsNumbers) {
  eph_entry_t& entry = source("G05");
  entry.af[0] = 1e-4;
  entry.tgd[0] = 2e-9;
  entry.tgd[1] = 3e-9;
  entry.OMGd = -8e-9;
  entry.cic = 1e-7;
  entry.code = 1;
  tarvio::s_setEphData(&nav, number("G05"), 0);
  ASSERT_TRUE(recorder.kepler);
  const tarvio::GPSEPH& record = *recorder.kepler;
  EXPECT_STREQ(record.m_cprn, "G05");
  EXPECT_EQ(record.m_mjd, kMjd);
  EXPECT_EQ(record.m_sod, 7200.0);
  EXPECT_EQ(record.m_toe, 4 * 86400.0 + 7200.0);
  EXPECT_EQ(record.m_week, 2111.0);
  EXPECT_DOUBLE_EQ(record.m_roota, std::sqrt(26560000.0));
  EXPECT_EQ(record.m_iode, 33);
  EXPECT_EQ(record.m_tgd2, 3e-9);
  EXPECT_EQ(record.m_OMEGADOT, -8e-9);
  EXPECT_EQ(record.m_cic, 1e-7);
  EXPECT_EQ(record.m_codes, 1.0);

  // `off` reaches another set of the table.
  recorder.kepler.reset();
  eph[static_cast<std::size_t>(number("G05") - 1 + 50)] = entry;
  eph[static_cast<std::size_t>(number("G05") - 1 + 50)].iode = 34;
  tarvio::s_setEphData(&nav, number("G05"), 50);
  EXPECT_EQ(recorder.kepler->m_iode, 34);
}

TEST_F(Input, WeekIsThatOfEphemerisNotOfClock) {
  eph_entry_t& entry = source("G05");
  entry.toc.time = kDayStart + 3 * 86400 - 300;  // the last minutes of week 2111
  entry.toe.time = kDayStart + 3 * 86400;
  tarvio::s_setEphData(&nav, number("G05"), 0);
  EXPECT_EQ(recorder.kepler->m_week, 2112.0);
  EXPECT_EQ(recorder.kepler->m_toe, 0.0);
  EXPECT_EQ(recorder.kepler->m_sod, 86100.0);
}

TEST_F(Input, BeidouTimesMoveToBdtInTheHostsRecord) {
  eph_entry_t& entry = source("C21");
  entry.toe.time = entry.toc.time = kDayStart + 7200 + 14;
  tarvio::s_setEphData(&nav, number("C21"), 0);
  EXPECT_EQ(entry.toc.time, kDayStart + 7200);
  EXPECT_EQ(entry.toe.time, kDayStart + 7200);
  EXPECT_EQ(recorder.kepler->m_sod, 7200.0);
  EXPECT_EQ(recorder.kepler->m_toe, 4 * 86400.0 + 7200.0);
  EXPECT_EQ(recorder.kepler->m_iode, 5);  // half hours of the day of toe, counted from one
  tarvio::s_setEphData(&nav, number("C21"), 0);
  EXPECT_EQ(recorder.kepler->m_sod, 7186.0);
}

TEST_F(Input, GlonassInKilometresByItsOwnNumber) {
  geph_entry_t& entry = geph[4];  // R05, whatever the satellite's number and the offset are
  entry.toe = {kDayStart + 918, 0.0};
  entry.tof = {kDayStart + 1800, 0.0};
  entry.pos[1] = -12206626.953;
  entry.vel[2] = 1352.5;
  entry.acc[0] = 1.7e-6;
  entry.taun = 3e-5;
  entry.frq = -3;
  tarvio::s_setEphData(&nav, number("R05"), 17);
  ASSERT_TRUE(recorder.glonass);
  EXPECT_DOUBLE_EQ(recorder.glonass->m_pos[1], -12206.626953);
  EXPECT_DOUBLE_EQ(recorder.glonass->m_vel[2], 1.3525);
  EXPECT_DOUBLE_EQ(recorder.glonass->m_acc[0], 1.7e-9);
  EXPECT_EQ(recorder.glonass->m_tau, -3e-5);
  EXPECT_EQ(recorder.glonass->m_frq, -3.0);
  EXPECT_EQ(recorder.glonass->m_sod, 918.0);
  EXPECT_EQ(recorder.glonass->m_iode, 13);
  EXPECT_EQ(recorder.glonass->m_tk, 4 * 86400.0 + 1800.0 - 18.0);  // UTC
}

TEST_F(Input, ImpossibleMessagesAreRefusedAndLeftAlone) {
  const auto refused = [&](auto&& damage) {
    eph_entry_t& entry = source("C21");
    entry.M0 = 1.0;
    damage(entry);
    const std::int64_t toe = entry.toe.time;
    tarvio::s_setEphData(&nav, number("C21"), 0);
    return !recorder.kepler && entry.toe.time == toe;
  };
  EXPECT_TRUE(refused([](eph_entry_t& e) { e.M0 = kNaN; }));
  EXPECT_TRUE(refused([](eph_entry_t& e) { e.af[2] = std::numeric_limits<double>::infinity(); }));
  EXPECT_TRUE(refused([](eph_entry_t& e) { e.A = -1.0; }));
  EXPECT_TRUE(refused([](eph_entry_t& e) { e.e = 1.0; }));
  EXPECT_TRUE(refused([](eph_entry_t& e) { e.toe.time = std::numeric_limits<std::int64_t>::min(); }));
  EXPECT_TRUE(refused([](eph_entry_t& e) { e.toc.sec = kNaN; }));

  source("G05");
  tarvio::s_setEphData(nullptr, number("G05"), 0);
  tarvio::s_setEphData(&nav, number("G05"), -1000);
  tarvio::s_setEphData(&nav, number("G06"), 0);  // not configured
  for (const int sat : {0, -1, 208, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    tarvio::s_setEphData(&nav, sat, 0);
  }
  GNX_IO::nav_t empty{};
  tarvio::s_setEphData(&empty, number("G05"), 0);
  tarvio::s_setEphData(&empty, number("R05"), 0);
  EXPECT_FALSE(recorder.kepler);
  EXPECT_FALSE(recorder.glonass);
}

// ---- orbit and clock corrections ----

TEST_F(Input, BatchCarriesTheLastTagAndConsumesItsMarks) {
  ssr_t& first = element("G05");
  first.update = 1;
  first.mark_orb = first.mark_clk = 0;
  first.t0_orb = first.t0_clk = {kDayStart, 0.0};
  first.iod = 33;
  first.iod_bds = 1;
  first.deph[1] = 1.5;
  first.ddeph[2] = -0.25;
  first.dclk[0] = 0.75;
  ssr_t& last = element("C21");
  last.update = 1;
  last.mark_orb = 0;
  last.t0_orb = {kDayStart + 5, 0.0};
  last.iod = 33;
  last.iod_bds = 4;
  tarvio::s_setSsrData(ssr.data());
  ASSERT_TRUE(recorder.orbit && recorder.clock);
  EXPECT_EQ(recorder.orbit->m_wk, 2111);
  EXPECT_EQ(recorder.orbit->m_sow, 4 * 86400.0 + 5.0);
  EXPECT_EQ(recorder.clock->m_sow, 4 * 86400.0);
  const int gps = tarvio::s_satRow("G05"), bds = tarvio::s_satRow("C21");
  EXPECT_EQ(recorder.orbit->m_iod[gps], 33);
  EXPECT_EQ(recorder.orbit->m_iod[bds], 4);
  EXPECT_EQ(recorder.clock->m_iod[bds], -1);
  EXPECT_EQ(recorder.orbit->m_dorb[gps][1], 1.5);
  EXPECT_EQ(recorder.orbit->m_dorb[gps][5], -0.25);
  EXPECT_EQ(recorder.clock->m_dclk[gps][0], 0.75);
  EXPECT_EQ(recorder.clock->m_extra1[gps], tarvio::kNone);
  EXPECT_EQ(first.update, 0);
  EXPECT_EQ(first.mark_orb, -999);
  EXPECT_EQ(first.mark_clk, -999);

  tarvio::s_setSsrData(ssr.data());
  EXPECT_EQ(recorder.batches, 1);
}

TEST_F(Input, HalfABatchAndUnconfiguredSatellites) {
  element("G05").update = 1;  // announced, but both marks say nothing new
  element("G06").update = 1;  // not configured
  element("G06").mark_orb = 0;
  tarvio::s_setSsrData(ssr.data());
  EXPECT_EQ(recorder.batches, 0);
  EXPECT_EQ(element("G05").update, 0);
  EXPECT_EQ(element("G06").update, 0);
  EXPECT_EQ(element("G06").mark_orb, 0);

  ssr_t& clockOnly = element("E11");
  clockOnly.update = 1;
  clockOnly.mark_clk = 0;
  clockOnly.t0_clk = {kDayStart, 0.0};
  element("G05").update = 1;
  element("G05").mark_orb = 0;
  element("G05").t0_orb = {kDayStart, 0.0};
  element("G05").deph[0] = kNaN;
  tarvio::s_setSsrData(ssr.data());
  EXPECT_EQ(recorder.batches, 1);
  EXPECT_FALSE(recorder.orbit);
  EXPECT_TRUE(recorder.clock);
  EXPECT_EQ(element("G05").mark_orb, -999);  // refused, but consumed
}

// ---- biases ----

class PhaseBias : public Input {
 protected:
  PhaseBias() {
    tarvio::Upd_ambconfig& narrow = deploy().m_ambconfig[2];
    narrow.ambfreq[0][0] = 0;
    narrow.ambfreq[0][1] = 1;
  }
  void give(const char* name, const char* code, double bias, float sigma = 0.01F) {
    ssr_t& target = element(name);
    target.mark_pbias = 0;
    target.t0_pbias = {kDayStart + 30, 0.0};
    target.pbias[codeNumber(code) - 1] = bias;
    target.stdpb[codeNumber(code) - 1] = sigma;
  }
  /// The value of a combination after input, 999 when there is none.
  double value(const char* tag, const char* name) {
    tarvio::Upd_comb comb;
    controller().m_upd.m_inquireComb(kMjd, 30.0, "comb", tag, comb);
    return comb.m_value[tarvio::s_satRow(name)];
  }
};

TEST_F(PhaseBias, FloatCombinationsMinusTheValuesAreTheIntegers) {
  constexpr double c = 299792458.0, f1 = 1.57542e9, f2 = 1.2276e9;
  constexpr double b1 = 0.183, b2 = -0.244;  // to be added to the observed phases, metres
  constexpr int n1 = 17, n2 = -5;
  give("G05", "1C", b1);
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
}

TEST_F(PhaseBias, TaggedWithTheTimeOfTheBiases) {
  give("G05", "1C", 0.1);
  give("G05", "2W", 0.2);
  tarvio::s_setBiasData(ssr.data());
  tarvio::Upd_comb comb;
  controller().m_upd.m_inquireComb(kMjd, 0.0, "comb", "wl", comb);
  EXPECT_EQ(comb.m_mjd, kMjd);
  EXPECT_EQ(comb.m_sod, 30.0);
  EXPECT_EQ(comb.m_type, 1);
  EXPECT_DOUBLE_EQ(comb.m_time[tarvio::s_satRow("G05")], kMjd + 30.0 / 86400.0);
  EXPECT_EQ(element("G05").mark_pbias, -999);
}

TEST_F(PhaseBias, SignalsThatGiveNoCombination) {
  give("G05", "1C", 0.1);  // no partner
  give("G07", "1C", 0.1);
  give("G07", "2W", 0.2, 0.0F);  // sigma 0: no bias, whatever its value
  give("E11", "1C", 0.1);        // slots of the system not set
  give("E11", "5Q", 0.1);
  tarvio::s_setBiasData(ssr.data());
  EXPECT_EQ(value("wl", "G05"), 999.0);
  EXPECT_EQ(value("wl", "G07"), 999.0);
  EXPECT_EQ(value("wl", "E11"), 999.0);
  give("G05", "2W", kNaN);
  tarvio::s_setBiasData(ssr.data());
  EXPECT_EQ(value("wl", "G05"), 999.0);
}

TEST_F(PhaseBias, TheHighestCodeOfABandWins) {
  give("G05", "1C", 0.1);
  give("G05", "1W", 0.3);
  give("G05", "2W", 0.0);
  tarvio::s_setBiasData(ssr.data());
  EXPECT_NEAR(value("wl", "G05"), -0.3 * 1.57542e9 / 299792458.0, 1e-9);
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
    for (const int j : {0, 1}) {
      rnx.m_obs[isat][j] = 1.1e8;
      rnx.m_obs[isat][4 + j] = 2.0e7;
    }
  }
  controller().m_corrosb(&rnx);
  EXPECT_NEAR(rnx.m_obs[gps][0] - 1.1e8, 0.1 * 1.57542e9 / 299792458.0, 1e-7);
  EXPECT_NEAR(rnx.m_obs[gps][1] - 1.1e8, 0.2 * 1.2276e9 / 299792458.0, 1e-7);
  EXPECT_EQ(rnx.m_obs[other][0], 0.0);  // no bias, no observation
  EXPECT_EQ(rnx.m_obs[other][5], 0.0);
}

TEST_F(Input, CodeBiasesBySignalAndTheClockTerm) {
  ssr_t& target = element("G05");
  target.mark_cbias = 0;
  target.cbias[codeNumber("1C") - 1] = 1.25F;
  target.cbias[codeNumber("2W") - 1] = 0.0F;  // zero says: none
  target.cbias[codeNumber("5Q") - 1] = std::numeric_limits<float>::infinity();
  target.mark_ifpb = 0;
  target.ifpb = 0.5;
  target.t0_ifpb = {kDayStart, 0.0};
  target.t1_ifpb = {kDayStart + 60, 0.0};
  tarvio::s_setBiasData(ssr.data());
  double value = 0.0;
  EXPECT_TRUE(controller().m_codebias.m_inquireCodeBias(false, "G05", "1C", &value));
  EXPECT_EQ(value, 1.25);
  EXPECT_FALSE(controller().m_codebias.m_inquireCodeBias(false, "G05", "2W", &value));
  EXPECT_FALSE(controller().m_codebias.m_inquireCodeBias(false, "G05", "5Q", &value));
  tarvio::t_ifpb term;
  ASSERT_TRUE(controller().m_ifpb.m_inquireIfpb("G05", term));
  EXPECT_EQ(term.m_value, 0.5);
  EXPECT_EQ(term.m_t0, kDayStart);
  EXPECT_EQ(term.m_t1, kDayStart + 60);
  EXPECT_FALSE(controller().m_ifpb.m_inquireIfpb("G07", term));
  EXPECT_EQ(target.mark_cbias, -999);
  EXPECT_EQ(target.mark_ifpb, -999);
}

}  // namespace
