/// Growth and shrinkage of the state: slant ionosphere and ambiguity columns come and go inside the
/// fixed array. When it is full, columns that are there stay and new ones wait: a satellite without its
/// ionosphere stays out whole, a phase without its ambiguity alone, until the arcs of satellites that have
/// set are given up.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <tuple>
#include <utility>

#include "Common/Com.h"
#include "Common/Logtrace.h"
#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

namespace {

constexpr double kArcAge = 900.0;  ///< s, an ambiguity that was not used for longer goes

}  // namespace

void SrifFilter::v_onAddAmbt() {
  if (!infs) return;
  v_formcomb_obs();
  m_requestRestarts();
  for (Station& sta : m_stations)
    for (Ssat_t& sat : sta.m_sat) std::fill_n(sat.m_newamb, kFreq, 0);
  m_addIonosphere();
  m_addAmbiguities();
  m_startAmbiguities();
}

/// Restarts asked for by the extra-wide-lane holder and by a new issue of the third-frequency bias.
void SrifFilter::m_requestRestarts() {
  const bool afif = s_has(s_config().m_obscomb, "AFIF");
  for (Station& sta : m_stations)
    for (Ssat_t& sat : sta.m_sat) {
      if (sat.m_ambstate == kArcRestart && afif) sat.m_ambflag[1] = kArcRestart;
      if (sat.m_ifpbreset == 1) sat.m_ambflag[2] = kArcNew;
      sat.m_ambstate = kArcGoesOn;
      sat.m_ifpbreset = 0;
    }
}

/// Columns that may still be added: one is for the right-hand side, and all rows of an epoch must find their
/// place below.
int SrifFilter::m_room() const { return std::max(std::min(ntmx - 1, ldinfs - nhk - 2) - imtx, 0); }

/// Whether a row must stay out of the epoch for want of its own columns.
bool SrifFilter::m_waits(int ista, const RowIndex& row) const {
  if (validConfig(s_config().m_ionmodel) && !m_pm(ista, row.isat, kSlotIon)) return true;
  return s_isPhaseRow(row.kind) && !m_pm(ista, row.isat, row.slot);
}

/// Inserts columns and rows at `first` with the given diagonal; what stood there moves behind them.
void SrifFilter::m_insertColumns(int first, const std::vector<double>& diagonal) {
  const int k = static_cast<int>(diagonal.size()), n = imtx;
  if (k == 0) return;
  for (int column = n; column >= first; --column) {
    const double* from = infs + iptx[column];
    double* to = infs + iptx[column + k];
    std::copy_n(from, first, to);
    std::fill_n(to + first, k, 0.0);
    std::copy(from + first, from + n, to + first + k);
  }
  // Columns in front are zero from their diagonal down, so that a clear tail is all they need.
  for (int column = 0; column < first; ++column) std::fill_n(infs + iptx[column] + n, k, 0.0);
  for (int i = 0; i < k; ++i) {
    double* column = infs + iptx[first + i];
    std::fill_n(column, n + k, 0.0);
    column[first + i] = diagonal[static_cast<std::size_t>(i)];
  }
  imtx += k;
}

void SrifFilter::m_addIonosphere() {
  const Deploy& config = s_config();
  if (!validConfig(config.m_ionmodel)) return;
  const auto room = static_cast<std::size_t>(m_room());
  std::vector<double> diagonal;
  for (int ista = 0; ista < static_cast<int>(m_stations.size()); ++ista) {
    const Station& sta = m_stations[static_cast<std::size_t>(ista)];
    for (int row = 0; row < sta.m_nobs; ++row) {
      const int isat = sta.m_index(row).isat;
      if (m_pm(ista, isat, kSlotIon) || diagonal.size() == room) continue;
      auto* record = new SrifPamt;
      record->ista = ista;
      record->isat = isat;
      record->isys = config.m_sysOfRow(isat);
      record->ipar = npi + static_cast<int>(diagonal.size());
      record->ptime0 = record->ptime1 = mjd + sod / kDay;
      const auto& walk = config.m_ionWalk;
      const double noise = walk.on ? walk.noise_mPerRootS : sta.m_qIon;
      const double sigma = walk.on ? walk.sigma_m : sta.m_sigIon;
      record->phi = walk.on ? 1.0 : 0.0;
      record->qinv = 1.0 / (noise > 0.0 ? noise : 1.0e-9);
      std::snprintf(record->pname, sizeof record->pname, "ION_%03d_%s", ista, config.m_cprn[isat].c_str());
      m_pm(ista, isat, kSlotIon) = record;
      m_ionlist.push_back(record);
      diagonal.push_back(1.0 / (sigma > 0.0 ? sigma : 1.0e-9));
    }
  }
  const int count = static_cast<int>(diagonal.size());
  m_insertColumns(npi, diagonal);
  ni += count;
  npi = np + ni;
  for (SrifPamt* record : m_amblist) record->ipar += count;
}

