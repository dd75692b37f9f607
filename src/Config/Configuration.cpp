// The configuration in force.

#include "Config/Configuration.h"

#include <atomic>

#include "Common/Fatal.h"
#include "Common/Logtrace.h"

namespace tarvio {

namespace {

/// Feeder threads may still log and look times up while the engine is being stopped.
std::atomic<Deploy*> s_inForce{nullptr};

}  // namespace

const Deploy& s_config() {
  if (const Deploy* deploy = s_inForce.load(std::memory_order_acquire); deploy != nullptr) return *deploy;
  static const Deploy kDefaults;
  return kDefaults;
}

Satellite& s_epochSatellite(int isat) {
  return s_inForce.load(std::memory_order_acquire)->m_satellites[static_cast<std::size_t>(isat)];
}

void s_setConfig(Deploy* deploy) { s_inForce.store(deploy, std::memory_order_release); }

const std::string* s_tableFile(const char* key) {
  const auto& table = s_config().m_fileTable;
  const auto item = table.find(key);
  return item == table.end() ? nullptr : &item->second;
}

const std::string& s_requiredTableFile(const char* function, int line, const char* key, const char* text) {
  if (const std::string* path = s_tableFile(key); path != nullptr) return *path;
  char message[256];
  std::snprintf(message, sizeof message, text, key);
  Logtrace::m_logTrace(4, "[%s,%d]: %s", function, line, message);
  s_fatal(function, line, "%s", message);
}

}  // namespace tarvio
