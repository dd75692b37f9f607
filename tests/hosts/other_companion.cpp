// Companion functions of somebody else: other numbers of satellites and codes, other algorithms. A host that
// defines them gets these instead of libGNX_IO.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "GNX_IO.h"

namespace GNX_IO {

namespace {

using namespace std::chrono;

using Matrix = std::vector<std::vector<double>>;  // by columns

/// Columns of an upper triangle R with R'R = inverse of Q; empty when Q has none.
Matrix rootOfInverse(int n, const double* Q) {
  const auto size = static_cast<std::size_t>(n);
  Matrix c(size, std::vector<double>(size, 0.0));  // Q = C C' with C upper: from the last row up
  for (std::size_t j = size; j-- > 0;)
    for (std::size_t i = j + 1; i-- > 0;) {
      double sum = Q[i + j * size];
      for (std::size_t k = j + 1; k < size; ++k) sum -= c[k][i] * c[k][j];
      if (i == j && !(sum > 0.0)) return {};
      c[j][i] = i == j ? std::sqrt(sum) : sum / c[j][j];
    }
  Matrix r(size, std::vector<double>(size, 0.0));  // R = inverse of C
  for (std::size_t j = 0; j < size; ++j)
    for (std::size_t i = j + 1; i-- > 0;) {
      double sum = i == j ? 1.0 : 0.0;
      for (std::size_t k = i + 1; k <= j; ++k) sum -= c[k][i] * r[j][k];
      r[j][i] = sum / c[i][i];
    }
  return r;
}

void subtract(std::vector<double>& from, const std::vector<double>& column, double times) {
  for (std::size_t i = 0; i < from.size(); ++i) from[i] -= times * column[i];
}

/// Lenstra, Lenstra, Lovasz: short columns. Z counts how they are made of the first ones; Rx stays.
void reduce(Matrix& r, Matrix& z, std::vector<double>& x) {
  for (std::size_t k = 1; k < r.size();) {
    for (std::size_t j = k; j-- > 0;) {
      const double times = std::round(r[k][j] / r[j][j]);
      if (times == 0.0) continue;
      subtract(r[k], r[j], times);
      subtract(z[k], z[j], times);
      x[j] += times * x[k];
    }
    const double a = r[k][k - 1], b = r[k][k], before = r[k - 1][k - 1];
    if (a * a + b * b > 0.99 * before * before) {
      ++k;
      continue;
    }
    std::swap(r[k], r[k - 1]);
    std::swap(z[k], z[k - 1]);
    std::swap(x[k], x[k - 1]);
    const double length = std::hypot(a, b);  // a turn of two rows makes it a triangle again
    for (std::size_t c = k - 1; c < r.size(); ++c) {
      const double upper = r[c][k - 1], lower = r[c][k];
      r[c][k - 1] = (a * upper + b * lower) / length;
      r[c][k] = (a * lower - b * upper) / length;
    }
    k = std::max<std::size_t>(k - 1, 1);
  }
}

struct Candidate {
  double norm = HUGE_VAL;
  std::vector<double> integers;
};

/// Whole numbers y near x, by the length of R(y - x), level by level from the last.
struct Search {
  const Matrix& r;
  const std::vector<double>& x;
  std::vector<Candidate> best;  // ascending
  std::vector<double> y;
  long visits = 0;

