/// Observation rows and measurement update: one orthogonal triangularisation of [R z; A b].

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "Common/CMat.h"
#include "Common/Com.h"
#include "Common/Logtrace.h"
#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

namespace {

constexpr int kPairDoubles = 40;  ///< of a row in amat

/// Writes the (column, coefficient) pairs of one row and takes the a-priori values out of its
/// right-hand side.
class RowWriter {
 public:
  RowWriter(double* pairs, int* count, double* omc, const std::vector<double>& xini)
      : m_pairs(pairs), m_count(count), m_omc(omc), m_xini(xini) {
    *m_count = 0;
  }
  /// A parameter that the model holds in its computed value.
  void m_add(int column, double coefficient) {
    if (column < 0) return;
    m_pairs[2 * *m_count] = column;
    m_pairs[2 * *m_count + 1] = coefficient;
    ++*m_count;
  }
  /// A parameter that the model does not know.
  void m_addReduced(int column, double coefficient) {
    if (column < 0) return;
    m_add(column, coefficient);
    *m_omc -= coefficient * m_xini[static_cast<std::size_t>(column)];
  }

 private:
  double* m_pairs;
  int* m_count;
  double* m_omc;
  const std::vector<double>& m_xini;
};

}  // namespace

void SrifFilter::v_xini_update(int mode) {
  const Deploy& config = s_config();
  if (mode == 0) {
    for (int ista = 0; ista < static_cast<int>(m_stations.size()); ++ista) {
      const Station& sta = m_stations[static_cast<std::size_t>(ista)];
      const int ip = i_ip(ista), ic = i_ic(ista, config.m_refsys);
      // A dynamic station without a single-point position has zeros here: the last value is better.
      const bool known = sta.m_x[0] != 0.0 || sta.m_x[1] != 0.0 || sta.m_x[2] != 0.0;
      for (int i = 0; ip >= 0 && known && i < 3; ++i)
        m_pamt[static_cast<std::size_t>(ip + i)].xini = sta.m_x[i];
      if (ic >= 0) m_pamt[static_cast<std::size_t>(ic)].xini = sta.m_rclk[config.m_refsys];
    }
    return;
  }
  const double now = mjd + sod / kDay;
  for (SrifPamt& record : m_pamt) {
    if (record.ptime0 == 0.0) record.ptime0 = now;
    if (record.tpiece != 0.0 && record.ptime1 == 0.0) {
      record.ptime0 = now;
      record.ptime1 = mjd + (record.tpiece + sod) / kDay;
    } else if (record.tpiece == 0.0 && record.nuse > 0) {
      record.ptime0 = record.ptime1 = now;
    }
  }
}

/// The row arrays of the epoch stand in storage that is kept; v_onFinish takes the pointers back.
void SrifFilter::m_allocateRows(int rows) {
  const Deploy& config = s_config();
  const auto count = static_cast<std::size_t>(std::max(rows + (validConfig(config.m_p1p2Dcb) ? 7 : 0), 1));
  m_rowDoubles.assign(count * (kPairDoubles + 4), 0.0);
  m_rowInts.assign(count * 6, 0);
  amat = m_rowDoubles.data();
  tres = amat + count * kPairDoubles;
  resi = tres + count;
  obswgt = resi + count;
  resi_fix = config.m_liar ? obswgt + count : nullptr;
  namat = m_rowInts.data();
  obsrec = namat + count;
}

void SrifFilter::v_onSetAmat() {
  m_xiniOf.clear();
  for (const SrifPamt& record : m_pamt) m_xiniOf.push_back(record.xini);
  for (const SrifPamt* record : m_ionlist) m_xiniOf.push_back(record->xini);
  for (const SrifPamt* record : m_amblist) m_xiniOf.push_back(record->xini);

  int rows = 0;
  for (const Station& sta : m_stations) rows += sta.m_nobs;
  if (rows == 0) return;
  m_allocateRows(rows);
  int number = 0;
  for (int ista = 0; ista < static_cast<int>(m_stations.size()); ++ista) {
    Station& sta = m_stations[static_cast<std::size_t>(ista)];
    for (int row = 0; row < sta.m_nobs; ++row) m_setRow(sta, ista, row, number++, m_xiniOf);
  }
}

