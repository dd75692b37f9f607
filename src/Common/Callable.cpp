// Removes what an object has registered when it goes.

#include "Common/Callable.h"

#include <algorithm>

namespace tarvio {

Callable::~Callable() { CallBackCenter::m_remove(this); }

void Callable::m_register(const std::string& event, const CallBack& callback) {
  CallBackCenter::m_register(event, this, callback);
  m_registered[event].push_back(callback);
}

void Callable::m_remove(const std::string& event, const CallBack& callback) {
  const auto own = m_registered.find(event);
  if (own == m_registered.end()) return;
  if (std::find(own->second.begin(), own->second.end(), callback) == own->second.end()) return;
  CallBackCenter::m_remove(event, this, callback);
  m_remove_native(event, callback);
}

void Callable::m_remove_native(const std::string& event, const CallBack& callback) {
  const auto own = m_registered.find(event);
  if (own == m_registered.end()) return;
  const auto found = std::find(own->second.begin(), own->second.end(), callback);
  if (found != own->second.end()) own->second.erase(found);
  if (own->second.empty()) m_registered.erase(own);
}

}  // namespace tarvio
