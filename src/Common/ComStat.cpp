// References:
//   AS   Abramowitz & Stegun, Handbook of Mathematical Functions, 7.1.28, 26.4.8, 26.4.17
//   Y    Yamauti's rational form of the normal quantile (Hastings type)

#include "Common/ComStat.h"

#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <numeric>

#include "Common/Fatal.h"

namespace tarvio {

void NORMAL(double x, double* p) {
  if (x < -5.0 || x > 5.0) {
    *p = x < 0.0 ? 0.0 : 1.0;
    return;
  }
  // (AS 7.1.28), error below 1.3e-7 in the distribution function
  const double z = std::fabs(x) / std::sqrt(2.0);
  double sum = 4.30638e-5;
  for (const double a : {0.0002765672, 0.0001520143, 0.0092705272, 0.0422820123, 0.0705230784, 1.0}) {
    sum = sum * z + a;
  }
  const double erf = 1.0 - std::pow(sum, -16);
  *p = x < 0.0 ? 0.5 * (1.0 - erf) : 0.5 * (1.0 + erf);
}

void PNORMAL(double p, double* x) {
  if (!(p > 0.0 && p < 1.0)) {
    std::printf("ERROR(pnormal):INPUT FRA CAN NOT >=1 OR <=0\n");
    s_exitByCode(__func__, __LINE__);
  }
  if (p == 0.5) {
    *x = 0.0;
    return;
  }
  const double y = -std::log(4.0 * p * (1.0 - p));
  double sum = 6.936233982e-13;
  for (const double b :
       {3.657763036e-11, -3.231081277e-9, 8.360937017e-8, -0.00000104527497, 0.000005824238515,
        0.000006841218299, -0.0002250947176, -0.0008364353589, 0.03706987906, 1.570796288}) {
    sum = sum * y + b;
  }
  const double root = std::sqrt(y * sum);
  *x = p < 0.5 ? root : -root;
}

void CHI2(int dof, double x, double* p, double* d) {
  constexpr double kHalfLogPi = 0.5723649429247;
  const double t = x / 2.0;
  if (!(t > 0.0)) {
    *p = 0.0;
    *d = dof == 2 ? 0.5 : 0.0;
    return;
  }
  double u = 0.0;
  int n = 2 - dof % 2;
  if (n == 1) {
    NORMAL(std::sqrt(x), p);
    *p = 2.0 * *p - 1.0;
    u = std::exp(-t - std::log(t) / 2.0 - kHalfLogPi);
  } else {
    u = std::exp(-t);
    *p = 1.0 - u;
  }
  for (; n < dof; n += 2) {
    u *= t / (n / 2.0);
    *p -= u;
  }
  *d = u / 2.0;
}

void pchi2(int dof, double alpha, int mode, double* out) {
  if (!(alpha > 0.0)) {
    std::printf("ERROR(pchi2):INPUT AF=%lf <=0\n", alpha);
    s_exitByCode(__func__, __LINE__);
  }
  double z = 0.0;
  if (dof == 1) {
    PNORMAL(alpha / 2.0, &z);
    *out = z * z;
    return;
  }
  if (dof == 2) {
    *out = -2.0 * std::log(alpha);
    return;
  }
  PNORMAL(alpha, &z);
  const double a = 2.0 / (9.0 * dof);
  double x = dof * std::pow(z * std::sqrt(a) + 1.0 - a, 3);  // Wilson-Hilferty (AS 26.4.17)
  for (int round = 0; mode != 0 && round < 30; ++round) {
    double p = 0.0, d = 0.0;
    CHI2(dof, x, &p, &d);
    if (std::fabs(d) < 1.0e-20) break;
    const double step = (p - (1.0 - alpha)) / d;
    x -= step;
    if (std::fabs(step) <= 1.0e-4 * std::fabs(x)) break;
  }
  *out = x;
}

bool chitst(int mode, double dof, double sigma0, double sigma, double alpha) {
  const double t = (sigma / sigma0) * (sigma / sigma0) * dof;
  const int n = static_cast<int>(dof);
  double upper = 0.0, lower = 0.0;
  if (mode == 0) {
    const double tail = (1.0 - alpha) / 2.0;
    pchi2(n, tail, 1, &upper);
    pchi2(n, 1.0 - tail, 1, &lower);
    return upper > t && t > lower;
  }
  pchi2(n, mode < 0 ? alpha : 1.0 - alpha, 1, &upper);
  return mode < 0 ? t > upper : upper > t;
}

bool chos(int k, int n, int* comb) {
  if (k > n) return false;
  if (k < 1) return comb[0] == -1;
  if (comb[0] == -1) {
    std::iota(comb, comb + k, 0);
    return true;
  }
  int i = k - 1;
  while (i >= 0 && comb[i] == n - k + i) --i;
  if (i < 0) return false;
  std::iota(comb + i, comb + k, comb[i] + 1);
  return true;
}

}  // namespace tarvio
