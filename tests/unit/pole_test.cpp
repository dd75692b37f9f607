// The pole from a file of Earth rotation parameters to the engine: readers of both forms, the table that a
// deployment gets, and what the engine has of it.

#include <cmath>
#include <sstream>

#include "Common/Taiutc.h"
#include "Core/Model/Itrs2gcrs.h"
#include "Core/Model/PoleTable.h"
#include "Core/Model/Tides.h"
#include "Interface/Controller.h"
#include "deployment/pole_table.h"
#include "gnx/read.h"
#include "support/host_files.h"
#include "support/places.h"
#include "values/zonal_tides.h"

namespace gnx::test {
namespace {

constexpr const char* kIgs =
    "version 2\n"
    "Source: Xpole,Ypole,Xrt,Yrt,LOD: weighted average\n\n"
    "  MJD      Xpole   Ypole  UT1-UTC    LOD  Xsig  Ysig\n"
    "             (10**-6\")       (0.1 usec)\n"
    "59025.50  141032  433120  -2305871   -430     6     5\n"
    "59026.50  142050  432310 -2301440   -431     6     5\n";

/// A row of finals2000A: columns of Bulletin A.
std::string finalsRow(const char* date, const char* x, const char* y, const char* ut1) {
  char line[128];
  std::snprintf(line, sizeof line, "%15s I %9s  .000091 %9s  .000090  I%10s  .0000100", date, x, y, ut1);
  return std::string(line) + "\n";
}

struct Pole : testing::Test {
  Pole() {
    tarvio::Controller::s_getInstance()->m_deploy.m_fileTable["ut1t10"] = zonalFile;
    tarvio::Taiutc::s_getInstance().m_setFile(support::kSourceDirectory + "/deploy/leapseconds.txt");
  }
  ~Pole() override { engine.v_acqData(""); }

  std::vector<EarthRotation> read(const std::string& content) {
    return readEarthRotation(directory.write("erp", content));
  }
  std::string refusal(const std::string& content) {
    return inputError([&] { read(content); });
  }
  /// The engine reads the table that the host writes.
  void deploy(const std::vector<EarthRotation>& records, double mjd) {
    std::ostringstream table;
    writePoleTable(table, records, mjd);
    engine.v_acqData(directory.write("polut1", table.str()).c_str());
  }
  std::array<double, 3> at(double mjd) {
    std::array<double, 3> eop{9.0, 9.0, 9.0};
    engine.v_polut1(mjd, eop.data());
    return eop;
  }

