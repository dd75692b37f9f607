#pragma once
/// \file StatusCondition.h
/// A condition that lasts over epochs and is told in the status log once when it begins and once when it
/// ends.

namespace tarvio {

class StatusCondition {
 public:
  enum class Change { none, begins, ends };
  /// \param holds  whether the condition holds in this epoch  \return what there is to tell
  Change m_update(bool holds) {
    const Change change = holds == m_holds ? Change::none : holds ? Change::begins : Change::ends;
    m_holds = holds;
    return change;
  }

 private:
  bool m_holds = false;
};

}  // namespace tarvio
