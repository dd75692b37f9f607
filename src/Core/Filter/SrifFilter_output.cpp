/// The solution of an epoch as text, dilutions of precision, formal sigmas.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numeric>

#include "Common/CMat.h"
#include "Common/Com.h"
#include "Common/FormalSigmas.h"
#include "Common/Logtrace.h"
#include "Config/SatelliteTable.h"
#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/FilterDiagnostics.h"
#include "Core/Filter/SatelliteCount.h"
#include "Core/Filter/SrifFilter.h"
#include "GNX_IO.h"

namespace tarvio {

namespace {

constexpr char kSolutionLog[] = "ppp_pos";
constexpr double kWeakestPdop = 30.0;  // of directions that tell how errors of satellites move a position

int s_countObserved(const Station& sta) {
  const Deploy& config = s_config();
  int count = 0;
  for (int isat = 0; isat < config.m_nsat; ++isat)
    count += bbo_hasobs(config.m_sysOfRow(isat), sta.m_sat[isat].m_obs);
  return count;
}

GNX_IO::gtime_t s_hostTime(int mjd, double sod) {
  return {static_cast<std::int64_t>(mjd2time(mjd, sod)), sod - std::floor(sod)};
}

/// Normal matrix of position and clock, by columns, of the satellites in use. \return their number
int s_directions(const Station& sta, double (&q)[16]) {
  const Deploy& config = s_config();
  int count = 0;
  for (int isat = 0; isat < config.m_nsat; ++isat) {
    const Ssat_t& sat = sta.m_sat[isat];
    if (std::ranges::all_of(sat.m_xx, [](double value) { return value == 0.0; })) continue;  // out of sight
    if (!validSatObs(config.m_obsused, "SF", sat.m_xx, isat, 0)) continue;
    const double row[4] = {sat.m_los[0], sat.m_los[1], sat.m_los[2], 1.0};
    for (int i = 0; i < 4; ++i)
      for (int j = 0; j < 4; ++j) q[4 * j + i] += row[i] * row[j];
    ++count;
  }
  return count;
}

}  // namespace

SatelliteCount s_countSatellites(const Station& sta) {
  const Deploy& config = s_config();
  SatelliteCount count;
  for (int isat = 0; isat < config.m_nsat; ++isat) {
    if (sta.m_sat[isat].m_xx[kFreq] == 0.0) continue;
    ++count.perSystem[config.m_sysOfRow(isat)];
    ++count.total;
  }
  return count;
}

void SrifFilter::v_onOutput() {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0;
  double second = 0.0;
  mjd2date(mjd, sod, &year, &month, &day, &hour, &minute, &second);
  const char* partner = m_stations.size() == 2 ? m_stations[1].m_name.c_str() : "****";

  for (int ista = 0; ista < static_cast<int>(m_stations.size()); ++ista) {
    const int ip = i_ip(ista);
    if (ip < 0) continue;
    const Station& sta = m_stations[static_cast<std::size_t>(ista)];
    double xyz[3], offset[3] = {};
    for (int i = 0; i < 3; ++i) xyz[i] = m_pamt[static_cast<std::size_t>(ip + i)].xest;
    if (m_pamt[static_cast<std::size_t>(ip + 2)].nuse != 0) {
      for (int i = 0; i < 3; ++i) offset[i] = (xyz[i] - sta.m_xyz[i]) * 100.0;
      matmpy(offset, sta.m_rot[0], offset, 1, 3, 3);
    }
    const SatelliteCount count = s_countSatellites(sta);
    const int* n = count.perSystem;
    const int rows = 2 * count.total;

    if (!Logtrace::s_defaultlogger.m_lexist(kSolutionLog)) Logtrace::s_defaultlogger.m_openLog(kSolutionLog);
    Logtrace::s_defaultlogger.m_wtMsg(
        "@%s  %4d%3d%3d%3d%3d%5.1lf%2s%4s%13.3lf%13.3lf%13.3lf%9.3lf%9.3lf%9.3lf%13.3lf%13.3lf%13.3lf "
        "%3d%3d%3d%3d%3d%3d%3d %5.2lf%6.3lf %02d %02d %9.3lf %s\n",
        kSolutionLog, year, month, day, hour, minute, second, " ", sta.m_name.c_str(), xyz[0], xyz[1], xyz[2],
        0.0, 0.0, 0.0, offset[0], offset[1], offset[2], rows, n[0], n[1], n[2], n[3], n[4], n[5], sta.m_pdop,
        m_sig0, m_solstat, m_nfix, m_ratio, partner);
    std::printf(
        "%4d%3d%3d%3d%3d%5.1lf%2s%4s%13.4lf%13.4lf%13.4lf%9.3lf%9.3lf%9.3lf%13.3lf%13.3lf%13.3lf "
        "%3d%3d%3d%3d%3d%3d%3d %5.2lf%6.3lf %02d %02d\n",
        year, month, day, hour, minute, second, " ", sta.m_name.c_str(), xyz[0], xyz[1], xyz[2], 0.0, 0.0,
        0.0, offset[0], offset[1], offset[2], rows, n[0], n[1], n[2], n[3], n[4], n[5], sta.m_pdop, m_sig0,
        m_solstat, m_nfix);
    std::fflush(stdout);
  }
  m_noSolution.m_tell(*this);
  FilterDiagnostics(*this).m_write();
  m_account.m_finishEpoch();
}

void SrifFilter::m_get_dop() {
  for (const SrifPamt& record : m_pamt) {
    if (!std::strstr(record.pname, "STAP_X")) continue;
    Station& sta = m_stations[static_cast<std::size_t>(record.ista)];
    sta.m_gdop = sta.m_pdop = sta.m_hdop = sta.m_vdop = 0.0;
    double q[16] = {};
    if (s_directions(sta, q) == 0 || CMat::CMat_Inverse(q, 4, 4) < 0) continue;

    // A geometry that is nearly singular may leave negative numbers on the diagonal.
    const auto root = [](double v) { return std::sqrt(std::max(v, 0.0)); };
    sta.m_gdop = root(q[0] + q[5] + q[10] + q[15]);
    sta.m_pdop = root(q[0] + q[5] + q[10]);
    // Read by columns, m_rot is the rotation from the terrestrial to the local frame.
    double half[9], local[9];
    CMat::CMat_Matmul("NN", 3, 3, 3, 1.0, sta.m_rot[0], 3, q, 4, 0.0, half, 3);
    CMat::CMat_Matmul("NT", 3, 3, 3, 1.0, half, 3, sta.m_rot[0], 3, 0.0, local, 3);
    sta.m_hdop = root(local[0] + local[4]);
    sta.m_vdop = root(local[8]);
  }
}

void SrifFilter::m_genxsig() {
  if (!s_has(s_config().m_pams, "-gensig") || imtx < 1) return;
  const auto n = static_cast<std::size_t>(imtx);
  std::vector<double> normal(n * n);
  CMat::CMat_Matmul("TN", imtx, imtx, imtx, 1.0, infs, ldinfs, infs, ldinfs, 0.0, normal.data(), imtx);
  if (CMat::CMat_Inverse(normal.data(), imtx, imtx) < 0) return;
  const auto fill = [&](SrifPamt& record) {
    record.xsig = std::sqrt(normal[static_cast<std::size_t>(record.ipar) * (n + 1)]);
  };
  for (SrifPamt& record : m_pamt) fill(record);
  for (SrifPamt* record : m_ionlist) fill(*record);
  for (SrifPamt* record : m_amblist) fill(*record);
}

bool SrifFilter::m_siteFactor(int ista, std::vector<double>& Y) const {
  const int first = infs ? i_ip(ista) : -1;
  if (first < 0) return false;
  const int zenith = i_it(ista);  // behind the position
  const auto n = static_cast<std::size_t>(imtx);
  Y.assign(kSite * n, 0.0);
  double *x = Y.data(), *y = x + n, *z = y + n, *t = z + n;
  for (int column = first; column < imtx; ++column) {
    const double* r = infs + iptx[column];
    if (r[column] == 0.0) return false;
    double sum[kSite] = {};
    for (int i = 0; i < 3; ++i) sum[i] = column == first + i ? 1.0 : 0.0;
    sum[3] = column == zenith ? 1.0 : 0.0;
    for (int row = first; row < column; ++row) {
      sum[0] -= r[row] * x[row];
      sum[1] -= r[row] * y[row];
      sum[2] -= r[row] * z[row];
      sum[3] -= r[row] * t[row];
    }
    x[column] = sum[0] / r[column];
    y[column] = sum[1] / r[column];
    z[column] = sum[2] / r[column];
    t[column] = sum[3] / r[column];
  }
  return true;
}

/// P = R^-1 R^-T = Y^T Y.
bool SrifFilter::m_siteCovariance(int ista, double (&out)[kSite * kSite]) const {
  if (ista == 0 && m_fixed.m_isActive()) return m_fixed.m_siteCovariance(out);
  std::vector<double> Y;
  if (!m_siteFactor(ista, Y)) return false;
  const auto n = static_cast<std::size_t>(imtx);
  for (std::size_t i = 0; i < kSite; ++i)
    for (std::size_t j = 0; j < kSite; ++j)
      out[kSite * i + j] =
          std::inner_product(Y.data() + i * n, Y.data() + (i + 1) * n, Y.data() + j * n, 0.0);
  return true;
}

bool SrifFilter::m_positionCovariance(int ista, double (&out)[9]) const {
  double site[kSite * kSite];
  if (!m_siteCovariance(ista, site)) return false;
  for (int i = 0; i < 3; ++i) std::copy_n(site + kSite * i, 3, out + 3 * i);
  return true;
}

/// A position that is free at every epoch and whose integers are known rests on the phases of this epoch and
/// on the zenith delay. What the phases do to it has the sigma of a single epoch, not the larger one that
/// stands for correlated epochs; the zenith delay is known from many epochs, and what its own uncertainty
/// moves the position by, c c^T / v with c = cov(position, zenith delay), stays as it is.
bool SrifFilter::m_fixedCovariance(double (&out)[9]) const {
  double site[kSite * kSite];
  if (!m_siteCovariance(0, site)) return false;
  double share = 1.0;
  if (m_noise.m_isOn() && m_stations[0].m_skd != 'S') {
    const double zenith = kPi / 2.0;
    share = m_noise.m_instant(0, 0, kRowPhase, zenith) / m_noise.m_effective(0, 0, kRowPhase, zenith);
  }
  const double variance = site[kSite * 3 + 3];
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      const double delay = variance > 0.0 ? site[kSite * i + 3] * site[kSite * j + 3] / variance : 0.0;
      out[3 * i + j] = share * share * (site[kSite * i + j] - delay) + delay;
    }
  return true;
}

