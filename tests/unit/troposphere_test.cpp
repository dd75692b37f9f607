// Zenith delays and mapping factors. Expected values: published test cases of VMF1_HT (IERS Conventions
// 2010, chapter 9), SAASTHYD, ASKNEWET and GPT2w.

#include <gmock/gmock.h>

#include <cmath>
#include <fstream>
#include <iomanip>

#include "Core/Model/Tropo_vmf1.h"
#include "deployment/troposphere_grid.h"
#include "support/exit_message.h"
#include "support/files.h"
#include "support/places.h"

namespace tarvio {
namespace {

constexpr double kRad = 3.14159265358979323846 / 180.0;

TEST(Troposphere, MappingFactorsMeetPublishedCase) {
  double h, w;
  Tropo_vmf1::vmf1_ht(0.00127683, 0.00060955, 55055.0, 0.6708665767, 824.17, 1.278564131, &h, &w);
  EXPECT_NEAR(h, 3.425088087972572470, 1e-12);
  EXPECT_NEAR(w, 3.448299714692572238, 1e-12);
  // The south has its own phase and coefficients.
  Tropo_vmf1::vmf1_ht(0.00127683, 0.00060955, 55055.0, -0.6708665767, 824.17, 1.278564131, &h, &w);
  EXPECT_NEAR(h, 3.4250813179792337, 1e-12);
  Tropo_vmf1::vmf1_ht(0.00127683, 0.00060955, 55055.0, 0.6708665767, 0.0, 0.0, &h, &w);
  EXPECT_DOUBLE_EQ(h, 1.0);
  EXPECT_DOUBLE_EQ(w, 1.0);
}

TEST(Troposphere, ZenithDelaysMeetPublishedCases) {
  double zhd, zwd;
  Tropo_vmf1::saasthyd(1000.0, 48.0 * kRad, 200.0, &zhd);
  EXPECT_NEAR(zhd, 2.2762945585533596, 1e-12);
  Tropo_vmf1::asknewet(10.9621, 273.8720, 2.8071, &zwd);
  EXPECT_NEAR(zwd, 0.11759495752884513, 1e-12);
}

// A grid that varies linearly with row and column, so that bilinear interpolation is exact.
struct LinearGrid : testing::Test {
  LinearGrid() {
    std::ostringstream text;
    text << "% lat lon p T Q dT undu Hs ah aw lambda Tm\n" << std::setprecision(8);
    for (int row = 1; row <= 180; ++row)
      for (int column = 1; column <= 360; ++column)
        text << 90.5 - row << ' ' << column - 0.5 << " 100000 0 0 0 0 " << kelvin(row, column)
             << " 10 0 0 0 8.0 0 0 0 0 -6.5 0 0 0 0 40.0 0.0 1.25 0 0 0 0 0.58 0 0 0 0 3.0 0 0 0 0 275.0 0 0 "
                "0 0\n";
    grid = text.str();
  }

  /// Temperature at a point of the grid, row and column as real numbers.
  static double kelvin(double row, double column) { return 280.0 + 0.125 * row + 0.0625 * column; }

  static GptValues at(const Tropo_vmf1& tropo, double lat_deg, double lon_deg) {
    const double lat = lat_deg * kRad, lon = lon_deg * kRad, hgt = 40.0;
    GptValues g;
    tropo.gpt2_1w(51544.5, &lat, &lon, &hgt, 1, 1, &g);
    return g;
  }

