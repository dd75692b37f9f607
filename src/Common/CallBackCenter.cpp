// Registers, calls and forgets listeners, also while they are being called.

#include "Common/CallBackCenter.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "Common/Callable.h"

namespace tarvio {

CallBackCenter::Registrations CallBackCenter::m_task;

bool CallBack::operator==(const CallBack& other) const {
  if (m_function == other.m_function) return true;
  using Plain = void (*)(const KvContainer&);
  const Plain* mine = m_function->target<Plain>();
  const Plain* theirs = other.m_function->target<Plain>();
  return mine != nullptr && theirs != nullptr && *mine == *theirs;
}

void CallBackCenter::m_register(const std::string& event, void* owner, const CallBack& callback) {
  m_task[event][owner].push_back(callback);
}

void CallBackCenter::m_remove(const std::string& event, void* owner, const CallBack& callback) {
  const auto owners = m_task.find(event);
  if (owners == m_task.end()) return;
  const auto own = owners->second.find(owner);
  if (own == owners->second.end()) return;
  const auto found = std::find(own->second.begin(), own->second.end(), callback);
  if (found != own->second.end()) own->second.erase(found);
  if (own->second.empty()) owners->second.erase(own);
  if (owners->second.empty()) m_task.erase(owners);
}

void CallBackCenter::m_remove(Callable* owner) {
  for (auto event = m_task.begin(); event != m_task.end();) {
    event->second.erase(owner);
    event = event->second.empty() ? m_task.erase(event) : std::next(event);
  }
}

void CallBackCenter::m_evoke(const std::string& event, const KvContainer& content) {
  const auto registered = m_task.find(event);
  if (registered == m_task.end()) return;
  // Callbacks may change the table, so the calls are made from a list of what stood in it.
  std::vector<std::pair<void*, CallBack>> calls;
  for (const auto& [owner, callbacks] : registered->second)
    for (const CallBack& callback : callbacks) calls.emplace_back(owner, callback);
  for (const auto& [owner, callback] : calls) {
    const auto owners = m_task.find(event);
    if (owners == m_task.end()) return;
    const auto own = owners->second.find(owner);
    if (own == owners->second.end()) continue;
    if (std::find(own->second.begin(), own->second.end(), callback) != own->second.end()) callback(content);
  }
}

}  // namespace tarvio
