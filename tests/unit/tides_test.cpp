// Solid tide and ocean loading against the published test cases of the IERS Conventions software; Sun and
// Moon against their formulae and a full theory (ERFA epv00 and moon98, turned to the mean equator of date).

#include "Core/Model/Tides.h"

#include <erfa.h>
#include <gmock/gmock.h>

#include <cmath>

#include "Common/Com.h"
#include "Common/Taiutc.h"
#include "Core/Model/ModelSteps.h"
#include "Core/Model/OceanLoading.h"
#include "Core/Model/SolidTides.h"
#include "Core/Model/SunMoon.h"
#include "support/reference_cases.h"

namespace tarvio {
namespace {

struct TidesTest : ::testing::Test {
  TidesTest() {
    Taiutc& table = Taiutc::s_getInstance();
    table.m_mjds = {41317, 53736, 54832, 56109, 57204, 57754, 99999};
    table.m_taiutc = {10, 33, 34, 35, 36, 37, 37};
  }
};

void expectVector(const double (&got)[3], double x, double y, double z, double tolerance) {
  EXPECT_THAT(got, testing::Pointwise(testing::DoubleNear(tolerance), {x, y, z}));
}

constexpr double kStation[3] = {4075578.385, 931852.890, 4801570.154};
constexpr double kSun[3] = {137859926952.015, 54228127881.4350, 23509422341.6960};
constexpr double kMoon[3] = {-179996231.920342, -312468450.131567, -169288918.592160};

TEST_F(TidesTest, PartsOfTheSolidTideMeetTheirPublishedCases) {
  constexpr double kF2Sun = 0.163271964478954, kF2Moon = 0.321989090026845, kT = 0.1059411362080767;
  double d[3];
  ST1IDIU(kStation, kSun, kMoon, kF2Sun, kF2Moon, d);
  expectVector(d, -0.2836337012840008001e-3, 0.1125342324347507444e-3, -0.2471186224343683169e-3, 1e-15);
  ST1ISEM(kStation, kSun, kMoon, kF2Sun, kF2Moon, d);
  expectVector(d, -0.2801334805106874015e-3, 0.2939522229284325029e-4, -0.6051677912316721561e-4, 1e-15);
  ST1L1(kStation, kSun, kMoon, kF2Sun, kF2Moon, d);
  expectVector(d, 0.2367189532359759044e-3, 0.5181609907284959182e-3, -0.3014881422940427977e-3, 1e-15);
  STEP2DIU(kStation, 0.0, kT, d);
  expectVector(d, 0.4193085327321284701e-2, 0.1456681241014607395e-2, 0.5123366597450316508e-2, 1e-15);
  STEP2LON(kStation, kT, d);
  expectVector(d, -0.9780962849562107762e-4, -0.2236349699932734273e-4, 0.3561945821351565926e-3, 1e-15);
}

TEST_F(TidesTest, WholeSolidTideMeetsItsPublishedCases) {
  double d[3];
  dehanttideinel(kStation, 2009, 4, 13, 0.0, kSun, kMoon, d);
  expectVector(d, 0.07700420357108125891, 0.06304056321824967613, 0.05516568152597246810, 1e-13);
  const double station2[3] = {1112189.660, -4842955.026, 3985352.284};
  const double sun2[3] = {-54537460436.2357, 130244288385.279, 56463429031.5996};
  const double moon2[3] = {300396716.912, 243238281.451, 120548075.939};
  dehanttideinel(station2, 2012, 7, 13, 0.0, sun2, moon2, d);
  expectVector(d, -0.02036831479592075833, 0.05658254776225972449, -0.07597679676871742227, 1e-13);
  const double station3[3] = {1112200.5696, -4842957.8511, 3985345.9122};
  const double sun3[3] = {100210282451.6279, 103055630398.3160, 56855096480.4475};
  const double moon3[3] = {369817604.4348, 1897917.5258, 120804980.8284};
  dehanttideinel(station3, 2015, 7, 15, 0.0, sun3, moon3, d);
  expectVector(d, 0.00509570869172363845, 0.0828663025983528700, -0.0636634925404189617, 1e-13);
}

TEST_F(TidesTest, ConstituentsHaveTheirPublishedFrequencyAndPhase) {
  const int m2[6] = {2, 0, 0, 0, 0, 0};
  double frequency = 0.0, phase = 0.0;
  TDFRPH(m2, md_julday(2009, 6, 25), 0.0, &frequency, &phase);
  EXPECT_NEAR(frequency, 1.93227361605688, 1e-12);
  EXPECT_NEAR(phase, 303.343338720297, 1e-6);
  TDFRPH(m2, md_julday(2009, 6, 25), 43305.0, &frequency, &phase);
  EXPECT_NEAR(phase, 291.997959322689, 1e-6);
}

TEST_F(TidesTest, OceanLoadingMeetsThePublishedStations) {
  const Json::Value cases = gnx_test::referenceCases("hardisp_cases.json");
  const int mjd = md_julday(2009, 6, 25);
  for (const char* name : {"Onsala", "Reykjavik"}) {
    const Json::Value& station = cases["stations"][name];
    double table[6][11];
    for (int r = 0; r < 3; ++r)
      for (int c = 0; c < 11; ++c) {
        table[r][c] = station["blq_amplitudes_m"][r][c].asDouble();
        table[r + 3][c] = station["blq_phases_deg"][r][c].asDouble() * kDegToRad;
      }
    const Json::Value& published = station["published_2015"];
    ASSERT_EQ(published.size(), 24u);
    double enu[24][3], single[3];
    hardisp(mjd, 4245.0, table, 24, 3600.0, enu[0]);
    for (int i = 0; i < 24; ++i)
      for (int k = 0; k < 3; ++k)  // published: up, south, west in metres; ours: east, north, up in mm
        EXPECT_NEAR(enu[i][2 - k] * (k == 0 ? 1e-3 : -1e-3), published[i][k].asDouble(), 1e-6) << name << i;
    hardisp(mjd, 4245.0 + 5 * 3600.0, table, 1, 0.0, single);
    EXPECT_NEAR(single[2], enu[5][2], 1e-3) << "a single epoch equals the series";
  }
}

TEST_F(TidesTest, PoleTideIsConstantWithoutPolarMotionAndOceanNeedsATable) {
  const double R[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  double rot[3][3], olc[6][11] = {}, disp[3], solid[3];
  const double lat = 0.85, lon = 0.2;
  rot_enu2xyz(lat, lon, rot);
  const int mjd = md_julday(2009, 4, 13);
  const double sod = 15.0;  // GPS; 0 h UTC
  tide_displace_itrs(mjd, sod, kStation, kSun, kMoon, R, rot, lat, lon, 0.0, 0.0, olc, disp);
  dehanttideinel(kStation, 2009, 4, 13, 0.0, kSun, kMoon, solid);
  // the form in use: north = -9 cos 2 theta (m1 cos lon + m2 sin lon), mm per arcsecond
  double xm = 0.0, ym = 0.0;
  mean_pole("IERS2010", mjd, &xm, &ym);
  const double theta = kPi / 2.0 - lat, along = -xm * std::cos(lon) + ym * std::sin(lon);
  const double enu[3] = {9.0 * std::cos(theta) * (-xm * std::sin(lon) - ym * std::cos(lon)),
                         -9.0 * std::cos(2 * theta) * along, -33.0 * std::sin(2 * theta) * along};
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(disp[i], solid[i] + dot(3, rot[i], enu) * 1e-3, 1e-8);
  EXPECT_NEAR(xm, 0.0559740 + 0.0018243 * 9.28 + 0.00018413 * 86.1 + 0.000007024 * 799, 2e-4);
}

double angle_deg(const double* a, const double* b) {
  return eraSepp(const_cast<double*>(a), const_cast<double*>(b)) * kRadToDeg;
}

double angle_deg(const double* a, const Json::Value& b) {
  const double v[3] = {b[0].asDouble(), b[1].asDouble(), b[2].asDouble()};
  return angle_deg(a, v);
}

TEST(SunMoon, AgreesWithFormulaeAndFullTheory) {
  const Json::Value root = gnx_test::referenceCases("sun_moon_cases.json");
  ASSERT_GT(root["cases"].size(), 0u);
  for (const Json::Value& c : root["cases"]) {
    SCOPED_TRACE(c["label"].asString());
    const double seconds = (c["mjd"].asDouble() - 40587.0) * 86400.0;
    const double whole = std::floor(seconds);
    double sun[3], moon[3];
    sunmoonpos_eci({static_cast<std::int64_t>(whole), seconds - whole}, sun, moon);
    for (Json::ArrayIndex k = 0; k < 3; ++k) {
      EXPECT_NEAR(sun[k], c["sun_low_precision_m"][k].asDouble(), 100.0);
      EXPECT_NEAR(moon[k], c["moon_low_precision_delaunay_m"][k].asDouble(), 1.0);
    }
    EXPECT_LT(angle_deg(sun, c["sun_reference_mean_equator_of_date_m"]), 0.02);
    EXPECT_LT(angle_deg(moon, c["moon_reference_mean_equator_of_date_m"]), 0.4);
  }
}

// Against the full theory in inertial axes: precession would be 0.37 degrees of the Sun in 2026.
TEST(SunMoon, FramesHoldThemInInertialAxes) {
  for (const int mjd : {51544, 58443, 61366}) {
    SystemFrame frame;
    frame.mjd = mjd;
    frame.sod = 43200.0;
    s_sunMoon(frame);
    double earth[2][3], barycentric[2][3], moon[2][3];
    eraEpv00(2400000.5, mjd + 0.5, earth, barycentric);
    eraMoon98(2400000.5, mjd + 0.5, moon);
    const double sun[3] = {-earth[0][0], -earth[0][1], -earth[0][2]};
    EXPECT_LT(angle_deg(frame.sun, sun), 0.02) << mjd;
    EXPECT_LT(angle_deg(frame.moon, moon[0]), 0.3) << mjd;
  }
}

}  // namespace
}  // namespace tarvio