void SrifFilter::m_setRow(Station& sta, int ista, int row, int number, const std::vector<double>& xini) {
  const Deploy& config = s_config();
  const auto [isat, slot, kind, unnumbered] = sta.m_index(row);
  sta.m_setIndex(row, {isat, slot, kind, number});
  const Ssat_t& sat = sta.m_sat[isat];
  const int isys = config.m_sysOfRow(isat);
  const double* freq = config.m_satellites[static_cast<std::size_t>(isat)].m_freq;
  const double dispersion = freq[0] * freq[0] / (freq[slot] * freq[slot]);
  if (m_waits(ista, sta.m_index(row))) return;
  RowWriter writer(amat + kPairDoubles * number, namat + number, sta.m_omcList + row, xini);

  if (const int ip = i_ip(ista); ip >= 0)
    for (int i = 0; i < 3; ++i) writer.m_add(ip + i, sat.m_los[i]);
  writer.m_add(i_is(isat), -1.0);
  // The reference system's clock is the receiver clock; another system's is an offset on top of it.
  if (isys == config.m_refsys) {
    writer.m_add(i_ic(ista, isys), 1.0);
  } else {
    writer.m_addReduced(i_ic(ista, isys), 1.0);
    writer.m_add(i_ic(ista, config.m_refsys), 1.0);
  }
  writer.m_addReduced(i_it(ista), sat.m_mapwet);

  if (kind == kRowCode || kind == kRowAfifCode) {
    const auto extra = config.m_freqExtra.find(SYS[isys]);
    if (extra != config.m_freqExtra.end() && std::find(extra->second.begin(), extra->second.end(),
                                                       config.m_freqUsed[isys][slot]) != extra->second.end())
      writer.m_addReduced(i_id(ista, isys, slot), 1.0);
  }
  if (const int id = i_id2(ista, isys); id >= 0) {
    const SrifPamt& record = m_pamt[static_cast<std::size_t>(id)];
    const double f1 = freq[record.ifreq] * freq[record.ifreq], f2 = freq[record.ifreq2] * freq[record.ifreq2];
    const double share = kind == kRowCode ? -1.0 : 0.0;
    writer.m_addReduced(id, f1 == f2 ? 0.0 : -f2 / (f1 - f2) * dispersion * share);
  }
  if (validConfig(config.m_ionmodel)) {
    // Code is delayed by the ionosphere, phase advanced.
    writer.m_addReduced(m_pm(ista, isat, kSlotIon)->ipar,
                        (kind == kRowCode ? 1.0 : -1.0) * dispersion * sat.m_ionmap);
  }
  if (!s_isPhaseRow(kind)) return;
  const SrifPamt* record = m_pm(ista, isat, slot);
  writer.m_addReduced(record->ipar, kind == kRowPhase ? record->lam : v_setAFIF_lam(isat, nullptr, nullptr));
}

SrifPamt* SrifFilter::m_recordOf(int column, int ista, int isat, int slot) {
  if (column < np) return &m_pamt[static_cast<std::size_t>(column)];
  return column < npi ? m_pm(ista, isat, kSlotIon) : m_pm(ista, isat, slot);
}

void SrifFilter::v_onAddObsMatrix() {
  if (!infs) return;
  v_xini_update(0);
  v_onSetAmat();
  nobs = 0;
  m_waiting.clear();
  const bool phase = s_usesPhase();
  m_emptyRows();
  for (int ista = 0; ista < static_cast<int>(m_stations.size()); ++ista) {
    const Station& sta = m_stations[static_cast<std::size_t>(ista)];
    for (int row = 0; row < sta.m_nobs; ++row) {
      const RowIndex index = sta.m_index(row);
      if (index.kind == kRowAfifCode || (!phase && index.kind != kRowCode)) continue;
      // One row below is kept for the reflectors' factors.
      if (m_waits(ista, index) || nobs >= nhk || imtx + nobs + 2 > ldinfs)
        m_waiting.push_back({index.isat, index.kind, index.slot, ista, row});
      else m_addRow(sta, ista, row);
    }
  }
  m_reportWaiting();
  if (s_config().m_ldebug) {
    CMat::CMat_PrintMatrix_file(Hk, nhk, nobs, imtx + 1, "", "Hk");
    CMat::CMat_PrintMatrix_file(infs, ldinfs, imtx + nobs, imtx + 1, "", "infs");
  }
  v_xini_update(1);
}

/// Zeros where the epoch's rows will come.
void SrifFilter::m_emptyRows() {
  int rows = 0;
  for (const Station& sta : m_stations) rows += sta.m_nobs;
  rows = std::max(std::min({rows, nhk, ldinfs - imtx - 1}), 0);
  m_designRows.assign(static_cast<std::size_t>(imtx), {});
  for (int column = 0; column <= imtx; ++column) {
    std::fill_n(infs + iptx[column] + imtx, rows, 0.0);
    std::fill_n(Hk + iphk[column], rows, 0.0);
  }
}

void SrifFilter::m_reportWaiting() {
  switch (m_arrayFull.m_update(!m_waiting.empty())) {
    case StatusCondition::Change::begins:
      Logtrace::m_logStatInfo(
          "[%d %8.1lf] the array of %d columns is full: %zu rows, the first of %s, wait until arcs end\n",
          mjd, sod, ntmx, m_waiting.size(), s_config().m_cprn[m_waiting.front().isat].c_str());
      break;
    case StatusCondition::Change::ends:
      Logtrace::m_logStatInfo("[%d %8.1lf] the array has room for all rows again\n", mjd, sod);
      break;
    default:
      break;
  }
}

void SrifFilter::m_setDesign(int row, int column, double coefficient) {
  Hk[iphk[column] + row] = coefficient;
  auto& [first, end] = m_designRows[static_cast<std::size_t>(column)];
  if (first == end) first = row;
  end = row + 1;
}