  const support::TemporaryDirectory directory;
  std::string grid;
};

TEST_F(LinearGrid, InterpolatesWrapsAndStopsAtThePole) {
  const Tropo_vmf1 tropo(directory.write("linear.grd", grid));
  // Cell centres: row 1 at 89.5 degrees, column 1 at 0.5 degrees.
  const auto temperature = [](double row, double column) { return kelvin(row, column) - 273.15; };
  EXPECT_NEAR(at(tropo, 48.2, 16.37).t, temperature(90.5 - 48.2, 16.37 + 0.5), 1e-9);
  EXPECT_NEAR(at(tropo, -33.9, 359.9).t, temperature(90.5 + 33.9, 0.6 * 360.0 + 0.4 * 1.0), 1e-9);
  EXPECT_NEAR(at(tropo, -33.9, -0.1).t, at(tropo, -33.9, 359.9).t, 1e-9);
  EXPECT_NEAR(at(tropo, 10.5, 0.0).t, temperature(80.0, (1.0 + 360.0) / 2.0), 1e-9);
  EXPECT_NEAR(at(tropo, 89.8, 100.2).t, temperature(1.0, 101.0), 1e-9);
  EXPECT_NEAR(at(tropo, 90.0, 0.0).t, temperature(1.0, 1.0), 1e-9);
  EXPECT_NEAR(at(tropo, -90.0, 359.5).t, temperature(180.0, 360.0), 1e-9);
  // Height of the cell, so the grid values stand.
  const GptValues g = at(tropo, 48.2, 16.37);
  const double e = 0.008 * 1000.0 / (0.622 + 0.378 * 0.008), got[] = {g.p, g.dt, g.e, g.lambda, g.tm, g.undu};
  EXPECT_THAT(got, testing::Pointwise(testing::DoubleNear(1e-9), {1000.0, -6.5, e, 3.0, 275.0, 40.0}));
  EXPECT_NEAR(g.ah, 0.00125, 1e-12);
  EXPECT_NEAR(g.aw, 0.00058, 1e-12);
}

// Lines of one length are read one by one, which must give what reading the whole file gives.
TEST_F(LinearGrid, LinesOfOneLengthGiveTheSameAndOneThatIsDamagedLaterEndsNothing) {
  std::istringstream lines(grid);
  std::ostringstream alike;
  for (std::string line; std::getline(lines, line);) alike << std::left << std::setw(200) << line << '\n';
  const std::string file = directory.write("alike.grd", alike.str());
  const Tropo_vmf1 whole(directory.write("linear.grd", grid)), single(file);
  for (const double longitude : {0.0, 16.37, 100.2, 359.9})
    for (const double latitude : {90.0, 48.2, 10.5, -33.9, -90.0})
      EXPECT_EQ(at(single, latitude, longitude).t, at(whole, latitude, longitude).t);
  std::fstream damaged(file);
  damaged.seekp(201 * (1 + 360 * 60));
  damaged << std::string(201 * 360 * 60, 'x');
  damaged.close();
  EXPECT_NEAR(at(single, 0.5, 16.37).t, at(whole, -33.9, 359.9).t, 30.0);
  EXPECT_EQ(at(single, 48.2, 16.37).t, at(whole, 48.2, 16.37).t);
}

TEST_F(LinearGrid, BadGridEndsTheProcessWithItsName) {
  EXPECT_EXIT_MESSAGE(Tropo_vmf1("/nonexistent/grid"), "file = /nonexistent/grid,can't open file to read!");
  const std::string cut = directory.write("cut.grd", grid.substr(0, 100000));
  EXPECT_EXIT_MESSAGE(Tropo_vmf1 grid(cut), "cut.grd,line [0-9]+: 44 numbers expected");
}

// Vienna on 2012-08-02. The file is made of the 5-degree grid that is built into the program, with whose
// routine these figures are published; vapour pressures are those of the 1-degree routine.
TEST(TroposphereGrid, MeetsThePublishedCase) {
  std::ostringstream grid;
  gnx::writeFineGrid(
      grid, gnx::parseBuiltInGrid(support::readFile(support::kSourceDirectory + "/deploy/gpt2_5deg.csv.gz")));
  const support::TemporaryDirectory directory;
  const Tropo_vmf1 tropo(directory.write("grid", grid.str()));
  const double lat = 48.20 * kRad, lon = 16.37 * kRad, hgt = 156.0;
  const struct {
    int constant;
    double pte[3], a[2];
  } published[] = {{0, {1002.555, 22.121, 16.65}, {0.00126467, 0.00057256}},
                   {1, {1003.487, 11.953, 10.22}, {0.00123954, 0.00055603}}};
  for (const auto& want : published) {
    GptValues g;
    tropo.gpt2_1w(56141.0, &lat, &lon, &hgt, 1, want.constant, &g);
    const double values[] = {g.p, g.t, g.e}, coefficients[] = {g.ah, g.aw};
    EXPECT_THAT(values, testing::Pointwise(testing::DoubleNear(0.3), want.pte));
    EXPECT_THAT(coefficients, testing::Pointwise(testing::DoubleNear(1e-6), want.a));
  }
}

}  // namespace
}  // namespace tarvio