  void descend(std::size_t level, double norm) {
    double shift = 0.0;
    for (std::size_t k = level; k < x.size(); ++k) shift += r[k][level - 1] * (y[k] - x[k]);
    const double centre = x[level - 1] - shift / r[level - 1][level - 1];
    double guess = std::round(centre), step = centre >= guess ? 1.0 : -1.0;
    for (;; guess += step, step = -step - std::copysign(1.0, step)) {
      const double distance = r[level - 1][level - 1] * (guess - centre), sum = norm + distance * distance;
      if (sum >= best.back().norm || ++visits > 2'000'000) return;
      y[level - 1] = guess;
      if (level > 1) {
        descend(level - 1, sum);
        continue;
      }
      best.back() = {sum, y};
      std::ranges::stable_sort(best, {}, &Candidate::norm);
    }
  }
};

constexpr struct {
  char letter;
  int first, last;
} kSystems[] = {{'C', 1, 63}, {'E', 1, 36}, {'G', 1, 32}, {'J', 1, 10}, {'R', 1, 27}, {'S', 20, 58}};

sys_seconds instant(std::int64_t time) { return sys_seconds{seconds{time}}; }

}  // namespace

gtime_t epoch2time(const double* ep) {
  const auto whole = [&](int i) { return static_cast<int>(ep[i]); };
  const year_month_day date{year{whole(0)}, month{static_cast<unsigned>(whole(1))},
                            day{static_cast<unsigned>(whole(2))}};
  const double second = std::floor(ep[5]);
  return {sys_seconds{sys_days{date}}.time_since_epoch().count() + 3600 * whole(3) + 60 * whole(4) +
              static_cast<std::int64_t>(second),
          ep[5] - second};
}

void time2epoch(gtime_t t, double* ep) {
  const auto days_ = floor<days>(instant(t.time));
  const year_month_day date{days_};
  const hh_mm_ss clock{instant(t.time) - days_};
  ep[0] = static_cast<int>(date.year());
  ep[1] = static_cast<unsigned>(date.month());
  ep[2] = static_cast<unsigned>(date.day());
  ep[3] = static_cast<double>(clock.hours().count());
  ep[4] = static_cast<double>(clock.minutes().count());
  ep[5] = static_cast<double>(clock.seconds().count()) + t.sec;
}

double time2gpst(gtime_t t, int* week) {
  constexpr sys_days kStart{year{1980} / January / 6};
  const auto since = instant(t.time) - kStart;
  const auto weeks_ = floor<weeks>(since);
  if (week != nullptr) *week = static_cast<int>(weeks_.count());
  return static_cast<double>((since - weeks_).count()) + t.sec;
}

/// Good since 2017.
gtime_t gpst2utc(gtime_t t) { return {t.time - 18, t.sec}; }
double timediff(gtime_t a, gtime_t b) { return static_cast<double>(a.time - b.time) + (a.sec - b.sec); }

char* time_str(gtime_t t, int n) {
  thread_local char text[64];
  double ep[6];
  time2epoch(t, ep);
  std::snprintf(text, sizeof text, "%.0f-%.0f-%.0f %.0f:%.0f:%.*f", ep[0], ep[1], ep[2], ep[3], ep[4], n,
                ep[5]);
  return text;
}

void satno2id(int sat, char* id) {
  for (const auto& s : kSystems) {
    const int count = s.last - s.first + 1;
    if (sat >= 1 && sat <= count) {
      std::snprintf(id, 4, "%c%02d", s.letter, static_cast<unsigned char>(s.first + sat - 1) % 100);
      return;
    }
    sat -= count;
  }
  *id = '\0';
}

char* code2obs(unsigned char code) {
  static const auto names = [] {  // bands from the highest down
    std::vector<std::string> list{""};
    for (const char* band : {"9XCBA", "8XQPID", "7ZXQPID", "6ZXSQLIECBA", "5ZXQPIDCBA", "4XBA", "3XQI",
                             "2YXWSQPNMLIDC", "1ZYXWSQPNMLIEDCBA"})
      for (const char* letter = band + 1; *letter != '\0'; ++letter) list.push_back({*band, *letter});
    return list;
  }();
  static std::string none;
  return const_cast<char*>(code < names.size() ? names[code].c_str() : none.c_str());
}

void pos2ecef(const double* pos, double* r) {
  constexpr double a = 6378137.0, f = 1.0 / 298.257223563, e2 = f * (2.0 - f);
  const double n = a / std::sqrt(1.0 - e2 * std::pow(std::sin(pos[0]), 2));
  r[0] = (n + pos[2]) * std::cos(pos[0]) * std::cos(pos[1]);
  r[1] = (n + pos[2]) * std::cos(pos[0]) * std::sin(pos[1]);
  r[2] = (n * (1.0 - e2) + pos[2]) * std::sin(pos[0]);
}

void ecef2pos(const double* r, double* pos) {
  const double p = std::hypot(r[0], r[1]);
  double guess[3] = {std::atan2(r[2], p), p > 0.0 ? std::atan2(r[1], r[0]) : 0.0, 0.0}, back[3];
  for (int round = 0; round < 12; ++round) {  // what is left, in axes that point up and north
    pos2ecef(guess, back);
    const double s = std::sin(guess[0]), c = std::cos(guess[0]);
    const double outwards = p - std::hypot(back[0], back[1]), upwards = r[2] - back[2];
    guess[0] += (c * upwards - s * outwards) / 6.37e6;
    guess[2] += c * outwards + s * upwards;
  }
  std::ranges::copy(guess, pos);
}

void deg2dms(double deg, double* dms, int ndec) {
  const double unit = std::pow(10.0, ndec), all = std::round(std::fabs(deg) * 3600.0 * unit) / unit;
  dms[0] = std::copysign(std::floor(all / 3600.0), deg);
  dms[1] = std::floor(std::fmod(all, 3600.0) / 60.0);
  dms[2] = std::fmod(all, 60.0);
}

double* zeros(int n, int m) {
  return n > 0 && m > 0 ? static_cast<double*>(std::calloc(static_cast<std::size_t>(n),
                                                           sizeof(double) * static_cast<std::size_t>(m)))
                        : nullptr;
}
double* mat(int n, int m) { return zeros(n, m); }
double* eye(int n) {
  double* one = zeros(n, n);
  for (int i = 0; i < n; ++i) one[i + i * n] = 1.0;
  return one;
}

void matmul(const char* tr, int n, int k, int m, double alpha, const double* A, const double* B, double beta,
            double* C) {
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < k; ++j) {
      double sum = 0.0;
      for (int l = 0; l < m; ++l)
        sum += (tr[0] == 'N' ? A[i + l * n] : A[l + i * m]) * (tr[1] == 'N' ? B[l + j * m] : B[j + l * k]);
      C[i + j * n] = alpha * sum + (beta == 0.0 ? 0.0 : beta * C[i + j * n]);
    }
}

