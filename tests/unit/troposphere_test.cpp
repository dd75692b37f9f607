// Zenith delays and mapping factors. Expected values: published test cases of VMF1_HT (IERS Conventions
// 2010, chapter 9), SAASTHYD, ASKNEWET, and the GPT2w formulae re-computed on the published 5-degree grid.

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "Core/Model/Tropo_vmf1.h"
#include "support/exit_message.h"
#include "support/files.h"

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
class LinearGrid : public testing::Test {
 protected:
  static constexpr double kRowStep = 0.125, kColumnStep = 0.0625;

  static std::string path() {
    return testing::TempDir() + "gnx_linear_grid_" + std::to_string(getpid()) + ".grd";
  }

  static void SetUpTestSuite() {
    std::ofstream out(path());
    out << "% lat lon p T Q dT undu Hs ah aw lambda Tm\n";
    char text[400];
    for (int row = 1; row <= 180; ++row)
      for (int column = 1; column <= 360; ++column) {
        std::snprintf(
            text, sizeof text,
            "%5.1f %5.1f 100000 0 0 0 0 %.4f 10 0 0 0 8.0 0 0 0 0 -6.5 0 0 0 0 40.0 0.0 1.25 0 0 0 0 "
            "0.58 0 0 0 0 3.0 0 0 0 0 275.0 0 0 0 0\n",
            90.5 - row, column - 0.5, 280.0 + kRowStep * row + kColumnStep * column);
        out << text;
      }
  }
  static void TearDownTestSuite() { std::filesystem::remove(path()); }

  /// Temperature at a point of the grid, row and column as real numbers.
  static double temperature(double row, double column) {
    return 280.0 + kRowStep * row + kColumnStep * column - 273.15;
  }

  static GptValues at(const Tropo_vmf1& tropo, double lat_deg, double lon_deg, double mjd = 51544.5) {
    const double lat = lat_deg * kRad, lon = lon_deg * kRad, hgt = 40.0;
    GptValues g;
    tropo.gpt2_1w(mjd, &lat, &lon, &hgt, 1, 1, &g);
    return g;
  }
};

TEST_F(LinearGrid, InterpolatesWrapsAndStopsAtThePole) {
  const Tropo_vmf1 tropo(path());
  // Cell centres: row 1 at 89.5 degrees, column 1 at 0.5 degrees.
  EXPECT_NEAR(at(tropo, 48.2, 16.37).t, temperature(90.5 - 48.2, 16.37 + 0.5), 1e-9);
  EXPECT_NEAR(at(tropo, -33.9, 359.9).t, temperature(90.5 + 33.9, 0.6 * 360.0 + 0.4 * 1.0), 1e-9);
  EXPECT_NEAR(at(tropo, -33.9, -0.1).t, at(tropo, -33.9, 359.9).t, 1e-9);
  EXPECT_NEAR(at(tropo, 10.5, 0.0).t, temperature(80.0, (1.0 + 360.0) / 2.0), 1e-9);
  EXPECT_NEAR(at(tropo, 89.8, 100.2).t, temperature(1.0, 101.0), 1e-9);
  EXPECT_NEAR(at(tropo, 90.0, 0.0).t, temperature(1.0, 1.0), 1e-9);
  EXPECT_NEAR(at(tropo, -90.0, 359.5).t, temperature(180.0, 360.0), 1e-9);
  // Height of the cell, so the grid values stand.
  const GptValues g = at(tropo, 48.2, 16.37);
  EXPECT_NEAR(g.p, 1000.0, 1e-9);
  EXPECT_NEAR(g.dt, -6.5, 1e-9);
  EXPECT_NEAR(g.e, 0.008 * 1000.0 / (0.622 + 0.378 * 0.008), 1e-9);
  EXPECT_NEAR(g.ah, 0.00125, 1e-12);
  EXPECT_NEAR(g.aw, 0.00058, 1e-12);
  EXPECT_NEAR(g.tm, 275.0, 1e-9);
  EXPECT_NEAR(g.undu, 40.0, 1e-9);
}

