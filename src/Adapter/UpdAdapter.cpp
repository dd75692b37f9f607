// Keeps satellite biases by time and gives those nearest to an epoch.

#include "Adapter/UpdAdapter.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <utility>

#include "Common/ComFreq.h"
#include "Common/ComTime.h"
#include "Config/Configuration.h"
#include "Config/SatelliteTable.h"

namespace tarvio {

namespace {

constexpr int kTypeComb = 1;
constexpr int kTypeBias = 2;

template <int N>
void s_set(double (&values)[N], double value) {
  std::fill(std::begin(values), std::end(values), value);
}

template <class Record>
bool s_earlier(const Record& a, const Record& b) {
  return timdif(a.mjd, a.sod, b.mjd, b.sod) < 0.0;
}

}  // namespace

// ---- sets of biases ----

Updc::Updc() { std::fill(std::begin(m_sysRef), std::end(m_sysRef), -1); }

bool Updc::v_checkSatellite(const char*, const char*) const { return false; }

Upd_bias::Upd_bias() {
  m_reset();
  m_type = kTypeBias;
}

void Upd_bias::m_reset() {
  m_mjd = 0;
  m_sod = 0.0;
  m_type = -1;
  std::fill(std::begin(m_sysRef), std::end(m_sysRef), -1);
  for (auto& row : m_value) s_set(row, kNone);
  for (auto& row : m_sig) s_set(row, kNone);
  s_set(m_time, 0.0);
  s_set(m_time2, 0.0);
}

bool Upd_bias::v_checkSatellite(const char* cprn, const char* freq) const {
  const int isat = s_satRow(cprn);
  if (isat < 0) return false;
  const Deploy& deploy = s_config();
  const int isys = index_sys(false, isat);
  if (isys < 0) return false;
  const int slot = index_freq(deploy.m_freqObs[isys], std::min(deploy.m_nfreqObs[isys], kFreq), freq);
  return slot >= 0 && m_value[isat][slot] != kNone;
}

Upd_comb::Upd_comb() {
  m_reset();
  m_type = kTypeComb;
}

void Upd_comb::m_reset() {
  m_mjd = 0;
  m_sod = 0.0;
  m_type = -1;
  std::fill(std::begin(m_sysRef), std::end(m_sysRef), -1);
  s_set(m_value, kNone);
  s_set(m_sig, kNone);
  s_set(m_time, 0.0);
}

bool Upd_comb::v_checkSatellite(const char* cprn, const char*) const {
  const int isat = s_satRow(cprn);
  return isat >= 0 && m_value[isat] != kNone;
}

bool Upd_comb::m_validComb(char sys) const {
  const Deploy& deploy = s_config();
  for (int isat = 0; isat < deploy.m_nsat; ++isat) {
    if (deploy.m_cprn[isat][0] == sys && m_value[isat] != kNone) return true;
  }
  return false;
}

// ---- the store ----

void UpdAdapter::Column::assign(std::vector<double> values) {
  const bool uniform = std::all_of(values.begin(), values.end(), [&](double v) { return v == values[0]; });
  if (uniform && values.size() > 1) values.resize(1);
  values.shrink_to_fit();
  m_values = std::move(values);
}

void UpdAdapter::History::append(Record record, bool keepLast, double history_s) {
  const auto old = [&](const Record& r) { return timdif(record.mjd, record.sod, r.mjd, r.sod) > history_s; };
  const std::size_t keep = keepLast ? 1 : 0;
  if (m_ordered) {
    while (m_records.size() > keep && old(m_records.front())) m_records.pop_front();
  } else {
    for (auto it = m_records.begin(); it != m_records.end() && m_records.size() > keep;) {
      it = old(*it) ? m_records.erase(it) : std::next(it);
    }
    m_ordered = std::is_sorted(m_records.begin(), m_records.end(), s_earlier<Record>);
  }
  if (!m_records.empty() && s_earlier(record, m_records.back())) m_ordered = false;
  m_records.push_back(std::move(record));
}

const UpdAdapter::Record* UpdAdapter::History::nearest(int mjd, double sod) const {
  const auto distance_s = [&](const Record& r) { return std::fabs(timdif(mjd, sod, r.mjd, r.sod)); };
  const auto closer = [&](const Record& a, const Record& b) { return distance_s(a) < distance_s(b); };
  if (m_records.empty()) return nullptr;
  if (!m_ordered) return &*std::min_element(m_records.begin(), m_records.end(), closer);

  Record wanted{};
  wanted.mjd = mjd;
  wanted.sod = sod;
  const auto first = m_records.begin();
  const auto after = std::lower_bound(first, m_records.end(), wanted, s_earlier<Record>);
  if (after == first) return &*after;
  // Of several records of one time the first counts.
  const auto before = std::lower_bound(first, after, *std::prev(after), s_earlier<Record>);
  return after != m_records.end() && closer(*after, *before) ? &*after : &*before;
}

UpdAdapter::Record UpdAdapter::s_pack(const Updc& set, const double* value, const double* sig,
                                      const double* time, const double* time2, int slots) {
  Record record{};
  record.mjd = set.m_mjd;
  record.sod = set.m_sod;
  record.type = set.m_type;
  std::copy(std::begin(set.m_sysRef), std::end(set.m_sysRef), record.sysRef);
  std::vector<double> values, sigmas, times, times2;
  for (int isat = 0; isat < kMaxSat; ++isat) {
    const double t2 = time2 == nullptr ? 0.0 : time2[isat];
    for (int slot = 0; slot < slots; ++slot) {
      const int k = isat * slots + slot;
      if (value[k] == kNone && sig[k] == kNone && time[isat] == 0.0 && t2 == 0.0) continue;
      record.places.push_back(static_cast<std::uint16_t>(isat * kFreq + slot));
      values.push_back(value[k]);
      sigmas.push_back(sig[k]);
      times.push_back(time[isat]);
      times2.push_back(t2);
    }
  }
  record.places.shrink_to_fit();
  record.value.assign(std::move(values));
  record.sig.assign(std::move(sigmas));
  record.time.assign(std::move(times));
  record.time2.assign(std::move(times2));
  return record;
}

void UpdAdapter::s_unpackHead(const Record& record, Updc& set) {
  set.m_mjd = record.mjd;
  set.m_sod = record.sod;
  set.m_type = record.type;
  std::copy(std::begin(record.sysRef), std::end(record.sysRef), set.m_sysRef);
}

void UpdAdapter::m_keepFor(double seconds) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_history_s = seconds;
}

