// Interpolates admittances of the loading tide and sums its constituents.

#include "Core/Model/OceanLoading.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numeric>

#include "Common/Com.h"
#include "Common/Taiutc.h"

namespace tarvio {

namespace {

constexpr int kGiven = 11;     ///< constituents of a loading file
constexpr int kMaxNodes = 20;  ///< nodes that the interpolation holds

constexpr int kGivenMultipliers[kGiven][6] = {{2, 0, 0, 0, 0, 0},  {2, 2, -2, 0, 0, 0}, {2, -1, 0, 1, 0, 0},
                                              {2, 2, 0, 0, 0, 0},  {1, 1, 0, 0, 0, 0},  {1, -1, 0, 0, 0, 0},
                                              {1, 1, -2, 0, 0, 0}, {1, -2, 0, 1, 0, 0}, {0, 2, 0, 0, 0, 0},
                                              {0, 1, 0, -1, 0, 0}, {0, 0, 2, 0, 0, 0}};

double horner(double t, double a, double b, double c, double d, double e) {
  return (((e * t + d) * t + c) * t + b) * t + a;
}

/// The six Doodson angles (degrees) and their rates (cycles/day) of an epoch.
struct DoodsonArguments {
  double angle[6], rate[6];

  DoodsonArguments(int mjd, double sod) {
    const double toTt = Taiutc::s_getInstance().m_getTaiutc(mjd) + 32.184;
    const double t = (mjd - 51544.5 + (sod + toTt) / kDay) / 36525.0;
    const double f1 = horner(t, 134.9634025100, 477198.8675605000, 0.0088553333, 0.0000143431, -0.0000000680);
    const double f2 = horner(t, 357.5291091806, 35999.0502911389, -0.0001536667, 0.0000000378, -0.0000000032);
    const double f3 = horner(t, 93.2720906200, 483202.0174577222, -0.0035420000, -0.0000002881, 0.0000000012);
    const double f4 =
        horner(t, 297.8501954694, 445267.1114469445, -0.0017696111, 0.0000018314, -0.0000000088);
    const double f5 = horner(t, 125.0445550100, -1934.1362619722, 0.0020756111, 0.0000021394, -0.0000000165);
    angle[0] = 360.0 * sod / kDay - f4;
    angle[1] = f3 + f5;
    angle[2] = angle[1] - f4;
    angle[3] = angle[1] - f1;
    angle[4] = -f5;
    angle[5] = angle[2] - f2;
    const double g1 = 0.0362916471 + 1.3e-9 * t, g2 = 0.0027377786, g3 = 0.0367481951 - 5e-10 * t;
    const double g4 = 0.0338631920 - 3e-10 * t, g5 = -0.0001470938 + 3e-10 * t;
    rate[0] = 1.0 - g4;
    rate[1] = g3 + g5;
    rate[2] = rate[1] - g4;
    rate[3] = rate[1] - g1;
    rate[4] = -g5;
    rate[5] = rate[2] - g2;
  }

  double frequency(const int* n) const { return std::inner_product(n, n + 6, rate, 0.0); }
  double unwrapped(const int* n) const { return std::inner_product(n, n + 6, angle, 0.0); }
  double phase(const int* n) const {
    const double p = std::fmod(unwrapped(n), 360.0);
    return p < 0.0 ? p + 360.0 : p;
  }
};

/// Complex admittance of one component at all constituents, m: what goes with the cosine of a constituent's
/// phase and what with its sine.
struct Admittance {
  std::array<double, kOceanTideTerms> cosine{}, sine{};
};

/// Nodes of one species in order of frequency.
struct Band {
  int n = 0;
  double frequency[kMaxNodes], re[kMaxNodes], im[kMaxNodes], sRe[kMaxNodes], sIm[kMaxNodes];
};

int findTerm(const int* multipliers) {
  for (int i = 0; i < kOceanTideTerms; ++i) {
    if (std::equal(multipliers, multipliers + 6, kOceanTides[i].n)) return i;
  }
  return -1;
}

/// Interpolates the admittance of the given constituents within each species.
Admittance ADMINT(const double* amplitude, const double* phaseRad, const DoodsonArguments& arguments) {
  Band bands[3];  // long-period, diurnal, semi-diurnal
  int order[kGiven];
  std::iota(order, order + kGiven, 0);
  std::sort(order, order + kGiven, [&](int a, int b) {
    return arguments.frequency(kGivenMultipliers[a]) < arguments.frequency(kGivenMultipliers[b]);
  });
  for (const int i : order) {
    const int term = findTerm(kGivenMultipliers[i]);
    Band& band = bands[kGivenMultipliers[i][0]];
    if (band.n >= kMaxNodes) {
      std::printf("K = %d,memory is overwritted!please check hardisp!\n", band.n);
      s_exitByCode(__func__, __LINE__);
    }
    const double ratio = amplitude[i] / std::abs(kOceanTides[term].amplitude);
    band.frequency[band.n] = arguments.frequency(kGivenMultipliers[i]);
    band.re[band.n] = ratio * std::cos(-phaseRad[i]);  // lags turn negative
    band.im[band.n] = ratio * std::sin(-phaseRad[i]);
    ++band.n;
  }
  double work[kMaxNodes];
  for (Band& band : bands) {
    SPLINE(band.n, band.frequency, band.re, band.sRe, work);
    SPLINE(band.n, band.frequency, band.im, band.sIm, work);
  }
  constexpr double kSpeciesPhase[3] = {180.0, 90.0, 0.0};
  Admittance result;
  for (std::size_t k = 0; k < kOceanTideTerms; ++k) {
    const OceanTideTerm& term = kOceanTides[k];
    const Band& band = bands[term.n[0]];
    const double f = arguments.frequency(term.n);
    const double re = EVAL(f, band.n, band.frequency, band.re, band.sRe);
    const double im = EVAL(f, band.n, band.frequency, band.im, band.sIm);
    const double amplitude = term.amplitude * std::hypot(re, im);
    const double phase = kSpeciesPhase[term.n[0]] * kDegToRad + std::atan2(im, re);
    result.cosine[k] = amplitude * std::cos(phase);
    result.sine[k] = -amplitude * std::sin(phase);
  }
  return result;
}

/// The interpolation of a site; made anew only when the table changes, since the frequencies move by
/// less than 1e-9 of themselves within decades.
struct SiteLoading {
  double table[6][11] = {};
  bool valid = false;
  Admittance component[3];  ///< up, west, south

