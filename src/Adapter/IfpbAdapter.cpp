// Keeps the newest inter-frequency clock term of each satellite.

#include "Adapter/IfpbAdapter.h"

namespace tarvio {

void IfpbAdapter::m_inputIfpb(const std::string& cprn, const t_ifpb& record) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_records[cprn] = record;
}

bool IfpbAdapter::m_inquireIfpb(const std::string& cprn, t_ifpb& record) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const auto found = m_records.find(cprn);
  if (found == m_records.end()) return false;
  record = found->second;
  return true;
}

}  // namespace tarvio
