#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>

#include "Common/ComTime.h"
#include "Config/SatelliteTable.h"
#include "Core/Qc/QcTurboEdit.h"
#include "support/table_fixture.h"

namespace {

using namespace tarvio;

using Slips = std::array<int, kFreq>;
constexpr Slips kClean = {0, 0, 0, 0}, kBothByWideLane = {3, 3, 0, 0}, kLost = {1, 0, 0, 0};
constexpr double kHigh = 60.0 * kDegToRad;

/// One satellite without noise: a moving range, an ionosphere that drifts, and what a test adds.
struct TurboEditTest : gnx_test::TableFixture {
  void use(const char* cprn, std::initializer_list<const char*> names, double elev = kHigh) {
    frequencies(cprn[0], static_cast<int>(names.size()), names);
    m_isat = add(cprn);
    m_n = static_cast<int>(names.size());
    m_elev = elev;
    for (int f = 0; f < m_n; ++f) m_freq[f] = freqbytp(m_isat, names.begin()[f]);
  }

  /// Moves on by `step` seconds and runs the detector.
  Slips next(double step = 30.0) {
    timinc(m_mjd, m_sod, step, &m_mjd, &m_sod);
    m_seconds += step;
    double obs[kObs] = {};
    const double range = 2.2e7 + 500.0 * m_seconds, ion = 3.0 + m_ionRate * m_seconds;
    for (int f = 0; f < m_n; ++f) {
      const double delay = ion * std::pow(m_freq[0] / m_freq[f], 2);
      obs[f] = (range - delay + m_metres[f]) * m_freq[f] / kLight + m_cycles[f];
      obs[f + kFreq] = m_hasCode ? range + delay : 0.0;
    }
    Slips slip = {};
    if (m_n == 1)
      m_detector.m_qcDetectSlip_Sf_sat(m_mjd, m_sod, m_isat, "STAN", obs, m_elev, m_sm, slip.data());
    else
      m_detector.m_qcDetectSlip_Df_sat(m_mjd, m_sod, m_isat, "STAN", obs, m_elev, m_sm, slip.data(),
                                       m_expected);
    return slip;
  }
  void settle(int epochs = 5, double step = 30.0) {
    for (int i = 0; i < epochs; ++i) next(step);
  }

