/// Smoothed wide-lanes: combinations from text, averages of arcs, their life, integers.

#include "Core/Filter/HMWfilter.h"

#include <gtest/gtest.h>

#include "support/filter_world.h"

namespace {

using namespace tarvio;

constexpr double kF1 = 1575.42e6, kF2 = 1227.6e6, kF5 = 1176.45e6;
constexpr double kInterval = 30.0;

/// Wide-lane phase of two carriers against their codes, the first of them with a weight of `share`.
std::string wideLaneText(const char* a, const char* b, double share) {
  char text[96];
  std::snprintf(text, sizeof text, "LL%s:1_LL%s:-1_PL%s:%.15f_PL%s:%.15f", a, b, a, share, b, 1.0 - share);
  return text;
}

/// Two carriers of GPS and Galileo, seen with known ranges, ionosphere, antenna offsets and integers.
struct Hmw : gnx_test::FilterFixture {
  Hmw() {
    m_level().m_tag = "wl";
    m_level().m_resolution = true;
    s_copyText(m_level().m_ambType, "mw");
    m_level().m_smooth = 1;
    m_level().m_cutoff = 10.0 * kDegToRad;
    m_level().m_minCommon = 60.0;
    m_level().m_decision[0] = 0.2;
    m_level().m_smoothValue = {{'G', wideLaneText("1", "2", kF1 / (kF1 + kF2))},
                               {'E', wideLaneText("1", "5", kF1 / (kF1 + kF5))}};
    deploy().m_intv = kInterval;
    m_build();
    smoother.m_upd = filter->m_upd;
    std::ranges::copy(std::array{4.0e6, 1.0e6, 4.8e6}, station().m_x);
    for (int f = 0; f < 2; ++f) {
      station().m_antenu[0][f][2] = 0.11 + 0.03 * f;
      for (auto& satellite : deploy().m_satellites) satellite.m_pco[f][2] = 1.2 + 0.3 * f;
    }
    for (int isat = 0; isat < deploy().m_nsat; ++isat) m_place(isat, 40.0);
  }

  Upd_ambconfig& m_level() { return deploy().m_ambconfig[1]; }
  int m_nw(int isat) const { return static_cast<int>(world.amb[isat][0] - world.amb[isat][1]); }

  void m_place(int isat, double elevation_deg) {
    const double e = elevation_deg * kDegToRad, azimuth = 0.8 * isat + 0.3, range = 2.2e7;
    const double d[3] = {std::cos(e) * std::sin(azimuth), std::cos(e) * std::cos(azimuth), std::sin(e)};
    for (int i = 0; i < 3; ++i) satellite(isat).m_xyz[i] = station().m_x[i] + range * d[i];
    elevation[isat] = e;
  }

  /// Observations of a satellite; `fraction` cycles of the wide-lane go on the first phase.
  void m_observe(int isat, double fraction = 0.0, double codeError_m = 0.0) {
    const auto& offset = station().m_antenu[deploy().m_sysOfRow(isat)];
    const double f1 = satellite(isat).m_freq[0], range = 2.2e7 + 1000.0 * isat + 0.25 * time;
    double* obs = station().m_sat[isat].m_obs;
    for (int f = 0; f < 2; ++f) {
      const double freq = satellite(isat).m_freq[f], lam = kLight / freq;
      const double ion = world.ion[isat] * f1 * f1 / (freq * freq);
      const double antennas = satellite(isat).m_pco[f][2] - std::sin(elevation[isat]) * offset[f][2];
      obs[f] = (range - ion - antennas) / lam + world.amb[isat][f] + (f == 0 ? fraction : 0.0);
      obs[4 + f] = range + ion - antennas + codeError_m;
    }
  }
  void m_run(double sod) {
    time = sod;
    station().m_mjd = 60000;
    station().m_sod = sod;
    smoother.m_process(&station());
  }
  /// An epoch of the first satellite.
  void m_runFirst(double sod, double fraction = 0.0) {
    m_observe(0, fraction);
    m_run(sod);
  }
  SrifSatAmbd& m_arc(const char* cprn) { return smoother.m_ambs.at(cprn); }