/// Adds what errors of single satellites do that no averaging takes away: s^2 times the cofactors of position
/// and clock of this epoch's directions. Directions that hardly determine a position (three satellites, all
/// on one cone) say nothing of it: it rests on earlier epochs then.
void SrifFilter::m_addProductErrors(double (&covariance)[9]) const {
  const double sigma = m_noise.m_isOn() ? s_config().m_noise.m_products : 0.0;
  double q[16] = {};
  if (sigma <= 0.0 || s_directions(m_stations[0], q) < 4 || CMat::CMat_Inverse(q, 4, 4) < 0) return;
  const double squared = q[0] + q[5] + q[10];
  if (std::min({q[0], q[5], q[10]}) <= 0.0 || squared > kWeakestPdop * kWeakestPdop) return;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) covariance[3 * i + j] += sigma * sigma * q[4 * j + i];
}

void SrifFilter::m_keepCovariance() {
  if (!m_wantsResults) return;
  const bool known = m_solstat == kStateFixed ? m_fixedCovariance(m_solutionCovariance)
                                              : m_positionCovariance(0, m_solutionCovariance);
  if (!known) std::fill_n(m_solutionCovariance, 9, 0.0);
  else m_addProductErrors(m_solutionCovariance);
  m_solutionSigma.resize(static_cast<std::size_t>(npi));
  if (m_fixed.m_isActive()) m_fixed.m_formalSigmas(m_solutionSigma.data());
  else s_formalSigmas(infs, iptx, imtx, npi, m_solutionSigma.data());
}

