#pragma once
/// \file Results.h
/// Hands the solution of every epoch to those who listen.

#include <map>

#include "GNX_SDK_ext.h"

namespace tarvio {

class Controller;

class Results {
 public:
  /// Registrations outlive the engine.
  static Results& s_getInstance();

  /// \param number  its name for m_drop
  void m_add(int number, GNX_EXT::ResultListener listener) { m_listeners[number] = std::move(listener); }
  bool m_drop(int number) { return m_listeners.erase(number) > 0; }
  bool m_wanted() const { return !m_listeners.empty(); }
  /// Behind the estimate, while the rows of the epoch stand.
  void m_epoch(Controller& controller);

 private:
  std::map<int, GNX_EXT::ResultListener> m_listeners;
  GNX_EXT::Result m_record;  ///< of the last epoch, kept for its storage
};

}  // namespace tarvio
