/// Time update and solution of the array.
///
/// New values x' = phi x + w are appended as rows to the old information of the first npi columns and
/// the old values eliminated by orthogonal transformations (Bierman 1977, ch. VI). Ambiguity columns have
/// no noise: their triangle is never touched.

#include <algorithm>
#include <cmath>

#include "Common/CMat.h"
#include "Common/Logtrace.h"
#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

namespace {

constexpr double kPieceTolerance = 0.025;  ///< s
constexpr double kTie = 100000.0;          ///< weight that ties old to new within a piece
constexpr double kLeastStep = 1.0e-3;      ///< s, for repeated or backward epochs

/// Differences of days carry a microsecond of rounding: what was meant is the nearest millisecond.
double s_wholeMilliseconds(double seconds) {
  return std::max(std::round(seconds * 1000.0) / 1000.0, kLeastStep);
}

}  // namespace

void SrifFilter::v_onTimeUpdate() {
  if (!infs) return;
  m_solve_update();
  dintv = (mjd - tlast) * kDay + sod;
  if (!(dintv > 0.0)) dintv = kLeastStep;

  // Columns: 0..n-1 old values, n..2n-1 new values, then the ambiguities and the right-hand side.
  const int n = npi, m = imtx, ld = 2 * n + 2, rhs = n + m;
  m_timeArray.assign(static_cast<std::size_t>(ld) * static_cast<std::size_t>(rhs + 1), 0.0);
  double* array = m_timeArray.data();
  for (int column = 0; column <= m; ++column)
    std::copy_n(infs + iptx[column], std::min(n, column + 1),
                array + ld * (column < n ? column : n + column));
  m_fillOrdinaryNoise(array, ld, n, rhs);
  m_fillIonosphereNoise(array, ld, n, rhs);
  CMat::CMat_Householder(array, ld, rhs + 1, 2 * n, rhs + 1, false);
  for (int column = 0; column <= m; ++column)
    std::copy_n(array + ld * (n + column) + n, n, infs + iptx[column]);

  if (nstap > 0)
    for (int ista = 0; ista < static_cast<int>(m_stations.size()); ++ista) {
      const int ip = i_ip(ista);
      for (int i = 0; ip >= 0 && i < 3; ++i)
        m_stations[static_cast<std::size_t>(ista)].m_x[i] = m_pamt[static_cast<std::size_t>(ip + i)].xini;
    }
  m_solve_update();
}

/// Seconds over which the noise of an ordinary parameter grows; `running` when its constant piece goes on.
double SrifFilter::m_noiseSpan(SrifPamt& record, bool* running) const {
  *running = false;
  if (record.tpiece == 0.0) return dintv;
  const double sinceEnd = (mjd - record.ptime1) * kDay + sod;
  if (sinceEnd < -kPieceTolerance) {
    *running = true;
    return 0.0;
  }
  const double span = (record.ptime1 - record.ptime0) * kDay;
  return s_wholeMilliseconds(span >= kPieceTolerance ? span : dintv);
}

void SrifFilter::m_fillOrdinaryNoise(double* array, int ld, int n, int rhs) {
  const double now = mjd + sod / kDay;
  for (int k = 0; k < np; ++k) {
    SrifPamt& record = m_pamt[static_cast<std::size_t>(k)];
    const auto element = [&](int column) -> double& { return array[ld * column + n + k]; };
    bool running = false;
    const double span = m_noiseSpan(record, &running);
    if (running) {
      element(k) = -kTie;
      element(n + k) = kTie;
      continue;
    }
    const double a = record.qinv / std::sqrt(span), b = -a * record.phi;
    element(k) = b;
    element(n + k) = a;
    if (record.iupd) {
      // The new correction counts from the moved a-priori value.
      element(rhs) = record.dx * b;
      record.xini += record.dx * record.phi;
    }
    record.nuse = 0;
    record.ptime0 = now;
    record.ptime1 = record.tpiece == 0.0 ? now : mjd + (record.tpiece + sod) / kDay;
  }
}

void SrifFilter::m_fillIonosphereNoise(double* array, int ld, int n, int rhs) {
  int k = np;
  for (SrifPamt* record : m_ionlist) {
    const double a = 1.0 / v_get_ion_wgt(*record, dintv), b = -a * record->phi;
    array[ld * k + n + k] = b;
    array[ld * (n + k) + n + k] = a;
    if (record->iupd) {
      array[ld * rhs + n + k] = record->dx * b;
      record->xini += record->dx * record->phi;
    }
    record->nuse = 0;
    record->ptime0 = record->ptime1 = mjd + sod / kDay;
    ++k;
  }
}

void SrifFilter::m_solve(std::vector<double>& x) const {
  x.assign(infs + iptx[imtx], infs + iptx[imtx] + imtx);
  CMat::CMat_SolveLinear(imtx, infs, ldinfs, x.data(), 0);
}

void SrifFilter::m_solve_update() {
  if (!infs) return;
  m_solve(m_solution);
  auto value = m_solution.cbegin();
  const auto take = [&](SrifPamt& record) {
    record.dx = *value++;
    record.xest = record.xini + record.dx;
  };
  for (SrifPamt& record : m_pamt) take(record);
  for (SrifPamt* record : m_ionlist) take(*record);
  for (SrifPamt* record : m_amblist) take(*record);
  if (s_config().m_ldebug) m_logSolution();
}

void SrifFilter::m_logSolution() const {
  const Deploy& config = s_config();
  const auto station = [&](const SrifPamt& r) {
    return m_stations[static_cast<std::size_t>(r.ista)].m_name.c_str();
  };
  for (const SrifPamt& r : m_pamt)
    Logtrace::m_logPrint("[%s,%d]:[%d %8.1lf] %03d %21s %13.3lf %13.3lf %13.3lf\n", "m_solve_update",
                         __LINE__, mjd, sod, r.ipar, r.pname, r.xini, r.dx, r.xest);
  for (const SrifPamt* r : m_ionlist)
    Logtrace::m_logPrint("[%s,%d]:[%d %9.1lf] %03d %s %s %s %13.3lf %13.3lf %13.3lf %03d\n", "m_solve_update",
                         __LINE__, mjd, sod, r->ipar, r->pname, station(*r), config.m_cprn[r->isat].c_str(),
                         r->xini, r->dx, r->xest, r->nuse);
  for (const SrifPamt* r : m_amblist) {
    const char* cprn = config.m_cprn[r->isat].c_str();
    const char* freq = config.m_freqUsed[r->isys][r->ifreq];
    Logtrace::m_logPrint("[%s,%d]:[%d %9.1lf] %03d %20s %s %s %s %13.3lf %13.3lf %13.3lf %03d\n",
                         "m_solve_update", __LINE__, mjd, sod, r->ipar, r->pname, station(*r), cprn, freq,
                         r->xini, r->dx, r->xest, r->nuse);
    Logtrace::m_logStatInfo("[%d %9.1lf] %03d %20s %s %s %s %13.3lf %13.3lf %13.3lf %03d\n", mjd, sod,
                            r->ipar, r->pname, station(*r), cprn, freq, r->xini, r->dx, r->xest, r->nuse);
  }
}

}  // namespace tarvio
