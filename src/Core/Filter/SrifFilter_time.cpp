/// Time update and solution of the array.
///
/// A value x of the last epoch and its successor x' obey a (x' - phi x) = v with v of unit variance. Where
/// phi is 0 the old value leaves the state, a sweep that begins with nothing, and the new one is known as far
/// as a. Elsewhere x = (x' - w) / phi is put into the triangle and w, which is known as far as a, leaves it
/// (Bierman 1977, ch. VI). Ambiguity columns have no noise: their triangle is never touched.

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
constexpr double kNothing = 1.0e-150;      ///< information that is none
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

  m_transitions.clear();
  m_passOrdinary();
  m_passIonosphere();
  m_moveOn();

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

/// Transition of a record by the configured noise; its a-priori value moves, the correction counts from
/// there.
SrifFilter::Transition SrifFilter::m_pass(SrifPamt& record, double information) const {
  Transition transition{information, record.phi, 0.0};
  if (record.iupd) {
    transition.moved = record.dx;
    record.xini += record.dx * record.phi;
  }
  record.nuse = 0;
  return transition;
}

void SrifFilter::m_passOrdinary() {
  const double now = mjd + sod / kDay;
  for (SrifPamt& record : m_pamt) {
    bool running = false;
    const double span = m_noiseSpan(record, &running);
    if (running) {
      m_transitions.push_back({kTie, 1.0, 0.0});
      continue;
    }
    m_transitions.push_back(m_pass(record, record.qinv / std::sqrt(span)));
    record.ptime0 = now;
    record.ptime1 = record.tpiece == 0.0 ? now : mjd + (record.tpiece + sod) / kDay;
  }
}

void SrifFilter::m_passIonosphere() {
  for (SrifPamt* record : m_ionlist) {
    m_transitions.push_back(m_pass(*record, 1.0 / v_get_ion_wgt(*record, dintv)));
    record->ptime0 = record->ptime1 = mjd + sod / kDay;
  }
}

/// Room for columns that are going to leave a triangle of so many rows.
void SrifFilter::m_beginLeaving(int count, int rows) {
  m_leavingHeight = rows + 3;
  m_leavingCount = count;
  const auto size = static_cast<std::size_t>(count);
  m_leavingRows.assign(size * static_cast<std::size_t>(m_leavingHeight), 0.0);
  m_leavingCarry.assign(size * size, 0.0);
  m_leavingColumns.clear();
  m_stayingColumns.clear();
  m_sweeps.m_begin(rows);
}

/// The next one, as it stands; the last columns come first.
GivensSweeps::Column& SrifFilter::m_leave(int column) {
  const auto place = static_cast<std::ptrdiff_t>(m_leavingColumns.size());
  double* rows = m_leavingRows.data() + place * m_leavingHeight;
  std::copy_n(infs + iptx[column], column + 1, rows);
  // A parameter of which nothing is known must give its row free all the same.
  if (rows[column] == 0.0) rows[column] = kNothing;
  return m_leavingColumns.emplace_back(
      GivensSweeps::Column{rows, column, m_leavingCarry.data() + place * m_leavingCount});
}

/// Old values of the first npi columns give way to the new ones.
void SrifFilter::m_moveOn() {
  const int n = npi;
  m_beginLeaving(n, n);
  for (int k = n - 1, sweep = 0; k >= 0; --k, ++sweep) {
    const auto [information, phi, moved] = m_transitions[static_cast<std::size_t>(k)];
    double* column = infs + iptx[k];
    if (phi == 0.0) {
      m_leave(k);
      std::fill_n(column, k + 1, 0.0);
      continue;
    }
    double* rhs = infs + iptx[imtx];
    for (int row = 0; row <= k; ++row) {
      rhs[row] -= column[row] * moved;
      column[row] /= phi;
    }
    const GivensSweeps::Column& noise = m_leave(k);
    for (int row = 0; row <= k; ++row) noise.m_rows[row] *= -1.0;
    noise.m_carry[sweep] = information;
  }
  m_sweeps.m_clear(m_leavingColumns);
  for (int column = 0; column <= imtx; ++column)
    if (column >= n || m_transitions[static_cast<std::size_t>(column)].phi != 0.0)
      m_stayingColumns.push_back({infs + iptx[column], std::min(column, n - 1), nullptr});
  m_sweeps.m_apply(m_stayingColumns.data(), m_stayingColumns.size());
  for (int k = 0; k < n; ++k)
    if (const Transition& transition = m_transitions[static_cast<std::size_t>(k)]; transition.phi == 0.0)
      infs[iptx[k] + k] = transition.information;
}

void SrifFilter::m_solve(std::vector<double>& x) const {
  if (m_fixed.m_isActive()) {
    x = m_fixed.m_values();
    return;
  }
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
