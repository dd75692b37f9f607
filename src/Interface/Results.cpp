// Makes the record of an epoch and calls the listeners.

#include "Interface/Results.h"

#include <exception>

#include "Common/Logtrace.h"
#include "Interface/EpochRecord.h"

namespace tarvio {

Results& Results::s_getInstance() {
  static Results& results = *new Results;  // a host may remove its own at the very end
  return results;
}

void Results::m_epoch(Controller& controller) {
  if (m_listeners.empty()) return;
  EpochRecord(controller, m_record).m_fill();
  const auto listeners = m_listeners;  // a listener may remove itself
  for (const auto& [number, listener] : listeners) {
    try {
      listener(m_record);
    } catch (const std::exception& failure) {
      Logtrace::m_logStatInfo("a listener of results failed: %s\n", failure.what());
    } catch (...) {
      Logtrace::m_logStatInfo("a listener of results failed\n");
    }
  }
}

}  // namespace tarvio
