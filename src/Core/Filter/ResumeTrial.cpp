/// Data snooping (Baarda 1968) on the predicted residuals of a state that goes on behind a gap.

#include "Core/Filter/ResumeTrial.h"

#include <algorithm>
#include <cmath>

#include "Common/CMat.h"
#include "Common/ComGeometry.h"
#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

namespace {

constexpr double kLongestGap_s = 300.0;
constexpr double kSigmas = 4.2;
constexpr double kAtLeast_m =
    0.04;  ///< corrections change by less in a gap, cycles of a narrow-lane are more
constexpr double kTestable_m = 0.025;  ///< sigma of a satellite's shift by which a slip would be found
constexpr double kBrokenShare = 0.25;  ///< of the satellites; beyond it is not single arcs that have ended
constexpr int kFewest = 4;             ///< satellites that must pass
constexpr double kNothing = 1.0e-9;    ///< length of a column that the state explains

using Column = std::vector<double>;

double s_product(const Column& a, const Column& b) {
  return dot(static_cast<int>(a.size()), a.data(), b.data());
}

/// Takes a direction out of a column.
void s_project(const Column& direction, Column& column) {
  const double length = s_product(direction, direction);
  if (length < kNothing) return;
  const double share = s_product(direction, column) / length;
  for (std::size_t i = 0; i < column.size(); ++i) column[i] -= share * direction[i];
}

/// By which a row's weight is that of its own epoch.
double s_scale(const SrifFilter& filter, const RowOrigin& row) {
  if (!filter.m_noise.m_isOn()) return 1.0;
  const double elev = filter.m_stations[static_cast<std::size_t>(row.ista)].m_sat[row.isat].m_elev;
  return 1.0 / filter.m_noise.m_expectedShare(s_config().m_sysOfRow(row.isat), row.slot, row.kind, elev);
}

}  // namespace

void ResumeTrial::m_begin(const SrifFilter& filter) {
  m_pending = m_first = true;
  m_last = filter.tlast * kDay;
  m_unit = filter.m_sig0_smooth < 900.0 ? std::max(filter.m_sig0_smooth, 1.0) : 1.0;
  m_waiting.reset();
  for (const SrifPamt* record : filter.m_amblist) m_waiting.set(static_cast<std::size_t>(record->isat));
}

/// The epoch's rows as the state leaves them, \return the right-hand side; the columns of shifts go along.
std::vector<double> ResumeTrial::m_reduce(const SrifFilter& filter) {
  const int n = filter.imtx, nobs = filter.nobs, height = n + nobs;
  m_tested.clear();
  for (int row = 0; row < nobs; ++row) {
    const RowOrigin origin = filter.m_origin(row);
    if (origin.ista != 0 || !s_isPhaseRow(origin.kind)) continue;
    if (!m_waiting.test(static_cast<std::size_t>(origin.isat))) continue;
    if (filter.m_stations[0].m_sat[origin.isat].m_newamb[origin.slot] != 0) continue;
    if (m_tested.empty() || m_tested.back().isat != origin.isat) {
      const auto same = [&](const Tested& t) { return t.isat == origin.isat; };
      if (std::any_of(m_tested.begin(), m_tested.end(), same)) continue;
      m_tested.push_back({origin.isat, Column(static_cast<std::size_t>(nobs), 0.0)});
    }
  }
  for (Column& column : m_shift) column.assign(static_cast<std::size_t>(nobs), 0.0);

  const int extra = static_cast<int>(m_tested.size()) + 3, ip = filter.i_ip(0);
  const auto lead = static_cast<std::size_t>(height) + 1;
  std::vector<double> array(lead * static_cast<std::size_t>(n + extra + 1), 0.0);
  const auto at = [&](int column) { return array.data() + static_cast<std::size_t>(column) * lead; };
  for (int column = 0; column <= n; ++column)
    std::copy_n(filter.infs + filter.iptx[column], height, at(column == n ? n + extra : column));
  for (int row = 0; row < nobs; ++row) {
    const RowOrigin origin = filter.m_origin(row);
    for (int i = 0; ip >= 0 && i < 3; ++i) at(n + extra - 3 + i)[n + row] = at(ip + i)[n + row];
    if (!s_isPhaseRow(origin.kind) || filter.m_stations[0].m_sat[origin.isat].m_newamb[origin.slot] != 0)
      continue;
    for (std::size_t k = 0; k < m_tested.size(); ++k)
      if (m_tested[k].isat == origin.isat) at(n + static_cast<int>(k))[n + row] = filter.obswgt[row];
  }
  // Rows are weighted by less than their epoch's sigma says.
  for (int row = 0; row < nobs; ++row) {
    const RowOrigin origin = filter.m_origin(row);
    const double scale = s_scale(filter, origin);
    for (int column = 0; column < n + extra + 1; ++column) at(column)[n + row] *= scale;
  }
  CMat::CMat_Householder(array.data(), static_cast<int>(lead), n, height, n + extra + 1, false);
  const auto left = [&](int column) { return Column(at(column) + n, at(column) + height); };
  for (std::size_t k = 0; k < m_tested.size(); ++k) m_tested[k].column = left(n + static_cast<int>(k));
  for (int i = 0; i < 3; ++i) m_shift[i] = left(n + extra - 3 + i);
  return left(n + extra);
}

