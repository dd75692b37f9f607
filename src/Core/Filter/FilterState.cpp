/// What the filter knows between two epochs, so that another process can go on with it: the square root and
/// its records, and what the steps in front of it have learnt of the station.

#include <algorithm>
#include <stdexcept>

#include "Common/StateArchive.h"
#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/HMWfilter.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

namespace {

/// The records of columns, one after the other.
void s_records(StateArchive& a, std::list<SrifPamt*>& records) {
  const std::size_t count = a.m_count(records.size());
  if (a.m_reads())
    for (std::size_t i = 0; i < count; ++i) records.push_back(new SrifPamt);
  for (SrifPamt* record : records) {
    a(*record);
    record->pold = nullptr;
  }
}

bool s_isPlace(const SrifPamt& record, int stations, int slots) {
  return record.ista >= 0 && record.ista < stations && record.isat >= 0 && record.isat < kMaxSat &&
         record.ifreq < slots;
}

}  // namespace

void SrifFilter::v_fields(StateArchive& a) {
  m_checkConfiguration(a);
  if (a.m_reads()) v_onFilterInit();
  std::int64_t reset = treset;
  a(mjd, sod, dintv, tlast, reset, m_resetFraction, m_sig0, m_smooth, m_sig0_smooth, m_solstat, m_ratio,
    m_ratio_wl, m_ratio_ewl, m_nfix);
  treset = static_cast<std::time_t>(reset);
  m_arcFields(a);
  m_arrayFields(a);
  a.m_items(m_stations.data(), m_stations.size());
  a(m_fixmap, m_ambhold, m_agreement, m_ifpbrec, m_noise);
  for (auto& [tag, filters] : m_hmw)
    for (auto& [station, smoother] : filters) a(*smoother);
  if (m_ewlint) {
    a.m_items(m_ewlint, m_stations.size() * kMaxSat);
    a.m_items(m_ewlflag, m_stations.size() * kMaxSat);
  }
}

/// Columns, rows of satellites and slots mean the same in the configuration that wrote the state.
void SrifFilter::m_checkConfiguration(StateArchive& a) const {
  const Deploy& config = s_config();
  std::string now = m_prosys + ' ' + config.m_syslist + ' ' + config.m_obscomb + ' ' + config.m_obsused +
                    ' ' + config.m_ionmodel + ' ' + config.m_ztdmodel + ' ' + config.m_refpoint;
  for (int isat = 0; isat < config.m_nsat; ++isat) now += ' ' + config.m_cprn[isat] + config.m_sysname[isat];
  for (const FreqTable* table : {&config.m_freqUsed, &config.m_freqObs})
    now.append(reinterpret_cast<const char*>(*table), sizeof *table);
  for (const Station& sta : m_stations) now += ' ' + sta.m_name + sta.m_skd + sta.m_antType;
  for (const auto& [tag, filters] : m_hmw) now += ' ' + tag;
  now += m_ewlint ? " held" : "";
  std::string then = now;
  a(then);
  if (then != now) throw std::runtime_error("the saved state is of another configuration");
}

void SrifFilter::m_arcFields(StateArchive& a) {
  const std::size_t ordinary = a.m_count(m_pamt.size());
  if (ordinary != m_pamt.size()) throw std::runtime_error("the saved state is of another set of parameters");
  for (SrifPamt& record : m_pamt) a(record);
  if (a.m_reads()) m_deleteArcs();
  s_records(a, m_ionlist);
  s_records(a, m_amblist);
  if (!a.m_reads()) return;

  const int stations = static_cast<int>(m_stations.size());
  ni = static_cast<int>(m_ionlist.size());
  nc = static_cast<int>(m_amblist.size());
  npi = np + ni;
  imtx = npi + nc;
  if (imtx >= ntmx || imtx + nhk + 2 > ldinfs) throw std::runtime_error("the saved state finds no room");
  int column = np;
  const auto enter = [&](SrifPamt* record, int slot) {
    if (!s_isPlace(*record, stations, kFreq) || slot < 0)
      throw std::runtime_error("the saved state has parameters of no satellite");
    record->ipar = column++;
    m_pm(record->ista, record->isat, slot) = record;
  };
  for (SrifPamt* record : m_ionlist) enter(record, kSlotIon);
  for (SrifPamt* record : m_amblist) enter(record, record->ifreq);
}

/// The triangle and its right-hand side; everything else of the array is zero at rest.
void SrifFilter::m_arrayFields(StateArchive& a) {
  for (int column = 0; column <= imtx; ++column)
    a.m_items(infs + iptx[column], static_cast<std::size_t>(std::min(column + 1, imtx)));
}

}  // namespace tarvio