void SrifFilter::m_addRow(const Station& sta, int ista, int row) {
  const auto [isat, slot, kind, number] = sta.m_index(row);
  const double wgt = sta.m_wgtList[row];
  const int record[5] = {isat, kind, slot, ista, row};
  std::copy_n(record, 5, obsrec + 5 * nobs);
  obswgt[nobs] = wgt;
  const double* pairs = amat + kPairDoubles * number;
  for (int i = 0; i < namat[number]; ++i) {
    const int column = static_cast<int>(pairs[2 * i]);
    SrifPamt* parameter = m_recordOf(column, ista, isat, slot);
    ++parameter->nuse;
    parameter->elevsum += sta.m_sat[isat].m_elev;
    infs[iptx[column] + imtx + nobs] = wgt * pairs[2 * i + 1];
    m_setDesign(nobs, column, pairs[2 * i + 1]);
  }
  infs[iptx[imtx] + imtx + nobs] = wgt * sta.m_omcList[row];
  Hk[iphk[imtx] + nobs] = sta.m_omcList[row];
  ++nobs;
}

/// The rows themselves stay below the triangle, in case that reflectors are wanted.
void SrifFilter::m_takeRowsIn() {
  m_keepPrior();
  if (m_measurement.m_run(infs, ldinfs, np, imtx, nobs, tres)) return;
  m_makeReflectors();
}

void SrifFilter::m_keepPrior() {
  const auto height = static_cast<std::size_t>(imtx);
  m_prior.resize(height * (height + 1) / 2 + height + static_cast<std::size_t>(nobs));
  double* to = m_prior.data();
  for (int column = 0; column <= imtx; ++column)
    to = std::copy_n(infs + iptx[column], std::min(column + 1, imtx), to);
  std::copy_n(infs + iptx[imtx] + imtx, nobs, to);
}

void SrifFilter::m_makeReflectors() {
  const double* from = m_prior.data();
  for (int column = 0; column <= imtx; ++column) {
    const int height = std::min(column + 1, imtx);
    std::copy_n(from, height, infs + iptx[column]);
    from += height;
  }
  double* misfit = infs + iptx[imtx] + imtx;
  std::copy_n(from, nobs, misfit);
  CMat::CMat_Householder(infs, ldinfs, imtx, imtx + nobs, imtx + 1, true);
  m_hasReflectors = true;
  std::copy_n(misfit, nobs, tres);
  std::fill_n(misfit, nobs, 0.0);
}

/// Rows below the triangle are zero at rest, and so is what reflectors have left there.
void SrifFilter::m_clearRows() {
  const int end = std::min(imtx + nobs + 1, ldinfs);
  for (int column = 0; column <= imtx; ++column)
    std::fill(infs + iptx[column] + (m_hasReflectors ? std::min(column + 1, imtx) : imtx),
              infs + iptx[column] + end, 0.0);
  m_hasReflectors = false;
}

void SrifFilter::v_onFilterEstimate() {
  m_solstat = kStateNone;
  if (nobs < 1) return;
  const Deploy& config = s_config();
  m_takeRowsIn();
  std::printf("imtx: %d nobs: %d %d - %d np: %d\n", imtx, nobs, imtx + nobs, nobs, np);
  m_get_resi(resi);
  m_sig0 = m_unitWeightSigma(false);
  if (config.m_ldia) m_onDia();
  m_clearRows();

  m_solstat = s_has(config.m_obsused, "PHASE") ? kStateFloat : kStateCode;
  m_solve_update();
  m_noise.m_learnResiduals(*this);
  m_noise.m_learnPhases(*this);
  m_get_dop();
  double spread = 0.0;
  // The smoother would carry a value that is not finite for a whole window.
  if (std::isfinite(m_sig0)) m_smooth.m_smooth(m_sig0, &m_sig0_smooth, &spread);
  m_genxsig();
}

void SrifFilter::m_get_resi(double* out) {
  if (!infs || !out || nobs < 1) return;
  m_solve(m_solution);
  std::copy_n(Hk + iphk[imtx], nobs, out);
  const int columns = std::min(imtx, static_cast<int>(m_designRows.size()));
  for (int column = 0; column < columns; ++column) {
    const double x = m_solution[static_cast<std::size_t>(column)];
    const double* design = Hk + iphk[column];
    const auto [first, end] = m_designRows[static_cast<std::size_t>(column)];
    for (int row = first; row < end; ++row) out[row] -= design[row] * x;
  }
}

double SrifFilter::m_unitWeightSigma(bool codeAndPhaseOnly) const {
  double sum = 0.0;
  int count = 0;
  for (int row = 0; row < nobs; ++row) {
    const int kind = m_origin(row).kind;
    if (kind <= 0 || (codeAndPhaseOnly && kind != kRowCode && kind != kRowPhase)) continue;
    const double scaled = resi[row] * obswgt[row];
    sum += scaled * scaled;
    ++count;
  }
  return count > 0 ? std::sqrt(sum / count) : 0.0;
}

}  // namespace tarvio
