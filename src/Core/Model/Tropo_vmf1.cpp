/// \file Tropo_vmf1.cpp
/// References
/// - Boehm, Moeller, Schindelegger, Pain, Weber, GPS Solutions 19, 433-441, 2015: GPT2w.
/// - Boehm, Werl, Schuh, J. Geophys. Res. 111, B02406, 2006: VMF1.
/// - Niell, J. Geophys. Res. 101, 3227-3246, 1996: height correction.
/// - Davis et al., Radio Science 20, 1593-1607, 1985: hydrostatic zenith delay.
/// - Askne, Nordius, Radio Science 22, 379-386, 1987, eq. 22: wet zenith delay.

#include "Core/Model/Tropo_vmf1.h"

#include <algorithm>
#include <cmath>

#include "Common/Constants.h"
#include "Common/Fatal.h"
#include "Config/Configuration.h"
#include "GNX_IO.h"

namespace tarvio {
namespace {

constexpr double kGravity = 9.80665;         // m/s^2
constexpr double kMolarMassDry = 28.965e-3;  // kg/mol
constexpr double kGasConstant = 8.3143;      // J/(mol K)
constexpr double kZeroCelsius_K = 273.15;

/// The continued fraction of Herring (1992) normalised to 1 at the zenith, s the sine of elevation.
double s_herring(double a, double b, double c, double s) {
  return (1.0 + a / (1.0 + b / (1.0 + c))) / (s + a / (s + b / (s + c)));
}

double s_sum(const std::array<double, 5>& c, const std::array<double, 5>& time) {
  return c[0] + c[1] * time[1] + c[2] * time[2] + c[3] * time[3] + c[4] * time[4];
}

std::string s_gridFile() {
  return s_requiredTableFile("readCommFil", __LINE__, "gptgrd_w",
                             "***ERROR(readCommFil):file_table not exist %s item\n");
}

/// Cell numbers from 1 on the circle of longitude.
int s_wrapColumn(int column) { return column == 361 ? 1 : (column == 0 ? 360 : column); }

GptValues s_bilinear(const GptValues (&c)[4], double u, double v) {
  GptValues out;
  const auto mix = [&](double GptValues::*q) {
    out.*q = (1.0 - v) * ((1.0 - u) * c[0].*q + u * c[1].*q) + v * ((1.0 - u) * c[2].*q + u * c[3].*q);
  };
  for (const auto q : {&GptValues::p, &GptValues::t, &GptValues::dt, &GptValues::tm, &GptValues::e,
                       &GptValues::ah, &GptValues::aw, &GptValues::lambda, &GptValues::undu})
    mix(q);
  return out;
}

}  // namespace

Tropo_vmf1& Tropo_vmf1::s_getInstance() {
  static Tropo_vmf1 mInstance;
  return mInstance;
}

Tropo_vmf1::Tropo_vmf1() : m_grid(s_gridFile()) {}

Tropo_vmf1::Tropo_vmf1(const std::string& file) : m_grid(file) {}

/// Values of one cell reduced to the ellipsoidal height; row and column count from 1.
GptValues Tropo_vmf1::m_cell(int row, int column, const TropoGrid::Harmonics& time, double hgt) const {
  const TropoGrid::Cell& cell =
      m_grid.m_cell(static_cast<std::size_t>((row - 1) * TropoGrid::kColumns + column - 1));
  GptValues g;
  g.undu = cell.undulation;
  const double above = hgt - g.undu - cell.height;

  const double t0 = s_sum(cell.temperature, time), p0 = s_sum(cell.pressure, time);
  const double q = s_sum(cell.humidity, time), lapse = s_sum(cell.lapse, time);
  g.t = t0 + lapse * above - kZeroCelsius_K;
  g.dt = lapse * 1000.0;

  const double virtualTemperature = t0 * (1.0 + 0.6077 * q);
  const double decay = kGravity * kMolarMassDry / (kGasConstant * virtualTemperature);
  g.p = p0 * std::exp(-decay * above) / 100.0;

  g.lambda = s_sum(cell.lambda, time);
  g.tm = s_sum(cell.tm, time);
  const double e0 = q * p0 / (0.622 + 0.378 * q) / 100.0;  // at the height of the cell
  g.e = e0 * std::pow(100.0 * g.p / p0, g.lambda + 1.0);
  g.ah = s_sum(cell.ah, time);
  g.aw = s_sum(cell.aw, time);
  return g;
}

void Tropo_vmf1::gpt2_1w(double mjd, const double* lat, const double* lon, const double* hgt, int nstat,
                         int it, GptValues* out) const {
  const double year = (mjd - 51544.5) / 365.25;
  const double a = 2.0 * kPi * year;
  TropoGrid::Harmonics time = {1.0, 0.0, 0.0, 0.0, 0.0};
  if (it != 1) time = {1.0, std::cos(a), std::sin(a), std::cos(2.0 * a), std::sin(2.0 * a)};

  for (int k = 0; k < nstat; ++k) {
    const double east = (lon[k] < 0.0 ? lon[k] + 2.0 * kPi : lon[k]) * 180.0 / kPi;
    const double colatitude = (-lat[k] + kPi / 2.0) * 180.0 / kPi;
    // Offsets refer to the cell that holds the point, before its number is clamped to the grid.
    int row = static_cast<int>(std::floor(colatitude + 1.0));
    int column = static_cast<int>(std::floor(east + 1.0));
    const double dRow = colatitude - (row - 0.5), dColumn = east - (column - 0.5);
    row = std::clamp(row, 1, TropoGrid::kRows);
    column = std::clamp(s_wrapColumn(column), 1, TropoGrid::kColumns);

    if (!(colatitude > 0.5 && colatitude < 179.5)) {  // no second row on the other side of the pole
      out[k] = m_cell(row, column, time, hgt[k]);
      continue;
    }
    const int row1 = row + static_cast<int>(sign(1.0, dRow));
    const int column1 = s_wrapColumn(column + static_cast<int>(sign(1.0, dColumn)));
    const GptValues corner[4] = {m_cell(row, column, time, hgt[k]), m_cell(row1, column, time, hgt[k]),
                                 m_cell(row, column1, time, hgt[k]), m_cell(row1, column1, time, hgt[k])};
    out[k] = s_bilinear(corner, std::fabs(dRow), std::fabs(dColumn));
  }
}

void Tropo_vmf1::tropvmf1(int mjd, double sod, double* ah, double* aw, double* blh, double* zhd,
                          double* zwd) {
  GptValues g;
  gpt2_1w(mjd + sod / kDay, &blh[0], &blh[1], &blh[2], 1, 0, &g);
  *ah = g.ah;
  *aw = g.aw;
  saasthyd(g.p, blh[0], blh[2], zhd);
  asknewet(g.e, g.tm, g.lambda, zwd);

  double xyz[3];
  GNX_IO::pos2ecef(blh, xyz);
  GNX_IO::trace(5, "tropvmf1: xyz=%.3f %.3f %.3f zhd=%.4f zwd=%.4f\n", xyz[0], xyz[1], xyz[2], *zhd, *zwd);
}

double Tropo_vmf1::tropmf(int mjd, double sod, double ah, double aw, double* blh, double elev,
                          double* drymap) {
  double dry, wet;
  vmf1_ht(ah, aw, mjd + sod / kDay, blh[0], blh[2], kPi / 2.0 - elev, &dry, &wet);
  if (drymap) *drymap = dry;
  return wet;
}

void Tropo_vmf1::vmf1_ht(double ah, double aw, double mjd, double lat, double hgt, double zd, double* vmf1h,
                         double* vmf1w) {
  const double day = mjd - 44239.0 + 1.0 - 28.0;  // from 28 January 1980, the phase of Niell
  const bool south = lat < 0.0;
  const double phase = south ? kPi : 0.0;
  const double c11 = south ? 0.007 : 0.005, c10 = south ? 0.002 : 0.001;
  const double ch =
      0.062 + ((std::cos(day / 365.25 * 2.0 * kPi + phase) + 1.0) * c11 / 2.0 + c10) * (1.0 - std::cos(lat));
  const double s = std::sin(kPi / 2.0 - zd);

  const double heightFactor = 1.0 / s - s_herring(2.53e-5, 0.00549, 0.00114, s);
  *vmf1h = s_herring(ah, 0.0029, ch, s) + heightFactor * hgt / 1000.0;
  *vmf1w = s_herring(aw, 0.00146, 0.04391, s);
}

void Tropo_vmf1::saasthyd(double p, double lat, double hgt, double* zhd) {
  *zhd = 0.0022768 * p / (1.0 - 0.00266 * std::cos(2.0 * lat) - 2.8e-7 * hgt);
}

void Tropo_vmf1::asknewet(double e, double tm, double lambda, double* zwd) {
  // k3 = 377600 K^2/hPa and k2' = k2 - k1 Mw/Md in K/hPa; specific gas constant of dry air.
  constexpr double k3 = 377600.0, k2Prime = 16.522071757053496, dryGas = 287.0464353530122;
  *zwd = (k3 / tm + k2Prime) * 1.0e-6 * dryGas / (lambda + 1.0) / kGravity * e;
}

double Tropo_vmf1::sign(double a, double b) { return b < 0.0 ? -std::fabs(a) : std::fabs(a); }

}  // namespace tarvio
