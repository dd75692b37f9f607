/// \file EarthTides.cpp
/// Fundamental arguments and the subdaily variations of polar motion and UT1.
///
/// References
/// - Petit, Luzum (eds.), IERS Conventions (2010), IERS Technical Note 36, chapters 5 and 8.
/// - Simon et al., Astron. Astrophys. 282, 663-683, 1994: fundamental arguments.
/// - Ray, Steinberg, Chao, Cartwright, Science 264, 830-832, 1994, and R. Eanes 1997: ocean tides.

#include <cmath>

#include "Common/Constants.h"
#include "Core/Model/EarthRotationTables.h"
#include "Core/Model/Itrs2gcrs.h"

namespace tarvio {
namespace {

constexpr double kTwoPi = 2.0 * kPi;
constexpr double kArcsecToRad = 4.848136811095359935899141e-6;
constexpr double kTurnArcsec = 1296000.0;
constexpr double kMjdJ2000 = 51544.5;

/// GMST + pi and the five fundamental arguments, radians: the arguments of both libration series.
void s_librationArguments(double mjd, double arg[6]) {
  const double T = (mjd - kMjdJ2000) / 36525.0;
  const double gmst_s = std::fmod(
      67310.54841 + T * ((8640184.812866 + 3155760000.0) + T * (0.093104 + T * (-0.0000062))), kDay);
  arg[0] = std::fmod(gmst_s * kTwoPi / kDay + kPi, kTwoPi);
  FUNDARG(T, &arg[1], &arg[2], &arg[3], &arg[4], &arg[5]);
}

void s_sumLibration(const LibrationLine* lines, int count, double mjd, double* first, double* second) {
  double arg[6];
  s_librationArguments(mjd, arg);
  *first = *second = 0.0;
  for (int i = 0; i < count; ++i) {
    double angle = 0.0;
    for (int k = 0; k < 6; ++k) angle += lines[i].n[k] * arg[k];
    angle = std::fmod(angle, kTwoPi);
    const double s = std::sin(angle), c = std::cos(angle);
    *first += lines[i].a[0] * s + lines[i].a[1] * c;
    *second += lines[i].a[2] * s + lines[i].a[3] * c;
  }
}

}  // namespace

void FUNDARG(double T, double* l, double* lp, double* f, double* d, double* om) {
  // Degree 0 of l' and D with the six decimals of TN 36, eq. (5.43).
  static constexpr double c[5][5] = {{485868.249036, 1717915923.2178, 31.8792, 0.051635, -0.00024470},
                                     {1287104.793048, 129596581.0481, -0.5532, 0.000136, -0.00001149},
                                     {335779.526232, 1739527262.8478, -12.7512, -0.001037, 0.00000417},
                                     {1072260.703692, 1602961601.2090, -6.3706, 0.006593, -0.00003169},
                                     {450160.398036, -6962890.5431, 7.4722, 0.007702, -0.00005939}};
  double* const out[5] = {l, lp, f, d, om};
  for (int i = 0; i < 5; ++i) {
    const double* a = c[i];
    const double arcsec = a[0] + T * (a[1] + T * (a[2] + T * (a[3] + T * a[4])));
    *out[i] = std::fmod(arcsec, kTurnArcsec) * kArcsecToRad;
  }
}

void CNMTX(double mjd, double* h) {
  constexpr double kOrigin = 37076.5, kLag_days = 2.0;
  double a[2][3] = {}, b[2][3] = {};  // [species][lag -1, 0, 1]
  for (const TideLine& line : kTideLines) {
    const int m = line.order - 1;
    const double phase = std::fmod(line.phase_rad - (m == 0 ? kPi / 2.0 : 0.0), kTwoPi);
    for (int k = 0; k < 3; ++k) {
      const double t = mjd - (k - 1) * kLag_days - kOrigin;
      const double angle = phase + std::fmod(line.freq_rad_per_day * t, kTwoPi);
      a[m][k] += line.height_mm * std::cos(angle);
      b[m][k] -= line.height_mm * std::sin(angle);
    }
  }
  for (int m = 0; m < 2; ++m) {
    const double* s = kOrthoScale[m];
    const double ap = a[m][2] + a[m][0], am = a[m][2] - a[m][0];
    const double bp = b[m][2] + b[m][0], bm = b[m][2] - b[m][0];
    double* out = h + 6 * m;
    out[0] = s[0] * a[m][1];
    out[1] = s[0] * b[m][1];
    out[2] = s[1] * a[m][1] - s[2] * ap;
    out[3] = s[1] * b[m][1] - s[2] * bp;
    out[4] = s[3] * a[m][1] - s[4] * ap + s[5] * bm;
    out[5] = s[3] * b[m][1] - s[4] * bp - s[5] * am;
  }
}

void ORTHO_EOP(double mjd, double* eop) {
  double h[12];
  CNMTX(mjd, h);
  for (int c = 0; c < 3; ++c) {
    eop[c] = 0.0;
    for (int j = 0; j < 12; ++j) eop[c] += h[j] * kOrthoWeights[j][c];
  }
}

void PMSDNUT2(double mjd, double* pm) {
  s_sumLibration(kPolarLibration, kPolarLibrationCount, mjd, &pm[0], &pm[1]);
}

void UTLIBR(double mjd, double* dut1, double* dlod) {
  s_sumLibration(kSpinLibration, kSpinLibrationCount, mjd, dut1, dlod);
}

}  // namespace tarvio
