#pragma once
/// \file Callable.h
/// Base of objects that want to be called on events: their registrations go with them.

#include <list>
#include <map>
#include <string>

#include "Common/CallBackCenter.h"

namespace tarvio {

/// An object is the owner of its registrations, so it can be neither copied nor moved. It belongs to
/// the thread that evokes the events.
class Callable {
 public:
  Callable() = default;
  Callable(const Callable&) = delete;
  Callable& operator=(const Callable&) = delete;
  virtual ~Callable();

  void m_register(const std::string& event, const CallBack& callback);
  /// Removes one registration in the center and in the own record.
  void m_remove(const std::string& event, const CallBack& callback);
  /// The own record alone, for those who have changed the center already.
  void m_remove_native(const std::string& event, const CallBack& callback);

 private:
  std::map<std::string, std::list<CallBack>> m_registered;  ///< by event
};

}  // namespace tarvio
