// Fits the elements of broadcast messages to precise orbits.

#include "corrections/fitted_messages.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <optional>
#include <span>

#include "gnx/corrections.h"
#include "gnx/signal.h"
#include "gnx/time.h"

namespace gnx {

namespace {

constexpr double kSpacing_s = 7200.0;  ///< between messages
constexpr double kReach_s = 7200.0;    ///< of the positions on both sides
constexpr std::size_t kFewest = 9;
constexpr int kIterations = 12;
constexpr double kGood_m = 10.0;  ///< RMS; a fit that is worse has not converged

/// The elements that are adjusted. Perigee and anomaly of a circle cannot be told apart, so the eccentricity
/// is a vector and the anomaly counts from the node.
enum Element {
  sqrtA,
  eSin,
  eCos,
  fromNode,
  i0,
  omega0,
  deltaN,
  idot,
  omegaDot,
  cuc,
  cus,
  cic,
  cis,
  crc,
  crs
};
constexpr std::size_t kCount = 15;
using Column = std::array<double, kCount>;
/// Steps that move the satellite by some metres.
constexpr Column kSteps{1e-4,  1e-7, 1e-7, 1e-7, 1e-7, 1e-7, 1e-11, 1e-11,
                        1e-11, 1e-7, 1e-7, 1e-7, 1e-7, 1.0,  1.0};

void setElements(BroadcastEph& eph, const Column& x) {
  eph.sqrtA = x[sqrtA];
  eph.e = std::hypot(x[eSin], x[eCos]);
  eph.omega = std::atan2(x[eSin], x[eCos]);
  eph.m0 = x[fromNode] - eph.omega;
  eph.i0 = x[i0];
  eph.omega0 = x[omega0];
  eph.deltaN = x[deltaN];
  eph.idot = x[idot];
  eph.omegaDot = x[omegaDot];
  eph.cuc = x[cuc];
  eph.cus = x[cus];
  eph.cic = x[cic];
  eph.cis = x[cis];
  eph.crc = x[crc];
  eph.crs = x[crs];
}

Vector3 cross(const Vector3& a, const Vector3& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double dot(const Vector3& a, const Vector3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

using Normals = std::array<std::array<double, kCount>, kCount>;

/// Solves N x = b by Cholesky's factorisation; a little on the diagonal holds elements that four hours
/// hardly tell apart. False when N is not positive.
bool solve(Normals n, Column& b) {
  for (std::size_t i = 0; i < kCount; ++i) n[i][i] = n[i][i] * (1.0 + 1e-10) + 1e-12;
  for (std::size_t j = 0; j < kCount; ++j) {
    for (std::size_t k = 0; k < j; ++k) n[j][j] -= n[j][k] * n[j][k];
    if (!(n[j][j] > 0.0)) return false;
    n[j][j] = std::sqrt(n[j][j]);
    for (std::size_t i = j + 1; i < kCount; ++i) {
      for (std::size_t k = 0; k < j; ++k) n[i][j] -= n[i][k] * n[j][k];
      n[i][j] /= n[j][j];
    }
  }
  for (std::size_t i = 0; i < kCount; ++i) {
    for (std::size_t k = 0; k < i; ++k) b[i] -= n[i][k] * b[k];
    b[i] /= n[i][i];
  }
  for (std::size_t i = kCount; i-- > 0;) {
    for (std::size_t k = i + 1; k < kCount; ++k) b[i] -= n[k][i] * b[k];
    b[i] /= n[i][i];
  }
  return true;
}

/// Circular orbit through two neighbouring positions.
Column begin(const BroadcastEph& eph, const OrbitPoint& a, const OrbitPoint& b) {
  constexpr double kEarthRate = 7.2921151467e-5, kGm = 3.986005e14;
  const double dt = b.time - a.time, turn = kEarthRate * dt;
  const Vector3& p = a.position;
  const Vector3 q{b.position[0] * std::cos(turn) - b.position[1] * std::sin(turn),
                  b.position[0] * std::sin(turn) + b.position[1] * std::cos(turn), b.position[2]};
  const Vector3 normal = cross(p, q);
  const double size = std::sqrt(dot(normal, normal));
  const double rate = std::atan2(size, dot(p, q)) / dt;
  const double node = std::atan2(normal[0], -normal[1]);  // Earth-fixed, at the first position
  const Vector3 ascending{std::cos(node), std::sin(node), 0.0};
  const double latitude = std::atan2(dot(cross(ascending, p), normal) / size, dot(ascending, p));
  const double toToe = eph.toe - a.time;
  const double ofWeek = secondsOfWeek(eph.sat[0] == 'C' ? eph.toe + -kBdtOffset : eph.toe, nullptr);
  Column x{};
  x[sqrtA] = std::sqrt(std::cbrt(kGm / (rate * rate)));
  x[fromNode] = latitude + rate * toToe;
  x[i0] = std::acos(normal[2] / size);
  x[omega0] = std::remainder(node + kEarthRate * (ofWeek - toToe), 2.0 * std::numbers::pi);
  return x;
}

/// One step of Gauss and Newton. \return RMS of the residuals before it, m; nothing when it has no solution
std::optional<double> improve(BroadcastEph& eph, Column& x, std::span<const OrbitPoint> points) {
  setElements(eph, x);
  Normals n{};
  Column b{};
  double squares = 0.0;
  for (const OrbitPoint& p : points) {
    const Vector3 here = evaluateBroadcast(eph, p.time).position;
    std::array<Vector3, kCount> slope;
    for (std::size_t k = 0; k < kCount; ++k) {
      BroadcastEph moved = eph;
      Column y = x;
      y[k] += kSteps[k];
      setElements(moved, y);
      const Vector3 there = evaluateBroadcast(moved, p.time).position;
      for (std::size_t i = 0; i < 3; ++i) slope[k][i] = there[i] - here[i];
    }
    const Vector3 rest{p.position[0] - here[0], p.position[1] - here[1], p.position[2] - here[2]};
    squares += dot(rest, rest);
    for (std::size_t k = 0; k < kCount; ++k) {
      b[k] += dot(slope[k], rest);
      for (std::size_t l = 0; l < kCount; ++l) n[k][l] += dot(slope[k], slope[l]);
    }
  }
  if (!solve(n, b)) return std::nullopt;
  for (std::size_t k = 0; k < kCount; ++k) x[k] += b[k] * kSteps[k];
  return std::sqrt(squares / static_cast<double>(points.size()));
}

bool fitOrbit(BroadcastEph& eph, std::span<const OrbitPoint> points) {
  const auto after = std::ranges::find_if(points, [&](const OrbitPoint& p) { return eph.toe < p.time; });
  const auto right = std::clamp<std::ptrdiff_t>(after - points.begin(), 1, std::ssize(points) - 1);
  Column x = begin(eph, points[static_cast<std::size_t>(right - 1)], points[static_cast<std::size_t>(right)]);
  std::optional<double> rms;
  for (int i = 0; i < kIterations; ++i) {
    rms = improve(eph, x, points);
    if (!rms) return false;
  }
  return *rms < kGood_m;
}

void fitClock(BroadcastEph& eph, const std::vector<ClockPoint>& clocks) {
  const auto nearest = [&](const GpsTime& t) {
    return std::ranges::min_element(clocks, {}, [&](const ClockPoint& c) { return std::fabs(c.time - t); });
  };
  const auto a = nearest(eph.toc + -kReach_s / 2.0), b = nearest(eph.toc + kReach_s / 2.0);
  if (a == clocks.end()) return;
  const double span = b->time - a->time;
  eph.af[1] = span > 0.0 ? (b->bias - a->bias) / span : 0.0;
  eph.af[0] = a->bias + eph.af[1] * (eph.toc - a->time);
}

/// The engine knows geostationary satellites by these names.
bool hasOwnFrame(const SatName& sat) { return sat >= "C01" && sat <= "C05"; }

void fitSatellite(const SatName& sat, const std::vector<OrbitPoint>& orbit,
                  const std::vector<ClockPoint>& clocks, NavData& data) {
  const auto index = [](const GpsTime& t) {
    return static_cast<std::int64_t>(std::floor((t - GpsTime{}) / kSpacing_s));
  };
  for (std::int64_t k = index(orbit.front().time); k <= index(orbit.back().time) + 1; ++k) {
    BroadcastEph eph;
    eph.sat = sat;
    eph.toe = eph.toc =
        GpsTime{k * static_cast<std::int64_t>(kSpacing_s), 0.0} + (sat[0] == 'C' ? kBdtOffset : 0.0);
    eph.transmission = eph.toc + -kReach_s;
    eph.iode = eph.iodc = static_cast<int>(k % 120);
    eph.code = sat[0] == 'E' ? 258 : 1;  // Galileo: F/NAV, clock of E1 and E5a
    const auto from = std::ranges::lower_bound(orbit, eph.toe + -kReach_s, {}, &OrbitPoint::time);
    const auto until = std::ranges::upper_bound(orbit, eph.toe + kReach_s, {}, &OrbitPoint::time);
    if (until - from < static_cast<std::ptrdiff_t>(kFewest)) continue;
    if (!fitOrbit(eph, {from, until})) continue;
    fitClock(eph, clocks);
    data.keplerian.push_back(std::move(eph));
  }
}

}  // namespace

NavData fitMessages(const Sp3Product& product, const std::map<SatName, std::vector<ClockPoint>>& clocks) {
  NavData data;
  for (const auto& [sat, orbit] : product.orbits) {
    const auto own = clocks.find(sat);
    const bool fits = std::string("GECJ").find(sat[0]) != std::string::npos && !hasOwnFrame(sat);
    if (fits && orbit.size() >= kFewest && own != clocks.end() && !own->second.empty())
      fitSatellite(sat, orbit, own->second, data);
  }
  return data;
}

}  // namespace gnx