std::string SrifFilter::m_getRTKLIBSeq() {
  if (nstap == 0 || m_pamt.empty() || m_pamt[0].xest == 0.0) return "";
  double ep[6] = {};
  GNX_IO::time2epoch(s_hostTime(mjd, sod), ep);
  char text[512];
  std::snprintf(
      text, sizeof text,
      "%4d/%02d/%02d %02d:%02d:%06.3lf%15.4lf%15.4lf%15.4lf%4d%4d%9.4lf%9.4lf%9.4lf%9.4lf%9.4lf%9.4lf%7.2lf"
      "%7.1lf\n",
      static_cast<int>(ep[0]), static_cast<int>(ep[1]), static_cast<int>(ep[2]), static_cast<int>(ep[3]),
      static_cast<int>(ep[4]), ep[5], m_pamt[0].xest, m_pamt[1].xest, m_pamt[2].xest,
      m_solstat == kStateFixed ? 1 : 2, s_countObserved(m_stations[0]), 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0,
      m_ratio);
  return text;
}

std::string SrifFilter::m_getGGASeq() {
  if (nstap == 0 || m_pamt.empty() || m_pamt[0].xest == 0.0) return "";
  double ep[6] = {}, pos[3] = {}, lat[3] = {}, lon[3] = {};
  GNX_IO::time2epoch(GNX_IO::gpst2utc(s_hostTime(mjd, sod)), ep);
  const double xyz[3] = {m_pamt[0].xest, m_pamt[1].xest, m_pamt[2].xest};
  GNX_IO::ecef2pos(xyz, pos);
  GNX_IO::deg2dms(std::fabs(pos[0]) * kRadToDeg, lat, 7);
  GNX_IO::deg2dms(std::fabs(pos[1]) * kRadToDeg, lon, 7);
  const bool fixed = m_solstat == kStateFixed;
  const int satellites = fixed ? m_nfix : s_countObserved(m_stations[0]);

  char text[256], tail[8];
  std::snprintf(
      text, sizeof text,
      "$GPGGA,%02.0f%02.0f%05.2f,%02.0f%010.7f,%s,%03.0f%010.7f,%s,%d,%02d,%.1f,%.3f,M,%.3f,M,%.1f,", ep[3],
      ep[4], ep[5], lat[0], lat[1] + lat[2] / 60.0, pos[0] >= 0.0 ? "N" : "S", lon[0], lon[1] + lon[2] / 60.0,
      pos[1] >= 0.0 ? "E" : "W", fixed ? 4 : 5, satellites, 1.0, 0.0, pos[2], 1.0);
  unsigned checksum = 0;
  for (const char* c = text + 1; *c; ++c) checksum ^= static_cast<unsigned char>(*c);
  std::snprintf(tail, sizeof tail, "*%02X%c%c", checksum, '\r', '\n');
  return std::string(text) + tail;
}

std::string SrifFilter::m_get_running_span() {
  const long seconds = s_wallClock() - static_cast<long>(tstart);
  char text[160];
  std::snprintf(text, sizeof text, "%-40s:%d days %d hour %d min %d sec\n", "Running Time",
                static_cast<int>(seconds / 86400), static_cast<int>(seconds % 86400 / 3600),
                static_cast<int>(seconds % 3600 / 60), static_cast<int>(seconds % 60));
  return text;
}

}  // namespace tarvio
