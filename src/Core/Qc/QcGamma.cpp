// Incomplete gamma functions and the error function
// (Abramowitz & Stegun, Handbook of Mathematical Functions, 6.5.29, 6.5.31; log-gamma by Lanczos).

#include <cmath>
#include <cstdio>
#include <initializer_list>

#include "Common/Fatal.h"
#include "Core/Qc/Qc.h"

namespace tarvio {

namespace {

constexpr int kRounds = 100;
constexpr double kTolerance = 3.0e-7;

/// x^a e^-x / Gamma(a)
double s_factor(double a, double x, double gln) { return std::exp(-x + a * std::log(x) - gln); }

void s_checkGamma(double a, double x, const char* function) {
  if (x >= 0.0 && a > 0.0) return;
  std::printf("***ERROR(gammp): Parameter Can't be negative!\n");
  s_exitByCode(function, __LINE__);
}

}  // namespace

double Qc::Qc_gammln(double x) {
  double series = 1.000000000190015, y = x;
  for (const double c : {76.18009172947146, -86.50532032941677, 24.01409824083091, -1.231739572450155,
                         0.1208650973866179e-2, -0.5395239384953e-5}) {
    series += c / ++y;
  }
  const double t = x + 5.5;
  return (x + 0.5) * std::log(t) - t + std::log(2.5066282746310005 * series / x);
}

void Qc::Qc_gser(double* gamser, double a, double x, double* gln) {
  *gln = Qc_gammln(a);
  *gamser = 0.0;
  if (x < 0.0) {
    std::printf("***ERROR(prob_resol/gser): x < 0\n");
    s_exitByCode(__func__, __LINE__);
  }
  if (x == 0.0) return;
  double term = 1.0 / a, sum = term;
  for (int n = 1; n <= kRounds; ++n) {
    term *= x / (a + n);
    sum += term;
    if (std::fabs(term) < std::fabs(sum) * kTolerance) {
      *gamser = sum * s_factor(a, x, *gln);
      return;
    }
  }
  std::printf("***ERROR(prob_resol/gser): a too large,itmax too small a:%lf\n", a);
  s_exitByCode(__func__, __LINE__);
}

void Qc::Qc_gcf(double* gammcf, double a, double x, double* gln) {
  constexpr double kTiny = 1.0e-300;
  const auto nonZero = [](double v) { return std::fabs(v) < kTiny ? kTiny : v; };
  *gln = Qc_gammln(a);
  // Lentz's evaluation of the continued fraction
  double b = x + 1.0 - a, c = 1.0 / kTiny, d = 1.0 / nonZero(b), h = d;
  for (int n = 1; n <= kRounds; ++n) {
    const double an = -n * (n - a);
    b += 2.0;
    d = 1.0 / nonZero(an * d + b);
    c = nonZero(b + an / c);
    const double step = d * c;
    h *= step;
    if (std::fabs(step - 1.0) < kTolerance) {
      *gammcf = s_factor(a, x, *gln) * h;
      return;
    }
  }
  std::printf("***ERROR(prob_resol/gcf):a too large,imtax to small!a:%lf\n", a);
  s_exitByCode(__func__, __LINE__);
}

double Qc::Qc_gammp(double a, double x) {
  s_checkGamma(a, x, __func__);
  double value = 0.0, gln = 0.0;
  if (x < a + 1.0) {
    Qc_gser(&value, a, x, &gln);
    return value;
  }
  Qc_gcf(&value, a, x, &gln);
  return 1.0 - value;
}

double Qc::Qc_gammq(double a, double x) {
  s_checkGamma(a, x, __func__);
  double value = 0.0, gln = 0.0;
  if (x < a + 1.0) {
    Qc_gser(&value, a, x, &gln);
    return 1.0 - value;
  }
  Qc_gcf(&value, a, x, &gln);
  return value;
}

double Qc::Qc_erf(double x) { return x < 0.0 ? -Qc_gammp(0.5, x * x) : Qc_gammp(0.5, x * x); }

double Qc::Qc_erfc(double x) { return x < 0.0 ? 1.0 + Qc_gammp(0.5, x * x) : Qc_gammq(0.5, x * x); }

}  // namespace tarvio