  double elevation[kMaxSat] = {}, time = 0.0;
  HMWfilter smoother{"wl", &deploy().m_ambconfig[1]};
};

TEST_F(Hmw, AverageIsTheWideLaneWhateverRangeIonosphereAndAntennas) {
  for (int k = 0; k < 200; ++k) {
    time = k * kInterval;
    for (int isat = 0; isat < deploy().m_nsat; ++isat) m_observe(isat, 0.0, 0.3 * world.m_gauss());
    m_run(time);
  }
  ASSERT_EQ(smoother.m_ambs.size(), 13u);
  for (const auto& [cprn, arc] : smoother.m_ambs) {
    EXPECT_EQ(arc.nobs, 200);
    // 0.3 m of both codes is 0.3/0.86 cycles (0.75 for Galileo), over 200 epochs; four sigmas.
    EXPECT_NEAR(arc.xsm, m_nw(arc.isat), 4.0 * 0.3 / 0.75 / std::sqrt(200.0)) << cprn;
    EXPECT_EQ(arc.ifix, 1) << "nothing is fixed unless asked for";
  }
}

TEST_F(Hmw, WeightsByElevation) {
  m_place(0, 9.9);  // below the limit: next to no weight, and no length
  m_runFirst(0.0, 0.4);
  EXPECT_EQ(m_arc("G01").nobs, 0);
  m_place(0, 20.0);
  m_runFirst(30.0, 0.1);
  m_place(0, 60.0);
  for (const double sod : {60.0, 90.0}) m_runFirst(sod, 0.2);
  EXPECT_EQ(m_arc("G01").nobs, 3);
  const double w20 = 4.0 * std::pow(std::sin(20.0 * kDegToRad), 2);
  EXPECT_NEAR(m_arc("G01").xsm - m_nw(0), (0.1 * w20 + 0.2 * 2.0) / (w20 + 2.0), 2e-6);
  EXPECT_NEAR(m_arc("G01").sumelev, (20.0 + 60.0 + 60.0) * kDegToRad, 1e-6);
}

TEST_F(Hmw, ArcsBridgeTwentyMinutesAndEndWithSlipsOfTheirOwnPhases) {
  frequencies('G', 2, {"L1", "L2", "L5"});
  for (int k = 0; k < 4; ++k) m_runFirst(k * kInterval);
  Ssat_t& sat = station().m_sat[0];
  sat.m_slip[2] = 4;  // not part of the combination
  m_run(120.0);
  EXPECT_EQ(m_arc("G01").nobs, 5);
  sat.m_slip[2] = 0;
  sat.m_slip[1] = 4;
  world.amb[0][1] += 5.0;
  m_runFirst(150.0);
  sat.m_slip[1] = 0;
  EXPECT_EQ(m_arc("G01").nobs, 1);
  EXPECT_DOUBLE_EQ(m_arc("G01").ptime0, 60000.0 + 150.0 / kDay);
  EXPECT_NEAR(m_arc("G01").xlast, m_nw(0), 1e-6);
  EXPECT_EQ(m_arc("G01").ifix, 0);
  m_runFirst(1350.0);  // 1200 s after the last one
  EXPECT_EQ(m_arc("G01").nobs, 2);
  sat.m_obs[0] = 0.0;
  m_run(2551.0);
  EXPECT_EQ(smoother.m_ambs.count("G01"), 0u);
}

struct HmwFix : Hmw {
  HmwFix() { m_level().m_mwFix = true; }
  /// \param fractions  by row, cycles
  void m_epochs(double from, int count, const double* fractions) {
    for (int k = 0; k < count; ++k) {
      time = from + k * kInterval;
      for (int isat = 0; isat < deploy().m_nsat; ++isat) m_observe(isat, fractions[isat]);
      m_run(time);
    }
  }
};

TEST_F(Hmw, IonosphereOfPhasesIsTakenOff) {
  // Ionosphere-free code leaves the wide-lane phase with an ionosphere of its own.
  m_level().m_smoothValue = {{'G', wideLaneText("1", "2", kF1 * kF1 / (kF1 * kF1 - kF2 * kF2))}};
  m_runFirst(0.0);
  const double plain = kF1 / kF2 * world.ion[0] * (kF1 - kF2) / kLight;  // f1/f2 I1, cycles
  EXPECT_NEAR(m_arc("G01").xlast - m_nw(0), plain, 1e-6);

  m_level().m_ionSwitch = true;
  m_level().m_ionValue = {{'G', "PIF:L1:L2"}};
  // The codes of the ionosphere are taken as they are: antennas that differ would look like it.
  satellite(0).m_pco[1][2] = satellite(0).m_pco[0][2];
  station().m_antenu[0][1][2] = station().m_antenu[0][0][2];
  smoother = HMWfilter("wl", &m_level());
  smoother.m_upd = &controller().m_upd;
  for (const double ion : {-2.0, 40.0}) {
    world.ion[0] = ion;
    m_runFirst(30.0);
    EXPECT_NEAR(m_arc("G01").xlast, m_nw(0), 1e-5) << ion;
  }
}

TEST_F(HmwFix, IntegersBehindACommonFractionThatIsFollowedAcrossItsWrap) {
  double fractions[13];
  for (int i = 0; i < 13; ++i) fractions[i] = (i < 7 ? 0.37 : -0.12) + 0.02 * std::sin(1.0 * i);
  fractions[3] += 0.45;  // a satellite with a fraction of its own
  m_epochs(0.0, 4, fractions);
  for (const auto& [cprn, arc] : smoother.m_ambs) {
    EXPECT_EQ(arc.ifix, arc.isat == 3 ? 1 : 3) << cprn;
    EXPECT_EQ(arc.xsm == m_nw(arc.isat), arc.isat != 3) << cprn;
  }
  EXPECT_NEAR(smoother.m_frac[0], 0.37, 0.03);
  EXPECT_NEAR(smoother.m_frac[2], -0.12, 0.03);
  EXPECT_EQ(smoother.m_frac[1], kNone) << "no GLONASS";

  double sod = 120.0;
  for (const double common : {0.40, 0.48, 0.56, 0.9, 1.3}) {
    std::ranges::fill(fractions, common);
    smoother.m_ambs.clear();
    m_epochs(sod, 3, fractions);
    sod += 90.0;
    EXPECT_NEAR(smoother.m_frac[0], common, 1e-6);
    EXPECT_EQ(m_arc("G01").xsm, m_nw(0)) << common;
  }
}

TEST_F(Hmw, TheOptionFixesWithoutTheLevelSayingSoAndAnEpochsValueIsNoAverage) {
  m_level().m_smooth = 0;
  for (int k = 0; k < 4; ++k) m_runFirst(k * kInterval, 0.1 * k);
  EXPECT_NEAR(m_arc("G01").xsm - m_nw(0), 0.3, 1e-6);
  EXPECT_EQ(m_arc("G01").ifix, 1);
  s_copyText(deploy().m_pams, "-mwfix");
  m_runFirst(4 * kInterval, 0.3);
  EXPECT_EQ(m_arc("G01").ifix, 3);
}

TEST_F(Hmw, OrbitsOfTheAntennaLeaveItsOffsetsInTheWideLane) {
  s_copyText(deploy().m_refpoint, "APC_ITRF");
  m_runFirst(0.0);
  // The codes' f1/(f1+f2) P1 + f2/(f1+f2) P2 and the phases' (f1 L1 - f2 L2)/(f1-f2) see offsets that differ
  // by 0.3 m.
  const double z1 = satellite(0).m_pco[0][2], z2 = satellite(0).m_pco[1][2];
  const double phases = (kF1 * z1 - kF2 * z2) / (kF1 - kF2), codes = (kF1 * z1 + kF2 * z2) / (kF1 + kF2);
  EXPECT_NEAR(m_arc("G01").xlast - m_nw(0), -(phases - codes) * (kF1 - kF2) / kLight, 1e-6);
}

TEST_F(HmwFix, ProductsOfTheSatellitesComeOffAndAreRequired) {
  m_level().m_updSwitch = true;
  s_copyText(m_level().m_updType, "comb");
  Upd_comb product;
  product.m_mjd = 60000;
  double fractions[13];
  for (int i = 0; i < 13; ++i) {
    product.m_value[i] = std::remainder(0.3 * i, 1.0);
    fractions[i] = 0.25 + product.m_value[i];
  }
  product.m_value[5] = kNone;
  controller().m_upd.v_inputComb("comb", "wl", product);
  m_epochs(0.0, 4, fractions);
  EXPECT_EQ(m_arc("G06").ifix, 1);
  for (const char* cprn : {"G01", "G05", "E04"}) {
    EXPECT_EQ(m_arc(cprn).ifix, 3) << cprn;
    EXPECT_EQ(m_arc(cprn).xsm, m_nw(m_arc(cprn).isat)) << cprn;
  }
}

/// The filter, which runs one smoother for each level of this type, after four epochs.
struct HmwInFilter : HmwFix {
  HmwInFilter() {
    deploy().m_ambconfig[0] = m_level();
    deploy().m_ambconfig[0].m_tag = "ewl";
    m_build();
    filter->v_onFilterInit();
    for (int isat = 0; isat < deploy().m_nsat; ++isat) std::ranges::fill(station().m_sat[isat].m_slip, 0);
    for (; time < 4 * kInterval; time += kInterval) {
      for (int isat = 0; isat < deploy().m_nsat; ++isat) m_observe(isat);
      station().m_mjd = filter->mjd = 60000;
      station().m_sod = filter->sod = time;
      filter->v_onPrepare();
    }
  }
};

TEST_F(HmwInFilter, FixesGoIntoTheRecordLeaveItWithTheirObservationAndOutliersRestartArcs) {
  auto& record = filter->m_fixmap.at("STAN");
  for (const char* tag : {"wl", "wl_mw"}) {
    EXPECT_EQ(record.at(tag).at("G03"), m_nw(2));
    EXPECT_EQ(record.at(tag).at("G03_ifab"), 3.0);
    EXPECT_EQ(record.at(tag).at("G03_ptime0"), 60000.0);
    EXPECT_DOUBLE_EQ(record.at(tag).at("G03_ptime1"), 60000.0 + 90.0 / kDay);
  }
  EXPECT_EQ(record.at("ewl_mw").at("G03_ifab"), 2.0);
  std::fill_n(station().m_sat[2].m_obs, 8, 0.0);
  filter->v_onPrepare();
  EXPECT_EQ(record.at("wl").count("G03"), 0u);
  EXPECT_EQ(record.at("wl").count("G04"), 1u);

  const auto nobs = [&](const char* tag, const char* cprn) {
    return filter->m_hmw.at(tag).at("STAN")->m_ambs.at(cprn).nobs;
  };
  filter->m_ambreset = {{0, 0, 0}, {0, 1, 1}};
  filter->v_onFinish();
  EXPECT_EQ(nobs("wl", "G01"), 5) << "only with RESET";
  deploy().m_diaReset = true;
  filter->m_ambreset = {{0, 0, 0}, {0, 1, 1}};
  filter->v_onFinish();
  EXPECT_TRUE(nobs("wl", "G01") == 0 && nobs("ewl", "G01") == 0);
  EXPECT_TRUE(nobs("wl", "G02") == 5 && nobs("ewl", "G02") == 0) << "the slot is of the extra-wide-lane";
  EXPECT_EQ(nobs("wl", "G04"), 5);
}

}  // namespace
