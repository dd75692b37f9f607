// Rotation between the terrestrial and the inertial frame, and the readers of its parameters. Expected
// values: the published test cases of the IERS Conventions (2010) software, chapters 5 and 8, and a
// computation with ERFA of the chain.

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <span>

#include "Common/Com.h"
#include "Common/Taiutc.h"
#include "Core/Model/Erp.h"
#include "Core/Model/Itrs2gcrs.h"
#include "Core/Model/ModelSteps.h"
#include "Core/Model/PoleTable.h"
#include "Core/Model/Tides.h"
#include "Interface/Controller.h"
#include "support/exit_message.h"
#include "support/files.h"
#include "support/places.h"
#include "support/reference_cases.h"

namespace tarvio {
namespace {

void expectNear(std::span<const double> got, const std::vector<double>& published, double tolerance) {
  EXPECT_THAT(got, testing::Pointwise(testing::DoubleNear(tolerance), published));
}

struct EarthRotation : testing::Test {
  void SetUp() override {
    auto& files = Controller::s_getInstance()->m_deploy.m_fileTable;
    files["ut1t10"] = support::kSourceDirectory + "/deploy/ut1t10.txt";
    Taiutc::s_getInstance().m_setFile(support::kSourceDirectory + "/deploy/leapseconds.txt");
  }
};

TEST_F(EarthRotation, FundamentalArgumentsAndZonalTidesMeetPublishedCases) {
  double a[5];
  FUNDARG(0.07995893223819302, &a[0], &a[1], &a[2], &a[3], &a[4]);
  expectNear(
      a, {2.291187512612069, 6.212931111003726, 3.658025792050573, 4.554139562402433, -0.5167379217231804},
      1e-12);
  double dut, dlod, domega;
  Itrs2gcrs().RG_ZONT2("IERS2010", 0.07995893223819302, &dut, &dlod, &domega);
  EXPECT_NEAR(dut, 7.983287678576557467e-2, 1e-12);
  // The other two sums carry the factor of the first, 1e-4, instead of 1e-5 and 1e-14.
  EXPECT_NEAR(dlod * 0.1, 5.035331113978199288e-5, 1e-14);
  EXPECT_NEAR(domega * 1e-10, -4.249711616463017e-14, 1e-23);
}

TEST_F(EarthRotation, SubdailySeriesMeetPublishedCases) {
  double h[12], eop[3], pm[2], ut[2];
  CNMTX(54964.0, h);
  expectNear(h,
             {15.35873641938967360, 9.784941251812741214, -5.520740128266865554, 3.575314211234633888,
              -13.93717453496387648, -9.167400321705855504, 5.532815475865292321, 9.558741883500834646,
              -10.22541212627272600, 0.8367570529461261231, 1.946355176475630611, -13.55702062247304696},
             1e-9);
  ORTHO_EOP(47100.0, eop);
  expectNear(eop, {-162.8386373279636530, 117.7907525842668974, -23.39092370609808214}, 1e-8);
  // The published routines hold these two tables in single precision.
  PMSDNUT2(54335.0, pm);
  expectNear(pm, {24.83144238273364834, -14.09240692041837661}, 1e-6);
  UTLIBR(44239.1, &ut[0], &ut[1]);
  expectNear(ut, {2.441143834386761746, -14.78971247349449492}, 1e-6);
  UTLIBR(55227.4, &ut[0], &ut[1]);
  expectNear(ut, {-2.655705844335680244, 27.39445826599846967}, 1e-6);
}

TEST_F(EarthRotation, ChainAgreesWithErfa) {
  Itrs2gcrs rotation;
  const double eop[3] = {0.0, 0.0, 0.0};
  const Json::Value cases = gnx_test::referenceCases("erfa_cases.json")["cases"];
  ASSERT_EQ(cases.size(), 5U);
  for (const Json::Value& all : cases) {
    const Json::Value& c = all["engine"];
    SCOPED_TRACE(c["gps_mjd"].asString() + " " + c["gps_sod"].asString());
    double R[3][3], Rdot[3][3], sodUt1, gast, xp, yp;
    int mjdUt1;
    rotation.itrs2gcrs("IERS2010", 0, c["gps_mjd"].asInt(), c["gps_sod"].asDouble(), eop, R, Rdot, 0.0, 0.0,
                       &mjdUt1, &sodUt1, &gast, &xp, &yp);
    EXPECT_EQ(mjdUt1, c["ut1_mjd"].asInt());
    EXPECT_NEAR(sodUt1, c["ut1_sod"].asDouble(), 1e-8);
    EXPECT_NEAR(gast, c["gmst06_rad"].asDouble(), 1e-12);
    EXPECT_NEAR(xp, c["xp_arcsec"].asDouble(), 1e-9);
    EXPECT_NEAR(yp, c["yp_arcsec"].asDouble(), 1e-9);
    for (Json::ArrayIndex i = 0; i < 3; ++i)
      for (Json::ArrayIndex k = 0; k < 3; ++k) {
        EXPECT_NEAR(R[i][k], c["R"][i][k].asDouble(), 1e-12);
        EXPECT_NEAR(Rdot[i][k], c["Rdot"][i][k].asDouble(), 1e-16);
      }
  }
}

TEST_F(EarthRotation, BadZonalTableEndsTheProcess) {
  double a, b, c;
  auto& files = Controller::s_getInstance()->m_deploy.m_fileTable;
  files["ut1t10"] = "/nonexistent/ut1t10";
  EXPECT_EXIT_MESSAGE(Itrs2gcrs().RG_ZONT2("IERS2010", 0.1, &a, &b, &c), "RG_ZONT2.*no such file");
  const auto damaged = std::filesystem::path(testing::TempDir()) / "ut1t10_damaged";
  std::ofstream(damaged) << "----------\n 0 0 0 0 1 nan 0 0 0 0 0\n";
  files["ut1t10"] = damaged.string();
  EXPECT_EXIT_MESSAGE(Itrs2gcrs().RG_ZONT2("IERS2010", 0.1, &a, &b, &c), "out of range in .*damaged, line 2");
  files.erase("ut1t10");
  EXPECT_EXIT_MESSAGE(Itrs2gcrs().RG_ZONT2("IERS2010", 0.1, &a, &b, &c), "file_table not exist config item");
  EXPECT_EXIT_MESSAGE(Itrs2gcrs().RG_ZONT2("IERS2020", 0.1, &a, &b, &c), "IERS2020,unknown conventions");
}

struct Erp : testing::Test {
  Erp() {
    Controller::s_getInstance()->m_deploy.m_fileTable["ut1t10"] =
        support::kSourceDirectory + "/deploy/ut1t10.txt";
  }
  const support::TemporaryDirectory directory;
};

/// Zonal tides in UT1 at an MJD of GPS time, as the rotation adds them.
double zonal_s(double mjd) {
  double dut, lod, omega;
  const int day = static_cast<int>(mjd);
  Itrs2gcrs().RG_ZONT2("IERS2010", Itrs2gcrs::s_zonalCenturies(day, (mjd - day) * 86400.0 + 51.184), &dut,
                       &lod, &omega);
  return dut;
}

TEST_F(Erp, PredictionsLoseTheZonalTidesAndEndWithTheSecondRecord) {
  ErpRtAdapter erp;
  double eop[3] = {9, 9, 9};
  erp.v_polut1(59025.5, eop);
  EXPECT_EQ(eop[0], 0.0);  // nothing read yet

  const std::string path = directory.write("erp",
                                           "version 2\n  MJD  Xpole Ypole UT1-UTC\n  E-6as\n\n"
                                           "59025.00 140000 430000 -2300000 5\n"
                                           "59026.00 142000 431000 -2304000 5\n");
  erp.v_acqData(path.c_str());
  erp.v_polut1(59025.25, eop);
  const double tides = 0.75 * zonal_s(59025.0) + 0.25 * zonal_s(59026.0);
  EXPECT_THAT(eop, testing::Pointwise(testing::DoubleNear(1e-12), {0.1405, 0.43025, -0.2301 - tides}));
  EXPECT_GT(std::abs(tides), 1e-3);
  erp.v_polut1(59026.01, eop);
  EXPECT_EQ(eop[2], 0.0);
  EXPECT_EXIT_MESSAGE(ErpRtAdapter().v_acqData("/nonexistent/erp"),
                      "f_acqerp.*can not open /nonexistent/erp file");
}

TEST_F(Erp, TableIsInterpolatedForwardWithinItsLimits) {
  Controller::s_getInstance()->m_deploy.m_fileTable["polut1"] =
      directory.write("table",
                      " 59000 59003\n59000 0.10 0.40 -0.20\n59001 0.11 0.41 -0.21\n59002 0.13 0.42 -0.22\n"
                      "59003 0.16 0.43 -0.2\n");
  ErpPostAdapter erp;
  erp.v_acqData(nullptr);
  double eop[3];
  erp.v_polut1(59000.5, eop);
  EXPECT_NEAR(eop[0], 0.105, 1e-12);
  erp.v_polut1(59002.25, eop);
  EXPECT_THAT(eop, testing::Pointwise(testing::DoubleNear(1e-12), {0.1375, 0.4225, -0.215}));
  erp.m_unit = 2.0;
  erp.v_polut1(59003.0, eop);
  EXPECT_NEAR(eop[0], 0.32, 1e-12);
  EXPECT_EXIT_MESSAGE(erp.v_polut1(59000.5, eop), "polut1_linear_interpolate.*epoch before jdsi!");
  EXPECT_EXIT_MESSAGE(erp.v_polut1(59003.5, eop), "table_linear_interpolate.*input beyond table time");
  erp.v_onRecall("polut1");  // from the start again
  erp.v_polut1(59000.5, eop);
  EXPECT_NEAR(eop[0], 0.21, 1e-12);
}

/// The table of a deployment; it is empty again behind the test.
struct DeployedPole : Erp {
  DeployedPole() { Taiutc::s_getInstance().m_setFile(support::kSourceDirectory + "/deploy/leapseconds.txt"); }
  ~DeployedPole() override { pole.v_acqData(""); }
  void read(const std::string& table) { pole.v_acqData(directory.write("polut1", table).c_str()); }
  std::vector<double> at(double mjd) {
    std::vector<double> eop(3, 9.0);
    pole.v_polut1(mjd, eop.data());
    return eop;
  }
  PoleTable& pole = PoleTable::s_getInstance();
};

TEST_F(DeployedPole, IsLinearBetweenRecordsAtAnyDistanceAndZeroElsewhere) {
  read("59000 59011  remark\n59000 0.1 0.4 -0.20\n59001 0.2 0.4 -0.21\n(remark)\n59011 0.1 0.3 -0.31\n");
  for (const double mjd : {59000.0, 59011.0, 59006.0, 59000.5}) EXPECT_TRUE(pole.m_covers(mjd)) << mjd;
  expectNear(at(59006.0), {0.15, 0.35, -0.26}, 1e-12);
  expectNear(at(59000.5), {0.15, 0.4, -0.205}, 1e-12);  // time may go back
  expectNear(at(59011.0), {0.1, 0.3, -0.31}, 1e-12);
  for (const double mjd : {58999.9, 59011.1}) {
    EXPECT_FALSE(pole.m_covers(mjd));
    expectNear(at(mjd), {0.0, 0.0, 0.0}, 0.0);
  }
  read("59000 59001\n59000 0.1 0.4 0\n59002 0.2 0.4 0\n");
  EXPECT_FALSE(pole.m_covers(59001.1)) << "the first line limits the table";
}

TEST_F(DeployedPole, ATableThatMakesNoSenseHoldsNoRecords) {
  const std::string good = "59000 59002\n59000 0.1 0.4 -0.2\n59002 0.1 0.4 -0.2\n";
  for (const char* table : {"", "\n \n", "59000 59002\n59000 0.1 0.4 -0.2\n", "title\n59000 0.1 0.4 -0.2\n",
                            "59000 59002\n59000 0.1 0.4 0\n59000 0.1 0.4 0\n59002 0.1 0.4 0\n",
                            "59000 59002\n59000 100 400 -0.2\n59002 100 400 -0.2\n"}) {
    read(good);
    ASSERT_TRUE(pole.m_covers(59001.0));
    read(table);
    EXPECT_FALSE(pole.m_covers(59001.0)) << table;
    expectNear(at(59001.0), {0.0, 0.0, 0.0}, 0.0);
  }
  read(good);
  pole.v_acqData("/nonexistent/polut1");
  EXPECT_FALSE(pole.m_covers(59001.0));
}

TEST_F(DeployedPole, FramesAndThePoleTideFollowIt) {
  Station station("TEST");
  station.m_mjd = 59025;
  station.m_sod = 43200.0;
  SystemFrame frame, without;
  s_systemTime(station, 0.0, without);
  read("59025 59026\n59025 0.141 0.433 -0.23\n59026 0.141 0.433 -0.23\n");
  s_systemTime(station, 0.0, frame);
  EXPECT_TRUE(frame.poleKnown);
  EXPECT_FALSE(without.poleKnown);
  EXPECT_NEAR(frame.xp - without.xp, 0.141, 1e-9);
  EXPECT_NEAR(frame.yp - without.yp, 0.433, 1e-9);
  EXPECT_LT(std::abs(without.xp), 1e-3) << "tides and libration alone";

  // IERS Conventions 2010, eq. 7.26: east, north, up of a pole 0.1 and -0.2 arcsec from the secular one
  const double lat = 0.97, lon = 2.4, theta = kPi / 2.0 - lat, m1 = 0.1, m2 = 0.2;
  const double along = m1 * std::cos(lon) + m2 * std::sin(lon);
  const double enu_mm[3] = {9.0 * std::cos(theta) * (m1 * std::sin(lon) - m2 * std::cos(lon)),
                            9.0 * std::cos(2.0 * theta) * along, -33.0 * std::sin(2.0 * theta) * along};
  double rot[3][3], x, y, tide[2][3];
  rot_enu2xyz(lat, lon, rot);
  mean_pole("IERS2018", 59025.5, &x, &y);
  EXPECT_NEAR(x, 0.0550 + 0.001677 * 20.482, 1e-6);
  EXPECT_NEAR(y, 0.3205 + 0.003460 * 20.482, 1e-6);
  const double site[3] = {-2.66e6, 2.43e6, 5.24e6}, none[6][11] = {}, far[3] = {1e15, 0.0, 0.0};
  for (const int k : {0, 1})
    tide_displace_itrs(59025, 43200.0, site, far, far, frame.R, rot, lat, lon, x + k * m1, y - k * m2, none,
                       tide[k], PoleTide::known);
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(tide[1][i] - tide[0][i], dot(3, rot[i], enu_mm) * 1e-3, 1e-9);
}

}  // namespace
}  // namespace tarvio
