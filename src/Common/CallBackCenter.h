#pragma once
/// \file CallBackCenter.h
/// Process-wide table of events: who wants to be called when something named happens.
///
/// No lock: registration and evocation belong to one thread. A callback may register and remove while
/// its event is being evoked, its own registration included: what it removes is not called any more,
/// what it adds is called from the next evocation on. An exception of a callback ends the evocation
/// and reaches the caller.

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "Common/KvContainer.h"

namespace tarvio {

class Callable;

/// A function that takes the content of an event. Copies of one callback are equal, and so are two
/// callbacks of the same plain function: this is how a registration is found again to be removed.
class CallBack {
 public:
  using Function = std::function<void(const KvContainer&)>;

  template <class F, class = std::enable_if_t<!std::is_same_v<std::decay_t<F>, CallBack>>>
  CallBack(F&& function) : m_function(std::make_shared<const Function>(std::forward<F>(function))) {}

  void operator()(const KvContainer& content) const { (*m_function)(content); }
  bool operator==(const CallBack& other) const;

 private:
  std::shared_ptr<const Function> m_function;
};

class CallBackCenter {
 public:
  using CallBacks = std::list<CallBack>;                ///< of one owner, in order of registration
  using Owners = std::map<void*, CallBacks>;            ///< of one event
  using Registrations = std::map<std::string, Owners>;  ///< by event; no entry is ever empty

  /// The same callback may be registered more than once, and is called as often.
  static void m_register(const std::string& event, void* owner, const CallBack& callback);
  /// Removes one registration, the oldest of equal ones, and the entries that it leaves empty.
  static void m_remove(const std::string& event, void* owner, const CallBack& callback);
  /// Removes all registrations of an owner. The owner's own records stay as they are.
  static void m_remove(Callable* owner);
  /// Calls every callback of the event, by owner (in order of address), then by registration.
  static void m_evoke(const std::string& event, const KvContainer& content);

  static Registrations m_task;
};

}  // namespace tarvio