  const std::string zonalFile = support::kSourceDirectory + "/deploy/ut1t10.txt";
  const TempDir directory;
  tarvio::PoleTable& engine = tarvio::PoleTable::s_getInstance();
};

TEST_F(Pole, FilesOfBothFormsAreRead) {
  const auto expectRecord = [](const EarthRotation& r, double mjd, double x, double y, double ut1) {
    EXPECT_EQ(r.mjd, mjd);
    EXPECT_THAT((std::vector{r.x, r.y, r.ut1MinusUtc}),
                testing::Pointwise(testing::DoubleNear(1e-12), {x, y, ut1}));
  };
  const auto igs = read(kIgs);
  ASSERT_EQ(igs.size(), 2u);
  expectRecord(igs[0], 59025.5, 0.141032, 0.433120, -0.2305871);
  const auto finals = read(finalsRow("20 625 59025.00", " 0.141032", " 0.433120", "-0.2305871") +
                           finalsRow("20 626 59026.00", "-0.142050", " 0.432310", " 0.2301440") +
                           finalsRow("20 627 59027.00", "", "", ""));
  ASSERT_EQ(finals.size(), 2u) << "a day without predictions has no record";
  expectRecord(finals[0], 59025.0, 0.141032, 0.433120, -0.2305871);
  expectRecord(finals[1], 59026.0, -0.142050, 0.432310, 0.2301440);
}

TEST_F(Pole, VersionOneHasItsOwnUnitsAndOtherKindsOfUt1BecomeUt1MinusUtc) {
  const auto ut1 = [&](const std::string& title, const std::string& value) {
    const auto records = read("Combined pole and rotation\n\n  MJD   Xpole Ypole " + title +
                              " LOD\n  10**-5\" 10**-6 s\n59025.50 14103 43312 " + value + " -430\n");
    EXPECT_EQ(records.size(), 1u);
    EXPECT_NEAR(records.at(0).x, 0.14103, 1e-12);
    return records.at(0).ut1MinusUtc;
  };
  EXPECT_NEAR(ut1("UT1-UTC", "-230587"), -0.230587, 1e-12);
  EXPECT_NEAR(ut1("UT1-TAI", "-37230587"), -0.230587, 1e-12);
  // Of the tides that UT1R lacks the fortnightly ones are the largest, 0.8 ms; the yearly ones stay in it.
  const double back = ut1("UT1R-UTC", "-230587") + 0.230587;
  EXPECT_GT(std::abs(back), 1e-5);
  EXPECT_LT(std::abs(back), 2.5e-3);
  double year = 0.0;
  for (int day = 0; day < 365; ++day) year += shortZonalTides_s(59025.5 + day) / 365.0;
  EXPECT_LT(std::abs(year), 2e-5);
}

TEST_F(Pole, DamagedFilesAreRefusedWithTheLine) {
  const std::string header(kIgs, std::string(kIgs).find("59025"));
  EXPECT_THAT(refusal("version 3\n"), HasSubstr("erp:1: version: '3' is not read"));
  EXPECT_THAT(refusal(header + "59025.5 1410x 433120 -2305871\n"), HasSubstr("erp:6: Xpole: '1410x'"));
  EXPECT_THAT(refusal(header + "59025.5 1410 433120\n"), HasSubstr("UT1-UTC expected"));
  EXPECT_THAT(refusal(header + "59025.5 14103200 433120 -2305871\n"), HasSubstr("beyond one arcsecond"));
  EXPECT_THAT(refusal(std::string(kIgs) + "59026.50 1 1 1\n"), HasSubstr("erp:8: MJD: the dates do not"));
  EXPECT_THAT(refusal("2020 06 25 0.141 0.433 -0.2305\n"), HasSubstr("no line of titles"));
  EXPECT_THAT(refusal(header), HasSubstr("no Earth rotation parameters"));
  EXPECT_THAT(refusal(""), HasSubstr("no Earth rotation parameters"));
}

TEST_F(Pole, TheEngineHasTheRecordsOfTheFileAndTheSecularPoleElsewhere) {
  deploy(read(kIgs), 59025.0);
  // UT1 without the zonal tides of the engine's own routine
  double zonal, lod, omega;
  const double centuries = (59025.5 + 69.184 / 86400.0 - 51544.5) / 36525.0;
  tarvio::Itrs2gcrs().RG_ZONT2("IERS2010", centuries, &zonal, &lod, &omega);
  EXPECT_GT(std::abs(zonal), 1e-3);
  EXPECT_THAT(at(59025.5),
              testing::Pointwise(testing::DoubleNear(2e-7), {0.141032, 0.433120, -0.2305871 - zonal}));
  EXPECT_NEAR(at(59026.0)[0], 0.141541, 1e-9);
  EXPECT_NEAR(at(59025.5)[1], 0.433120, 1e-9) << "back again";
  for (const double mjd : {45000.0, 58995.5, 59056.5, 80000.0}) {
    double x, y;
    tarvio::mean_pole("IERS2018", mjd, &x, &y);
    EXPECT_THAT(at(mjd), testing::Pointwise(testing::DoubleNear(1e-6), {x, y, 0.0})) << mjd;
  }
  // the pole of 2026-11-22, in milliarcseconds
  deploy({}, 61366.0);
  EXPECT_NEAR(at(61366.0)[0], 0.0550 + 0.001677 * 26.8898, 1e-6);
  EXPECT_NEAR(at(61366.0)[1], 0.3205 + 0.003460 * 26.8898, 1e-6);
}

}  // namespace
}  // namespace gnx::test
