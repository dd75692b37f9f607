#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "Common/ComTime.h"
#include "Common/Logtrace.h"
#include "Core/Qc/QcTurboEdit.h"
#include "support/table_fixture.h"

namespace {

using namespace tarvio;

using Slips = std::array<int, kFreq>;
constexpr Slips kClean = {0, 0, 0, 0};
constexpr double kHigh = 60.0 * kDegToRad;

/// One satellite without noise: a moving range, an ionosphere that drifts, and what a test adds.
class TurboEditTest : public gnx_test::TableFixture {
 protected:
  void use(const char* cprn, std::initializer_list<const char*> names, double elev = kHigh) {
    frequencies(cprn[0], static_cast<int>(names.size()), names);
    m_isat = add(cprn);
    m_n = static_cast<int>(names.size());
    m_elev = elev;
    for (int f = 0; f < m_n; ++f) {
      m_freq[f] = freqbytp(m_isat, deploy().m_freqObs[index_sys(false, m_isat)][f]);
    }
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
    int slip[kFreq] = {};
    if (m_single) {
      m_detector.m_qcDetectSlip_Sf_sat(m_mjd, m_sod, m_isat, "STAN", obs, m_elev, m_sm, slip);
    } else {
      m_detector.m_qcDetectSlip_Df_sat(m_mjd, m_sod, m_isat, "STAN", obs, m_elev, m_sm, slip);
    }
    return {slip[0], slip[1], slip[2], slip[3]};
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
  bool m_hasCode = true, m_single = false;
};

TEST_F(TurboEditTest, FirstEpochIsAGapOfEveryFrequencyAndTheArcGoesOn) {
  use("G05", {"L1", "L2"});
  EXPECT_EQ(next(), (Slips{2, 2, 0, 0}));
  for (int i = 0; i < 20; ++i) EXPECT_EQ(next(), kClean);
  EXPECT_EQ(m_sm[0].m_nmw, 21);
}

TEST_F(TurboEditTest, NoGapAcrossMidnightNorLaterInTheDay) {
  use("G05", {"L1", "L2"});
  m_sod = 86000.0;
  next();
  for (int i = 0; i < 200; ++i) EXPECT_EQ(next(), kClean) << m_mjd << " " << m_sod;
  EXPECT_EQ(m_mjd, 59026);
  EXPECT_GT(m_sod, 5000.0);
}

TEST_F(TurboEditTest, GapLimit) {
  use("G05", {"L1", "L2"});
  settle();
  EXPECT_EQ(next(1199.0), kClean) << "the combinations bridge it";
  EXPECT_EQ(next(1201.0), (Slips{2, 2, 0, 0}));
  EXPECT_EQ(next(), kClean);
}

TEST_F(TurboEditTest, SlipsOfTwoFrequencies) {
  use("G05", {"L1", "L2"});
  settle();
  m_cycles[0] += 1.0;  // 0.19 m in the geometry-free combination, one wide-lane
  EXPECT_EQ(next(), (Slips{4, 4, 0, 0}));
  EXPECT_EQ(m_sm[0].m_nmw, 1) << "the epoch of the slip is the first of the new arc";
  EXPECT_EQ(next(), kClean);
  m_cycles[0] += 18.0;  // 18 and 14 cycles are both 3.42 m: only the wide-lane sees 4 cycles
  m_cycles[1] += 14.0;
  EXPECT_EQ(next(), (Slips{3, 3, 0, 0}));
  m_cycles[0] += 5.0;  // equal cycles: only the geometry-free combination sees them
  m_cycles[1] += 5.0;
  EXPECT_EQ(next(), (Slips{4, 4, 0, 0}));
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
  EXPECT_EQ(slipBy(6.0), (Slips{3, 3, 0, 0}));
  m_elev = 0.0;  // unknown: the plain limit
  EXPECT_EQ(slipBy(4.0), (Slips{3, 3, 0, 0}));
  m_elev = 2.0 * kDegToRad;  // 43 by the rule, held at 10
  EXPECT_EQ(slipBy(12.0), (Slips{3, 3, 0, 0}));
}

TEST_F(TurboEditTest, ThreeFrequenciesTellWhichOneSlipped) {
  use("G05", {"L1", "L2", "L5"});
  EXPECT_EQ(next(), (Slips{2, 2, 2, 0}));
  settle();
  for (int f = 0; f < 3; ++f) {
    m_cycles[f] += 3.0;
    Slips expected = kClean;
    expected[static_cast<std::size_t>(f)] = 4;
    EXPECT_EQ(next(), expected) << f;
    EXPECT_EQ(next(), kClean);
  }
  m_cycles[0] += 7.0;
  m_cycles[2] -= 2.0;
  EXPECT_EQ(next(), (Slips{4, 4, 4, 0})) << "two slipped: no pair is clean";
  settle();
  // 0.1 m apart in opposite directions: only the pair of the two fails, and the third frequency,
  // clean in both its pairs, shows that the votes contradict each other. The flags stay.
  m_metres[0] += 0.1;
  m_metres[1] -= 0.1;
  EXPECT_EQ(next(), (Slips{4, 4, 0, 0}));
}

TEST_F(TurboEditTest, ThirdPairHasATighterWideLaneLimit) {
  use("G05", {"L1", "L2", "L5"});
  settle();
  // One extra-wide-lane between L2 and L5 that no geometry-free test may see: 24 and 23 cycles.
  m_cycles[1] += 24.0;
  m_cycles[2] += 23.0;
  m_metres[0] += 24.0 * kLight / m_freq[1];
  const Slips slips = next();
  EXPECT_GE(slips[1], 3);
  EXPECT_GE(slips[2], 3);
}

TEST_F(TurboEditTest, FourFrequenciesStayInTheirRecords) {
  use("E11", {"L1", "L6", "L7", "L5"});
  EXPECT_EQ(next(), (Slips{2, 2, 2, 2}));
  settle();
  m_cycles[3] += 5.0;
  EXPECT_EQ(next()[3], 4);
  EXPECT_EQ(next(), kClean);
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

TEST_F(TurboEditTest, SlowSamplingComparesRawDifferences) {
  use("G05", {"L1", "L2"});
  m_ionRate = 0.01 / (std::pow(m_freq[0] / m_freq[1], 2) - 1.0);
  settle(10, 10.0);
  ASSERT_GT(m_sm[0].m_rate.m_count, 0);
  // Limit at 10 s: 0.415 m; of it the drift takes 0.1
  m_metres[0] += 0.30;
  EXPECT_EQ(next(10.0), kClean);
  m_metres[0] += 0.33;
  EXPECT_EQ(next(10.0), (Slips{4, 4, 0, 0}));
}

TEST_F(TurboEditTest, OldRatesAndRepeatedEpochs) {
  use("G05", {"L1", "L2"});
  settle(6);
  EXPECT_EQ(next(0.0), kClean) << "no division by the zero step";
  EXPECT_TRUE(std::isfinite(m_sm[0].m_rate.m_mean));
  next(400.0);  // off the half minute: nothing is added, and the window of 301 s has passed
  EXPECT_EQ(m_sm[0].m_rate.m_count, 0);
}

TEST_F(TurboEditTest, SingleFrequency) {
  use("G05", {"L1"});
  m_single = true;
  EXPECT_EQ(next(), (Slips{1, 0, 0, 0}));
  EXPECT_EQ(next(), kClean);
  m_cycles[0] += 10.0;  // 2 sqrt(30) = 10.95
  EXPECT_EQ(next(), kClean);
  m_cycles[0] += 12.0;
  EXPECT_EQ(next(), (Slips{1, 0, 0, 0}));
  m_hasCode = false;
  EXPECT_EQ(next(), kClean);
  m_hasCode = true;
  EXPECT_EQ(next(), kClean) << "an epoch without code leaves the arc";
  EXPECT_EQ(next(1201.0), (Slips{1, 0, 0, 0}));
}

TEST_F(TurboEditTest, StatusFileTellsWhatHappened) {
  const std::string path = testing::TempDir() + "turboedit_stat";
  Logtrace::s_defaultlogger.m_openLog(path);
  Logtrace::s_setFiles(path.c_str(), "", false, 0);
  use("G05", {"L1", "L2"});
  settle();
  m_cycles[0] += 10.0;
  next();
  m_elev = 5.0 * kDegToRad;
  m_cycles[0] += 500.0;
  EXPECT_NE(next(), kClean);
  Logtrace::s_setFiles("", "", false, 0);
  Logtrace::s_defaultlogger.m_closeLog(path);
  std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  const std::string log = text.str();
  EXPECT_NE(log.find("-[SLIP]-[59025  30030.0] [STAN G05 L2] reset as new ambiguity since gap\n"),
            std::string::npos)
      << log;
  EXPECT_NE(log.find("-[SLIP]-[59025  30180.0] [STAN G05 L1 L2] new ambiguity: (c) 10.00 vs (m)  3.00(mw) "
                     "(c)  1.90 vs (m)  0.15(dtec)   60.00(elev)     30.0(dt)\n"),
            std::string::npos)
      << log;
  EXPECT_EQ(log.find("5.00(elev)"), std::string::npos) << "low slips are not worth a line";
  std::remove(path.c_str());
}

}  // namespace
