// Keys of the record of fixes, and its entries by satellite.

#include "Core/Filter/FixRecord.h"

#include "Core/Filter/FilterConfig.h"

namespace tarvio {

namespace {

constexpr const char* kState = "_ifab";
constexpr const char* kSearched = "_srch";
constexpr const char* kArcBegin = "_ptime0";
constexpr const char* kArcLast = "_ptime1";

constexpr double kOpen = 1.0;  ///< states above it are fixes: LevelTraits::fixedState

}  // namespace

Fixes::Fixes(const FixMap& map, const std::string& station, const char* tag) {
  const auto levels = map.find(station);
  if (levels == map.end()) return;
  const auto entries = levels->second.find(tag);
  if (entries != levels->second.end()) m_entries = &entries->second;
}

const double* Fixes::m_value(int isat) const {
  if (!m_entries) return nullptr;
  const auto value = m_entries->find(s_config().m_cprn[isat]);
  return value == m_entries->end() ? nullptr : &value->second;
}

bool Fixes::m_isFixed(int isat) const {
  if (!m_value(isat)) return false;
  const auto state = m_entries->find(s_config().m_cprn[isat] + kState);
  return state != m_entries->end() && state->second > kOpen;
}

int Fixes::m_count() const {
  int count = 0;
  if (m_entries)
    for (const auto& [key, value] : *m_entries) count += key.ends_with(kState) && value > kOpen ? 1 : 0;
  return count;
}

double& FixRecord::m_entry(int isat, const char* ending) {
  return m_entries[s_config().m_cprn[isat] + ending];
}

void FixRecord::m_setOpen(int isat, double cycles) {
  m_entry(isat, "") = cycles;
  m_entry(isat, kState) = kOpen;
}

void FixRecord::m_setFixed(int isat, double cycles, Level level) {
  m_entry(isat, "") = cycles;
  m_markFixed(isat, level);
}

void FixRecord::m_markFixed(int isat, Level level) { m_entry(isat, kState) = s_traits(level).fixedState; }
void FixRecord::m_markSearched(int isat) { m_entry(isat, kSearched) = 1.0; }

void FixRecord::m_setArc(int isat, double begin, double last) {
  m_entry(isat, kArcBegin) = begin;
  m_entry(isat, kArcLast) = last;
}

}  // namespace tarvio
