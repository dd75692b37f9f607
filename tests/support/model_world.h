#pragma once
/// A station under satellites on Kepler ellipses, and observations computed another way than the model
/// does: light time is iterated in a frame that does not rotate, relativity comes from the eccentric
/// anomaly. Every effect can be left out of the observations.

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <random>

#include "Common/Com.h"
#include "Core/Filter/SrifFilter.h"
#include "Core/Model/GnssModelItrs.h"
#include "Core/Model/Itrs2gcrs.h"
#include "Core/Model/SunMoon.h"
#include "Core/Model/Tides.h"
#include "Core/Model/Tropo_vmf1.h"
#include "support/deployment.h"
#include "support/places.h"
#include "support/table_fixture.h"

namespace tarvio::test {

using Vec = std::array<double, 3>;

inline Vec operator+(const Vec& a, const Vec& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
inline Vec operator-(const Vec& a, const Vec& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
inline Vec operator*(double s, const Vec& a) { return {s * a[0], s * a[1], s * a[2]}; }
inline double dotOf(const Vec& a, const Vec& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
inline double norm(const Vec& a) { return std::sqrt(dotOf(a, a)); }
inline Vec unit(const Vec& a) { return 1.0 / norm(a) * a; }
inline Vec crossOf(const Vec& a, const Vec& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
/// Turns the axes by an angle about z.
inline Vec turnZ(double angle, const Vec& v) {
  const double c = std::cos(angle), s = std::sin(angle);
  return {c * v[0] + s * v[1], -s * v[0] + c * v[1], v[2]};
}

inline constexpr double kOmegaEarth = 7.2921151467e-5, kGm = 3.986004418e14;

struct KeplerEllipse {
  double a, e, incl, node, perigee, m0;

  /// Position and velocity t seconds after the origin, in axes that coincide with the Earth's at t = 0.
  void state(double t, Vec& x, Vec& v, double* eccentricAnomaly = nullptr) const {
    const double n = std::sqrt(kGm / (a * a * a)), M = m0 + n * t;
    double E = M;
    for (int i = 0; i < 20; ++i) E = M + e * std::sin(E);
    const double b = a * std::sqrt(1.0 - e * e), rate = n / (1.0 - e * std::cos(E));
    x = plane(a * (std::cos(E) - e), b * std::sin(E));
    v = plane(-a * std::sin(E) * rate, b * std::cos(E) * rate);
    if (eccentricAnomaly) *eccentricAnomaly = E;
  }
  Vec plane(double p, double q) const {
    const double u = p * std::cos(perigee) - q * std::sin(perigee),
                 w = p * std::sin(perigee) + q * std::cos(perigee);
    return turnZ(-node, {u, w * std::cos(incl), w * std::sin(incl)});
  }
};

inline constexpr int kMjd = 59025;  // 2020-06-25
inline constexpr double kSod = 43200.0;

/// Orbits in the terrestrial frame, time counted from kMjd, kSod.
struct EllipseOrbits : OrbitAdapter {
  std::map<std::string, KeplerEllipse> m_orbit;

  using OrbitAdapter::v_readOrbit;
  int v_readOrbit(const char* cprn, int mjd, double sod, double* xv) override {
    std::fill(xv, xv + 6, 0.0);
    const auto found = m_orbit.find(cprn);
    if (found == m_orbit.end()) return 0;
    const double t = (mjd - kMjd) * 86400.0 + sod - kSod;
    Vec x, v;
    found->second.state(t, x, v);
    x = turnZ(kOmegaEarth * t, x);
    v = turnZ(kOmegaEarth * t, v) - kOmegaEarth * Vec{-x[1], x[0], 0.0};
    std::copy(x.begin(), x.end(), xv);
    std::copy(v.begin(), v.end(), xv + 3);
    return 1;
  }
};

struct ModelWorld : gnx_test::Tables {
  static constexpr Vec kTruth = {3582105.2, 532589.7, 5232754.8};

  explicit ModelWorld(int gps = 10, int galileo = 8)
      : m_filter(std::vector<Station>{Station("STAN")}, 30.0), sta(m_filter.m_stations[0]) {
    m_filter.m_orbAdapters = {&orbits};
    Deploy& d = deploy();
    s_copyText(d.m_refpoint, "CoM_ITRF");
    d.m_litrs = true;
    gpsAndGalileo(gps, galileo);
    ifPair('G', "L1", "L2");
    ifPair('E', "L1", "L5");
    d.m_fileTable["ut1t10"] = support::kSourceDirectory + "/deploy/ut1t10.txt";
    d.m_fileTable["ocload"] = m_directory.write("blq", "$$ no site\n");
    d.m_fileTable["gptgrd_w"] = support::flatTroposphereGrid().string();
    Tropo_vmf1::s_getInstance();  // read once in a process
    m_stationTruth();
    for (int isat = 0; isat < gps + galileo; ++isat) m_placeInSky(isat, isat < gps ? 2.656e7 : 2.96e7);
  }

  SrifFilter* filter() { return &m_filter; }

  /// \param tidesAndWindup  false: what the reduced model knows
  void observe(bool tidesAndWindup = true) {
    for (int isat = 0; isat < deploy().m_nsat; ++isat)
      for (int f = 0; f < deploy().m_nfreqUsed[deploy().m_sysOfRow(isat)]; ++f) {
        double windup = 0.0;
        double* obs = sta.m_sat[isat].m_obs;
        obs[4 + f] = code(isat, f, tidesAndWindup, &windup);
        obs[f] = obs[4 + f] * satellite(isat).m_freq[f] / kLight + (tidesAndWindup ? windup : 0.0);
      }
  }
  /// The a-priori values of the model := the truth.
  void knowTruth() {
    std::ranges::copy(kTruth, sta.m_x);
    sta.m_rclk[0] = receiverClock_m;
    sta.m_rclk[2] = interSystem_m;
  }

  EllipseOrbits orbits;
  support::TemporaryDirectory m_directory;
  SrifFilter m_filter;
  Station& sta;
  double receiverClock_m = 12345.6, interSystem_m = -17.5;

 private:
  void m_stationTruth() {
    sta.m_mjd = kMjd;
    sta.m_sod = kSod;
    sta.m_cutoff = 5.0 * kDegToRad;
    std::ranges::copy(Vec{0.012, -0.034, 1.2}, sta.m_enu);
    for (int s : {0, 2})
      for (int f = 0; f < kFreq; ++f)
        std::ranges::copy(Vec{0.003 * f, -0.002 * s, 0.08 + 0.03 * f}, sta.m_antenu[s][f]);
    std::ranges::fill(sta.m_sigCode, 0.3);
    std::ranges::fill(sta.m_sigPhase, 0.003);
    xyzblh(kTruth.data(), 1.0, 0.0, 0.0, 0.0, 0.0, 0.0, m_blh);
    rot_enu2xyz(m_blh[0], m_blh[1], m_rot);
  }

  /// Puts a satellite at a random place of the sky above 15 degrees.
  void m_placeInSky(int isat, double semiMajorAxis) {
    const auto draw = [this](double a, double b) { return std::uniform_real_distribution<>(a, b)(m_random); };
    KeplerEllipse& orbit = orbits.m_orbit[deploy().m_cprn[isat]];
    Vec x, v;
    do {
      const double e = draw(0.002, 0.015), turn = 6.28;
      orbit = {semiMajorAxis, e, 0.97, draw(0.0, turn), draw(0.0, turn), draw(0.0, turn)};
      orbit.state(0.0, x, v);
    } while (elevation(x - kTruth) < 15.0 * kDegToRad);
    Satellite& sat = satellite(isat);
    sat.m_clk = draw(-1e-4, 1e-4);
    for (int f = 0; f < kFreq; ++f) std::ranges::copy(Vec{0.4, -0.1 * f, 1.5 + 0.2 * f}, sat.m_pco[f]);
  }

  Vec local(const double* enu) const {
    return {dot(3, m_rot[0], enu), dot(3, m_rot[1], enu), dot(3, m_rot[2], enu)};
  }
  double elevation(const Vec& d) const {
    return std::asin(dotOf(unit(d), {m_rot[0][2], m_rot[1][2], m_rot[2][2]}));
  }

  double code(int isat, int f, bool tides, double* windup) {
    const Satellite& sat = satellite(isat);
    const KeplerEllipse& orbit = orbits.m_orbit.at(deploy().m_cprn[isat]);
    const int s = deploy().m_sysOfRow(isat);
    const double rclk_s = (receiverClock_m + (s == 0 ? 0.0 : interSystem_m)) / kLight;

    // Sun and tide displacement are inputs here and tested elsewhere.
    Vec receiver = kTruth + local(sta.m_enu) + local(sta.m_antenu[s][f]), sun{}, tide;
    SystemFrame frame;
    s_systemTime(sta, rclk_s, frame);
    s_sunMoon(frame);
    matmpy(frame.sun, frame.R[0], sun.data(), 1, 3, 3);
    const double none[6][11] = {};
    tide_displace_itrs(frame.mjd, frame.sod, receiver.data(), frame.sun, frame.moon, frame.R, m_rot, m_blh[0],
                       m_blh[1], frame.xp, frame.yp, none, tide.data());
    if (tides) receiver = receiver + tide;

    const double reception = -rclk_s;  // the tag of the epoch is 0
    const Vec fixedReceiver = turnZ(-kOmegaEarth * reception, receiver);
    double travel = 0.07, E = 0.0;
    Vec axes[3], d{};
    for (int round = 0; round < 10; ++round) {
      const double emission = reception - travel;
      Vec x, v;
      orbit.state(emission, x, v, &E);
      const Vec fixedSun = turnZ(-kOmegaEarth * emission, sun);
      axes[2] = -1.0 * unit(x);
      axes[1] = unit(crossOf(axes[2], unit(fixedSun - x)));
      axes[0] = crossOf(axes[1], axes[2]);
      for (std::size_t k = 0; k < 3; ++k) x = x + sat.m_pco[f][k] * axes[k];
      d = x - fixedReceiver;
      travel = norm(d) / kLight;
    }
    const double relativity = 2.0 * std::sqrt(kGm * orbit.a) * orbit.e * std::sin(E) / kLight;
    const double sum = norm(fixedReceiver + d) + norm(fixedReceiver);
    const double pathDelay = 2.0 * kGm / (kLight * kLight) * std::log((sum + norm(d)) / (sum - norm(d)));
    const auto terrestrial = [&](const Vec& v) { return turnZ(kOmegaEarth * reception, v); };
    const Vec lineOfSight = terrestrial(d);
    *windup = windupCycles(terrestrial(axes[0]), terrestrial(axes[1]), lineOfSight);
    return norm(d) + (rclk_s - sat.m_clk) * kLight + relativity + pathDelay +
           slantDelay(elevation(lineOfSight));
  }

  double slantDelay(double elev) {
    Tropo_vmf1& tropo = Tropo_vmf1::s_getInstance();
    double ah, aw, zhd, zwd, dry;
    tropo.tropvmf1(kMjd, kSod, &ah, &aw, m_blh, &zhd, &zwd);
    const double wet = tropo.tropmf(kMjd, kSod, ah, aw, m_blh, elev, &dry);
    return dry * zhd + wet * zwd;
  }

  /// Wu et al. 1993 for the first epoch of an arc; receiver dipoles north and west.
  double windupCycles(const Vec& xs, const Vec& ys, const Vec& lineOfSight) const {
    const double northEnu[3] = {0, 1, 0}, westEnu[3] = {-1, 0, 0};
    const Vec north = local(northEnu), west = local(westEnu), k = -1.0 * unit(lineOfSight);
    const Vec ds = unit(xs - dotOf(k, xs) * k - crossOf(k, ys));
    const Vec dr = unit(north - dotOf(k, north) * k + crossOf(k, west));
    const double angle = std::acos(std::clamp(dotOf(ds, dr), -1.0, 1.0)) / (2.0 * kPi);
    return dotOf(k, crossOf(ds, dr)) > 0.0 ? angle : -angle;
  }

  std::mt19937 m_random{20200625};
  double m_blh[3] = {}, m_rot[3][3] = {};
};

}  // namespace tarvio::test