SrifPamt* SrifFilter::m_newAmbiguity(int ista, int isat, int slot, int kind, int column) {
  const Deploy& config = s_config();
  const int isys = config.m_sysOfRow(isat);
  const char* cprn = config.m_cprn[isat].c_str();
  auto* record = new SrifPamt;
  record->ista = ista;
  record->isat = isat;
  record->isys = isys;
  record->ifreq = slot;
  record->ipar = column;
  record->ptime0 = record->ptime1 = mjd + sod / kDay;
  // A slot without a record starts one even when no flag asks for it.
  const int flag = m_stations[static_cast<std::size_t>(ista)].m_sat[isat].m_ambflag[slot];
  record->iflag = flag != kArcGoesOn ? flag : kArcNew;
  if (kind == kRowAfifPhase) {
    int first = -1, second = -1;
    record->lam = v_setAFIF_lam(isat, &first, &second);
    record->ifreq2 = second;
    const auto name = [&](int f) { return f >= 0 && f < kFreq ? config.m_freqUsed[isys][f] : ""; };
    std::snprintf(record->pname, sizeof record->pname, "AMB_%03d_%s_WL_%s_%s", ista, cprn, name(first),
                  name(second));
  } else {
    record->lam = s_has(config.m_obscomb, "IF")
                      ? 1.0
                      : kLight / config.m_satellites[static_cast<std::size_t>(isat)].m_freq[slot];
    std::snprintf(record->pname, sizeof record->pname, "AMB_%03d_%s_%s", ista, cprn,
                  config.m_freqUsed[isys][slot]);
  }
  return record;
}

void SrifFilter::m_addAmbiguities() {
  const Deploy& config = s_config();
  const bool ionosphere = validConfig(config.m_ionmodel);
  const int room = m_room();
  int count = 0;
  for (int ista = 0; ista < static_cast<int>(m_stations.size()); ++ista) {
    Station& sta = m_stations[static_cast<std::size_t>(ista)];
    for (int row = 0; row < sta.m_nobs; ++row) {
      const auto [isat, slot, kind, number] = sta.m_index(row);
      if (!s_isPhaseRow(kind)) continue;
      if (sta.m_sat[isat].m_ambflag[slot] == kArcGoesOn && m_pm(ista, isat, slot)) continue;
      if (count == room || (ionosphere && !m_pm(ista, isat, kSlotIon))) {
        // The flag stays, so that the arc begins when there is room. What it replaces has ended in any case.
        m_pm(ista, isat, slot) = nullptr;
        continue;
      }
      SrifPamt* record = m_newAmbiguity(ista, isat, slot, kind, imtx + count++);
      m_pm(ista, isat, slot) = record;
      m_amblist.push_back(record);
      sta.m_sat[isat].m_newamb[slot] = 1;

      const char* freq = config.m_freqUsed[record->isys][slot];
      const char* cprn = config.m_cprn[isat].c_str();
      Logtrace::m_logPrint("[%s,%d]:[%d %8.1lf] sta = %s, cprn = %s, freq = %s, add ambiguity!\n",
                           "v_onAddAmbt", __LINE__, mjd, sod, sta.m_name.c_str(), cprn, freq);
      Logtrace::m_logStatInfo("[%d %8.1lf] sta = %s, cprn = %s, freq = %s, add ambiguity!\n", mjd, sod,
                              sta.m_name.c_str(), cprn, freq);
    }
  }
  m_insertColumns(imtx, std::vector<double>(static_cast<std::size_t>(count), m_ambinf0));
  nc += count;
}

/// Keeps the arcs of this epoch alive and starts new ones at phase minus code.
void SrifFilter::m_startAmbiguities() {
  for (int ista = 0; ista < static_cast<int>(m_stations.size()); ++ista) {
    const Station& sta = m_stations[static_cast<std::size_t>(ista)];
    for (int row = 0; row < sta.m_nobs; ++row) {
      const auto [isat, slot, kind, number] = sta.m_index(row);
      SrifPamt* record = m_pm(ista, isat, slot);
      if (!record) continue;
      record->ptime1 = mjd + sod / kDay;
      if (!sta.m_sat[isat].m_newamb[slot]) continue;
      const double sign = s_isPhaseRow(kind) ? 1.0 : -1.0;
      record->xini += sign * sta.m_omcList[row] / record->lam;
      record->xest = record->xini;
    }
  }
}

