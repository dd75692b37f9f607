#pragma once
/// \file NoSolution.h
/// Why epochs have no solution (state kStateNone). What each step of an epoch found is noted as it goes; the
/// status log tells the reason once when epochs without a solution begin, and that they end.

#include <string>

#include "Common/Constants.h"
#include "Core/Filter/ObservationAccount.h"
#include "Core/Filter/StatusCondition.h"

namespace tarvio {

class SrifFilter;
struct Station;

class NoSolution {
 public:
  /// Satellites of one system without which an epoch is of no use.
  static constexpr int kLeastSatellites = 5;

  /// Before the model: what was observed, and for which of it there are orbit and clock.
  void m_noteInput(const SrifFilter& filter);
  void m_notePosition(bool known) { m_positioned = known; }
  /// Satellites with residuals, by system.
  void m_noteUseful(const int (&count)[kSys]);
  /// Behind the estimate.
  void m_tell(const SrifFilter& filter);
  /// What an epoch without a solution lacked first, in the order of its steps, and the sentence for it.
  Reason m_reason(const SrifFilter& filter) const;
  std::string m_sentence(const SrifFilter& filter) const;

 private:
  std::string m_satellites() const;

  int m_observed = 0, m_refused = 0, m_served = 0;  ///< satellites
  Fate m_refusal = Fate::open;                      ///< of most that were refused before the filter
  Fate m_lacking = Fate::open;                      ///< what most of those observed lack
  bool m_positioned = false;
  int m_useful[kSys] = {};
  StatusCondition m_condition;
};

}  // namespace tarvio