/// Finds the satellites whose phases are off, the worst first, and takes them out of the misfit.
void ResumeTrial::m_search(Column& misfit, Verdict& verdict) {
  const auto takeOut = [&](std::size_t k) {
    const Tested out = m_tested[k];
    m_tested.erase(m_tested.begin() + static_cast<std::ptrdiff_t>(k));
    verdict.broken.push_back(out.isat);
    s_project(out.column, misfit);
    for (Tested& other : m_tested) s_project(out.column, other.column);
    for (Column& column : m_shift) s_project(out.column, column);
  };
  const auto sigma = [&](const Tested& t) {
    return m_unit / std::sqrt(std::max(s_product(t.column, t.column), kNothing));
  };
  const auto most = std::max(1.0, kBrokenShare * static_cast<double>(m_tested.size()));
  double found = 0.0;
  while (!m_tested.empty()) {
    double worst = 0.0;
    std::size_t which = m_tested.size();
    for (std::size_t k = 0; k < m_tested.size(); ++k) {
      const double s = sigma(m_tested[k]);
      const double jump = std::fabs(s_product(m_tested[k].column, misfit)) * s * s / (m_unit * m_unit);
      const double excess = std::min(jump / (kSigmas * s), jump / kAtLeast_m);
      if (s < kTestable_m && excess > std::max(worst, 1.0)) worst = excess, which = k;
    }
    if (which == m_tested.size()) break;
    takeOut(which);
    if (++found > most) {
      verdict.anew = "the phases of many satellites do not go on";
      return;
    }
  }
  for (std::size_t k = m_tested.size(); k-- > 0;)
    if (sigma(m_tested[k]) >= kTestable_m) takeOut(k);
}

/// Whether a shift of the antenna explains what is left of the misfit. Where the position is free, it does
/// not.
std::string ResumeTrial::m_moved(const Column& misfit) const {
  Column q[3] = {m_shift[0], m_shift[1], m_shift[2]};
  double upper[3][3] = {}, seen[3] = {}, square = 0.0;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < i; ++j) {
      upper[j][i] = s_product(q[j], q[i]);
      for (std::size_t k = 0; k < q[i].size(); ++k) q[i][k] -= upper[j][i] * q[j][k];
    }
    upper[i][i] = std::sqrt(s_product(q[i], q[i]));
    if (upper[i][i] * kTestable_m < kNothing) return "";
    for (double& value : q[i]) value /= upper[i][i];
    seen[i] = s_product(q[i], misfit);
    square += seen[i] * seen[i];
  }
  double shift[3];
  for (int i = 2; i >= 0; --i) {
    shift[i] = seen[i];
    for (int j = i + 1; j < 3; ++j) shift[i] -= upper[i][j] * shift[j];
    shift[i] /= upper[i][i];
  }
  const double length = std::sqrt(dot(3, shift, shift));
  const bool moved = square > kSigmas * kSigmas * m_unit * m_unit && length > kAtLeast_m;
  return moved ? "the antenna was moved" : "";
}

ResumeTrial::Verdict ResumeTrial::m_judge(const SrifFilter& filter) {
  Verdict verdict;
  const double gap = filter.mjd * kDay + filter.sod - m_last;
  if (gap <= 0.0 || gap > kLongestGap_s) {
    if (m_first) verdict.anew = "the saved state is not of the last five minutes";
    m_pending = false;
    return verdict;
  }
  if (filter.nobs < 1) return verdict;
  Column misfit = m_reduce(filter);
  for (const Tested& t : m_tested) m_waiting.reset(static_cast<std::size_t>(t.isat));
  m_search(misfit, verdict);
  if (verdict.anew.empty()) verdict.anew = m_moved(misfit);
  verdict.held = static_cast<int>(m_tested.size());
  // A receiver that was switched off may stand anywhere now.
  if (m_first && verdict.anew.empty() && verdict.held < kFewest) verdict.anew = "too few arcs go on";
  m_first = false;
  m_pending = m_waiting.any() && verdict.anew.empty();
  return verdict;
}

}  // namespace tarvio