TEST_F(LinearGrid, BadGridEndsTheProcessWithItsName) {
  EXPECT_EXIT_MESSAGE(Tropo_vmf1("/nonexistent/grid"), "file = /nonexistent/grid,can't open file to read!");
  const std::string cut = testing::TempDir() + std::to_string(getpid()) + "gnx_cut_grid.grd";
  std::filesystem::copy_file(path(), cut, std::filesystem::copy_options::overwrite_existing);
  std::filesystem::resize_file(cut, 100000);
  EXPECT_EXIT_MESSAGE(Tropo_vmf1 grid(cut), "gnx_cut_grid.grd,line [0-9]+: 44 numbers expected");
  std::filesystem::remove(cut);
}

// ---- the published climatology -------------------------------------------------------------------

/// GPT2w on the 5-degree nodes around a point, straight from the paper.
struct FiveDegreeModel {
  std::vector<std::array<double, 44>> node;

  explicit FiveDegreeModel(const std::string& text) {
    std::istringstream in(text);
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line)) {
      std::istringstream fields(line);
      std::array<double, 44> v{};
      for (double& x : v) fields >> x;
      node.push_back(v);
    }
  }

  /// p (hPa), T (C), e (hPa), ah, aw, lambda, Tm
  std::array<double, 7> at(double mjd, double lat_deg, double lon_deg, double hgt) const {
    const double a = 2.0 * 3.14159265358979323846 * (mjd - 51544.5) / 365.25;
    std::array<double, 7> out{};
    for (const auto& n : node) {
      const double weight = (1.0 - std::fabs(n[0] - lat_deg) / 5.0) * (1.0 - std::fabs(n[1] - lon_deg) / 5.0);
      if (std::fabs(n[0] - lat_deg) >= 5.0 || std::fabs(n[1] - lon_deg) >= 5.0) continue;
      const auto value = [&](std::size_t i) {
        return n[i] + n[i + 1] * std::cos(a) + n[i + 2] * std::sin(a) + n[i + 3] * std::cos(2 * a) +
               n[i + 4] * std::sin(2 * a);
      };
      const double p0 = value(2), t0 = value(7), q = value(12) / 1000, rise = hgt - n[22] - n[23];
      const double p = p0 * std::exp(-9.80665 * 28.965e-3 / (8.3143 * t0 * (1 + 0.6077 * q)) * rise);
      const double e = q * p0 / (0.622 + 0.378 * q) * std::pow(p / p0, value(34) + 1);
      const double cell[7] = {p / 100,          t0 + value(17) / 1000 * rise - 273.15,
                              e / 100,          value(24) / 1000,
                              value(29) / 1000, value(34),
                              value(39)};
      for (std::size_t k = 0; k < 7; ++k) out[k] += weight * cell[k];
    }
    return out;
  }
};

TEST(TroposphereGrid, OneDegreeFileFollowsTheFiveDegreeModel) {
  const std::string directory = std::string(GNX_DATA_DIR) + "/tropo/";
  const std::string fine = support::readFile(directory + "gpt2_1w.grd.gz"),
                    coarse = support::readFile(directory + "gpt2_5w.grd.gz");
  if (fine.empty() || coarse.empty()) GTEST_SKIP() << "no grid in " << directory;
  const std::string path = testing::TempDir() + "gnx_gpt2_1w_" + std::to_string(getpid()) + ".grd";
  std::ofstream(path, std::ios::binary) << fine;
  const Tropo_vmf1 tropo(path);
  std::filesystem::remove(path);
  const FiveDegreeModel model(coarse);

  // Vienna (2012-08-02), Esbjerg, and the south; the file is an interpolation of the coarse one.
  const double sites[3][4] = {
      {56141.0, 48.20, 16.37, 156.0}, {59025.0, 55.494, 8.457, 56.0}, {59000.0, -35.4, 149.0, 700.0}};
  for (const auto& s : sites) {
    SCOPED_TRACE(s[1]);
    const double lat = s[1] * kRad, lon = s[2] * kRad;
    GptValues g;
    tropo.gpt2_1w(s[0], &lat, &lon, &s[3], 1, 0, &g);
    const auto want = model.at(s[0], s[1], s[2], s[3]);
    EXPECT_NEAR(g.p, want[0], 0.3);
    EXPECT_NEAR(g.t, want[1], 0.3);
    EXPECT_NEAR(g.e, want[2], 0.3);
    EXPECT_NEAR(g.ah, want[3], 1e-6);
    EXPECT_NEAR(g.aw, want[4], 1e-6);
    EXPECT_NEAR(g.lambda, want[5], 0.01);
    EXPECT_NEAR(g.tm, want[6], 0.1);
  }
}

}  // namespace
}  // namespace tarvio