void UpdAdapter::v_inputBias(const Upd_bias& bias) {
  Record record = s_pack(bias, bias.m_value[0], bias.m_sig[0], bias.m_time, bias.m_time2, kFreq);
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_biases.append(std::move(record), false, m_history_s);
}

void UpdAdapter::v_inputComb(const char* kind, const char* tag, const Upd_comb& comb) {
  Record record = s_pack(comb, comb.m_value, comb.m_sig, comb.m_time, nullptr, 1);
  const std::lock_guard<std::mutex> lock(m_mutex);
  // An old combination fixes better than none: the only one stays.
  m_combs[kind][tag].append(std::move(record), true, m_history_s);
}

void UpdAdapter::m_inquireBias(int mjd, double sod, Upd_bias& out) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const Record* record = m_biases.nearest(mjd, sod);
  if (record == nullptr) return;
  out.m_reset();
  s_unpackHead(*record, out);
  for (std::size_t k = 0; k < record->places.size(); ++k) {
    const int isat = record->places[k] / kFreq, slot = record->places[k] % kFreq;
    out.m_value[isat][slot] = record->value.at(k);
    out.m_sig[isat][slot] = record->sig.at(k);
    out.m_time[isat] = record->time.at(k);
    out.m_time2[isat] = record->time2.at(k);
  }
}

/// Callers hold m_mutex.
const UpdAdapter::Record* UpdAdapter::m_nearestComb(int mjd, double sod, const char* kind,
                                                    const char* tag) const {
  const auto tags = m_combs.find(kind);
  if (tags == m_combs.end()) return nullptr;
  const auto history = tags->second.find(tag);
  return history == tags->second.end() ? nullptr : history->second.nearest(mjd, sod);
}

void UpdAdapter::m_inquireComb(int mjd, double sod, const char* kind, const char* tag, Upd_comb& out) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const Record* record = m_nearestComb(mjd, sod, kind, tag);
  if (record == nullptr) return;
  out.m_reset();
  s_unpackHead(*record, out);
  for (std::size_t k = 0; k < record->places.size(); ++k) {
    const int isat = record->places[k] / kFreq;
    out.m_value[isat] = record->value.at(k);
    out.m_sig[isat] = record->sig.at(k);
    out.m_time[isat] = record->time.at(k);
  }
}

double UpdAdapter::m_age(int mjd, double sod, const Upd_ambconfig& level, const char* tag) {
  const bool bySignal = s_config().m_losb;
  const std::lock_guard<std::mutex> lock(m_mutex);
  const Record* record = bySignal            ? m_biases.nearest(mjd, sod)
                         : level.m_updSwitch ? m_nearestComb(mjd, sod, level.m_updType, tag)
                                             : nullptr;
  return record == nullptr ? std::numeric_limits<double>::quiet_NaN()
                           : timdif(mjd, sod, record->mjd, record->sod);
}

std::unique_ptr<Updc> UpdAdapter::m_inquireLevel(int mjd, double sod, const Upd_ambconfig& level,
                                                 const char* tag) {
  if (s_config().m_losb) {
    auto bias = std::make_unique<Upd_bias>();
    m_inquireBias(mjd, sod, *bias);
    return bias;
  }
  if (!level.m_updSwitch) return nullptr;
  auto comb = std::make_unique<Upd_comb>();
  m_inquireComb(mjd, sod, level.m_updType, tag, *comb);
  return comb;
}

}  // namespace tarvio