  QcTurboEdit m_detector;
  QcSlip m_sm[6];
  int m_isat = -1, m_n = 0, m_mjd = 59025;
  double m_sod = 30000.0, m_seconds = 0.0, m_elev = kHigh;
  double m_freq[kFreq] = {}, m_cycles[kFreq] = {}, m_metres[kFreq] = {};
  double m_ionRate = 0.0;  ///< m/s on the first frequency
  bool m_hasCode = true;
  SlipExpectation m_expected;
};

TEST_F(TurboEditTest, NoGapAcrossMidnightNorAtARepeatedEpochAndRatesAgeOut) {
  use("G05", {"L1", "L2"});
  m_sod = 85980.0;
  next();
  for (int i = 0; i < 200; ++i) EXPECT_EQ(next(), kClean) << m_mjd << " " << m_sod;
  EXPECT_EQ(m_mjd, 59026);
  EXPECT_GT(m_sod, 5000.0);

  EXPECT_EQ(next(0.0), kClean) << "no division by the zero step";
  EXPECT_TRUE(std::isfinite(m_sm[0].m_rate.m_mean));
  EXPECT_GT(m_sm[0].m_rate.m_count, 0);
  next(400.0);  // off the half minute: nothing is added, and the window of 301 s has passed
  EXPECT_EQ(m_sm[0].m_rate.m_count, 0);
}

TEST_F(TurboEditTest, LowElevationWidensTheWideLaneLimit) {
  use("G05", {"L1", "L2"}, 15.0 * kDegToRad);
  deploy().m_turboedit[1] = 3.0;  // 5.8 at 15 degrees
  settle();
  const auto slipBy = [this](double wideLanes) {  // 9 and 7 cycles: 2 wide-lanes, 3 mm
    m_cycles[0] += 4.5 * wideLanes;
    m_cycles[1] += 3.5 * wideLanes;
    const Slips result = next();
    settle();
    return result;
  };
  EXPECT_EQ(slipBy(4.0), kClean);
  settle(200);
  EXPECT_EQ(slipBy(6.0), kBothByWideLane);
  m_elev = 0.0;  // unknown: the plain limit
  EXPECT_EQ(slipBy(4.0), kBothByWideLane);
  m_elev = 2.0 * kDegToRad;  // 43 by the rule, held at 10
  EXPECT_EQ(slipBy(12.0), kBothByWideLane);
}

TEST_F(TurboEditTest, FastSamplingPredictsTheIonosphere) {
  use("G05", {"L1", "L2"});
  m_ionRate = 0.1 / (std::pow(m_freq[0] / m_freq[1], 2) - 1.0);  // 0.1 m/s geometry-free
  settle(62, 1.0);  // through two half minutes, where the rate is taken
  ASSERT_GT(m_sm[0].m_rate.m_count, 0);
  EXPECT_NEAR(m_sm[0].m_rate.m_mean, 0.1, 1.0e-6);
  // Limit at 1 s with a rate: (1 - exp(-1/60)/2) 0.72 = 0.366 m
  m_metres[0] += 0.3;
  EXPECT_EQ(next(1.0), kClean);
  m_metres[0] += 0.4;
  EXPECT_EQ(next(1.0), (Slips{4, 4, 0, 0}));
  EXPECT_EQ(m_sm[0].m_rate.m_count, 0) << "a slip forgets the rate";
}

TEST_F(TurboEditTest, AKnownIonosphereAndKnownNoiseAreNoSlips) {
  use("E05", {"L1", "L5"});
  deploy().m_turboedit[3] = 0.15;
  m_ionRate = 0.012;  // a travelling disturbance low in the sky: 0.36 m a half minute
  settle(2);
  EXPECT_NE(next(), kClean) << "what nothing is known of looks like a slip";
  m_expected.rateKnown = true;
  m_expected.ionosphereRate = 0.012;
  m_expected.frequency = m_freq[0];
  for (int i = 0; i < 20; ++i) EXPECT_EQ(next(), kClean) << i;
  m_cycles[0] += 1.0;
  EXPECT_NE(next(), kClean) << "a cycle of 19 cm still is one";

  m_expected.phaseSigma = 0.02;  // five sigmas of a difference of two epochs of two phases: 20 cm
  m_metres[0] += 0.17;
  settle();
  m_metres[0] -= 0.17;
  EXPECT_EQ(next(), kClean);
  m_metres[0] += 0.30;
  EXPECT_NE(next(), kClean);

  settle();
  m_expected.codeSigma = 2.0;     // five sigmas: 9.3 wide-lanes of 0.75 m
  m_cycles[0] += 154.0 / 39 * 5;  // five wide-lanes without a change of the geometry-free phase
  m_cycles[1] += 115.0 / 39 * 5;
  EXPECT_EQ(next(), kClean);
}

TEST_F(TurboEditTest, SingleFrequency) {
  use("G05", {"L1"});
  EXPECT_EQ(next(), kLost);
  EXPECT_EQ(next(), kClean);
  m_cycles[0] += 10.0;  // 2 sqrt(30) = 10.95
  EXPECT_EQ(next(), kClean);
  m_cycles[0] += 12.0;
  EXPECT_EQ(next(), kLost);
  m_hasCode = false;
  EXPECT_EQ(next(), kClean);
  m_hasCode = true;
  EXPECT_EQ(next(), kClean) << "an epoch without code leaves the arc";
  EXPECT_EQ(next(1201.0), kLost);
}

TEST_F(TurboEditTest, TagsBesideTheHalfMinuteStillSampleTheRate) {
  use("G05", {"L1", "L2"});
  m_sod = 29999.9996;
  m_ionRate = 0.002;
  settle(15, 5.0);
  EXPECT_EQ(m_sm[0].m_rate.m_count, 2);
}

// Twenty epochs a second with 3 mm of noise: the difference of two neighbours says nothing about the rate,
// and a rate made of it would turn every gap of some seconds into a slip.
TEST_F(TurboEditTest, TheRateAtTwentyHertzHoldsAcrossAGapOfSeconds) {
  use("G05", {"L1", "L2"});
  m_ionRate = 0.005;
  std::mt19937 random(7);
  std::normal_distribution<double> noise(0.0, 0.003);
  const auto epoch = [&](double step) {
    for (int f = 0; f < m_n; ++f) m_metres[f] = noise(random);
    return next(step);
  };
  epoch(0.05);
  for (int k = 0; k < 2500; ++k) ASSERT_EQ(epoch(0.05), kClean) << k;
  const double growth = std::pow(m_freq[0] / m_freq[1], 2) - 1.0;  // between the frequencies
  EXPECT_NEAR(m_sm[0].m_rate.m_mean, m_ionRate * growth, 5e-4);
  for (int gap = 0; gap < 5; ++gap) EXPECT_EQ(epoch(9.0), kClean) << gap;
  m_cycles[0] += 3.0;
  EXPECT_EQ(epoch(0.05)[0], kSlipGeometryFree);
}

}  // namespace