  void prepare(const double tamp[6][11], const DoodsonArguments& arguments) {
    if (valid && std::equal(&table[0][0], &table[0][0] + 66, &tamp[0][0])) return;
    std::memcpy(table, tamp, sizeof table);
    for (int c = 0; c < 3; ++c) component[c] = ADMINT(tamp[c], tamp[c + 3], arguments);
    valid = true;
  }
};

}  // namespace

void TDFRPH(const int* n, int mjd, double sod, double* freq, double* phase) {
  const DoodsonArguments arguments(mjd, sod);
  *freq = arguments.frequency(n);
  *phase = arguments.phase(n);
}

void SPLINE(int n, const double* x, const double* u, double* s, double* work) {
  std::fill(s, s + n, 0.0);
  if (n <= 3) return;
  const auto parabolaSlope = [](double u1, double x1, double u2, double x2) {
    return (u1 / (x1 * x1) - u2 / (x2 * x2)) / (1.0 / x1 - 1.0 / x2);
  };
  const int m = n - 1;
  const double first = parabolaSlope(u[1] - u[0], x[1] - x[0], u[2] - u[0], x[2] - x[0]);
  const double last = parabolaSlope(u[m - 1] - u[m], x[m - 1] - x[m], u[m - 2] - u[m], x[m - 2] - x[m]);
  // Thomas elimination of the tridiagonal system; `work` holds the diagonal, s the right-hand side.
  double h = x[1] - x[0];
  work[0] = 2.0 * h;
  s[0] = 6.0 * ((u[1] - u[0]) / h - first);
  for (int i = 1; i < n; ++i) {
    const double below = h;
    const double above = i < m ? x[i + 1] - x[i] : 0.0;
    const double diagonal = i < m ? 2.0 * (below + above) : 2.0 * below;
    const double right = i < m ? 6.0 * ((u[i + 1] - u[i]) / above - (u[i] - u[i - 1]) / below)
                               : 6.0 * (last - (u[m] - u[m - 1]) / below);
    const double factor = below / work[i - 1];
    work[i] = diagonal - factor * below;
    s[i] = right - factor * s[i - 1];
    h = above;
  }
  s[m] /= work[m];
  for (int i = m - 1; i >= 0; --i) s[i] = (s[i] - (x[i + 1] - x[i]) * s[i + 1]) / work[i];
}

double EVAL(double y, int n, const double* x, const double* u, const double* s) {
  if (n < 1) return 0.0;
  if (y <= x[0]) return u[0];
  if (y >= x[n - 1]) return u[n - 1];
  const int k = static_cast<int>(std::upper_bound(x, x + n, y) - x);
  const double a = x[k] - y, b = y - x[k - 1], d = x[k] - x[k - 1];
  return (s[k - 1] * a * a * a + s[k] * b * b * b) / (6.0 * d) + b * (u[k] / d - s[k] * d / 6.0) +
         a * (u[k - 1] / d - s[k - 1] * d / 6.0);
}

void hardisp(int mjd, double sod, const double tamp[6][11], int n, double step, double* out) {
  static thread_local SiteLoading site;
  const DoodsonArguments arguments(mjd, sod);
  site.prepare(tamp, arguments);
  std::fill(out, out + 3 * n, 0.0);
  for (std::size_t k = 0; k < kOceanTideTerms; ++k) {
    const double phase = arguments.unwrapped(kOceanTides[k].n) * kDegToRad;
    const double advance = n > 1 ? 2.0 * kPi * arguments.frequency(kOceanTides[k].n) * step / kDay : 0.0;
    for (int i = 0; i < n; ++i) {
      const double cosine = std::cos(phase + i * advance), sine = std::sin(phase + i * advance);
      for (int c = 0; c < 3; ++c)
        out[3 * i + c] += site.component[c].cosine[k] * cosine + site.component[c].sine[k] * sine;
    }
  }
  for (int i = 0; i < n; ++i) {
    const double up = out[3 * i], west = out[3 * i + 1], south = out[3 * i + 2];
    out[3 * i] = -west * 1e3;
    out[3 * i + 1] = -south * 1e3;
    out[3 * i + 2] = up * 1e3;
  }
}

}  // namespace tarvio