int lambda(int n, int m, const double* a, const double* Q, double* F, double* s) {
  if (n < 1 || m < 1) return -1;
  const auto size = static_cast<std::size_t>(n);
  Matrix r = rootOfInverse(n, Q), z(size, std::vector<double>(size, 0.0));
  if (r.empty()) return -1;
  for (std::size_t i = 0; i < size; ++i) z[i][i] = 1.0;
  std::vector<double> x(size);
  for (std::size_t i = 0; i < size; ++i) x[i] = a[i] - std::round(a[i]);
  reduce(r, z, x);
  Search search{r, x, std::vector<Candidate>(static_cast<std::size_t>(m)), std::vector<double>(size)};
  search.descend(size, 0.0);
  if (!std::isfinite(search.best.back().norm)) return -1;
  for (std::size_t rank = 0; rank < search.best.size(); ++rank) {
    s[rank] = search.best[rank].norm;
    for (std::size_t i = 0; i < size; ++i) {
      double sum = std::round(a[i]);
      for (std::size_t k = 0; k < size; ++k) sum += z[k][i] * search.best[rank].integers[k];
      F[i + rank * size] = sum;
    }
  }
  return 0;
}

void trace(int, const char*, ...) {}
unsigned tickget() { return static_cast<unsigned>(steady_clock::now().time_since_epoch() / milliseconds{1}); }

}  // namespace GNX_IO