void SrifFilter::v_onDelAmbt() {
  if (nc == 0) return;
  std::vector<SrifPamt*> records;
  std::vector<int> columns, flags(static_cast<std::size_t>(imtx), 0);
  m_collectAgedAmbiguities(records, columns, flags);
  m_collectUnusedIonosphere(records, columns, flags);
  if (columns.empty()) return;

  std::vector<std::pair<int, SrifPamt*>> order;
  for (std::size_t i = 0; i < columns.size(); ++i) order.emplace_back(columns[i], records[i]);
  std::sort(order.begin(), order.end());
  for (std::size_t i = 0; i < order.size(); ++i) std::tie(columns[i], records[i]) = order[i];

  m_delpm(records, columns, flags, static_cast<int>(columns.size()));
}

void SrifFilter::m_collectAgedAmbiguities(std::vector<SrifPamt*>& records, std::vector<int>& columns,
                                          std::vector<int>& flags) {
  const Deploy& config = s_config();
  int column = npi;
  for (SrifPamt* record : m_amblist) {
    SrifPamt*& live = m_pm(record->ista, record->isat, record->ifreq);
    const bool replaced = live != record;
    const bool aged = (mjd - record->ptime1) * kDay + sod > kArcAge;
    if (replaced || aged) {
      Station& sta = m_stations[static_cast<std::size_t>(record->ista)];
      records.push_back(record);
      columns.push_back(column);
      flags[static_cast<std::size_t>(column)] = 1;
      Logtrace::m_logPrint("[%s,%d]:%d %8.1lf] sta = %s cprn = %s freq = %s delete ambiguity!\n",
                           "v_onDelAmbt", __LINE__, mjd, sod, sta.m_name.c_str(),
                           config.m_cprn[record->isat].c_str(),
                           config.m_freqUsed[record->isys][record->ifreq]);
      if (!replaced) {
        sta.m_sat[record->isat].m_ambflag[record->ifreq] = kArcNew;
        live = nullptr;
      }
    }
    ++column;
  }
}

void SrifFilter::m_collectUnusedIonosphere(std::vector<SrifPamt*>& records, std::vector<int>& columns,
                                           std::vector<int>& flags) {
  const Deploy& config = s_config();
  int column = np;
  for (SrifPamt* record : m_ionlist) {
    bool inUse = false;
    for (int slot = 0; slot < std::min(config.m_nfreqUsed[record->isys], kFreq); ++slot)
      inUse = inUse || m_pm(record->ista, record->isat, slot);
    if (!inUse) {
      records.push_back(record);
      columns.push_back(column);
      flags[static_cast<std::size_t>(column)] = 1;
      m_pm(record->ista, record->isat, kSlotIon) = nullptr;
      Logtrace::m_logPrint("[%s,%d]:%d %8.1lf] sta = %s cprn = %s delete ionosphere!\n", "v_onDelAmbt",
                           __LINE__, mjd, sod,
                           m_stations[static_cast<std::size_t>(record->ista)].m_name.c_str(),
                           config.m_cprn[record->isat].c_str());
    }
    ++column;
  }
}

void SrifFilter::m_delpm(std::vector<SrifPamt*>& records, std::vector<int>& columns, std::vector<int>& flags,
                         int count) {
  const int n = imtx, k = count;
  const auto at = [](int i) { return static_cast<std::size_t>(i); };

  // A row is carried up for each of them and takes away what is known through it; its own row is empty then.
  m_beginLeaving(k, n);
  for (int i = k - 1; i >= 0; --i) m_leave(columns[at(i)]);
  m_sweeps.m_clear(m_leavingColumns);
  for (int column = 0; column <= n; ++column)
    if (column == n || flags[at(column)] != 1)
      m_stayingColumns.push_back({infs + iptx[column], std::min(column, n - 1), nullptr});
  m_sweeps.m_apply(m_stayingColumns.data(), m_stayingColumns.size());

  // Compress; the right-hand side is column n.
  int target = 0;
  for (int column = 0; column <= n; ++column) {
    if (column < n && flags[at(column)] == 1) continue;
    const double* from = infs + iptx[column];
    double* to = infs + iptx[target++];
    for (int row = 0, place = 0; row < n; ++row)
      if (flags[at(row)] != 1) to[place++] = from[row];
    std::fill_n(to + (n - k), k, 0.0);
  }
  for (int column = n - k + 1; column <= n; ++column) std::fill_n(infs + iptx[column], n, 0.0);

  for (int i = 0; i < k; ++i) {
    SrifPamt* record = records[at(i)];
    if (std::strstr(record->pname, "AMB_")) {
      m_ambdel.push_back(new SrifPamt(*record));
      m_amblist.remove(record);
      --nc;
    } else {
      m_ionlist.remove(record);
      --ni;
    }
    delete record;
  }
  npi = np + ni;
  imtx = n - k;
  int column = np;
  for (SrifPamt* record : m_ionlist) record->ipar = column++;
  for (SrifPamt* record : m_amblist) record->ipar = column++;
}

}  // namespace tarvio
