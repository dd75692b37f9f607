#pragma once
/// \file ObservationAccount.h
/// What became of every code and phase value that came in: the fates of an epoch and their running
/// totals by system.
///
/// Every value has exactly one fate, so that for each system
///
///   in = used + sum over the reasons
///
/// holds by construction. A value is `open` from its arrival until a step takes it out; what a step has
/// taken out is settled right behind that step, when the cause is still known. Nothing is done, and no
/// table is touched, in an epoch that was not opened.

#include <vector>

#include "Common/Constants.h"
#include "GNX_SDK_ext.h"
#include "Records/Rnxobs.h"

namespace tarvio {

class OrbitClkAdapter;

using GNX_EXT::Fate;
using GNX_EXT::Reason;

/// The word for a fate in the diagnostics.
const char* s_fateName(Fate fate);
/// Why a signal went before it reached the filter, by its RejectReason.
Fate s_fateOfFlag(int flag, Fate otherwise);
/// Why a satellite row has no product at an epoch; `otherwise` when it lacks none or nobody can be asked.
Fate s_productFate(OrbitClkAdapter* products, int isat, int mjd, double sod, Fate otherwise);
/// Whether an option string asks for lines that need the account.
bool s_wantsAccount(const char* options);

class ObservationAccount {
 public:
  static constexpr char kLetters[] = "GRECJS?";  ///< BeiDou is one system here
  static constexpr int kSystems = 7;
  static constexpr int kFates = static_cast<int>(Fate::count);

  /// Opens an epoch, or closes the account for it when it is not wanted.
  void m_begin(bool wanted);
  bool m_isOpen() const { return m_on; }
  /// Whether the open epoch is made of this record.
  bool m_isOf(const Rnxobs* obs) const { return m_on && m_source == obs; }

  /// `n` values that never reach the record; `letter` is the system's in a satellite name.
  void m_refuse(char letter, Fate fate, int n);
  /// The values of the record. With `flagged`, signals that were cleared before count too.
  void m_arrive(const Rnxobs& obs, bool flagged = false);
  /// Behind the screening, and behind the biases.
  void m_settleScreened(const Rnxobs& obs);
  void m_settleBiased(const Rnxobs& obs, OrbitClkAdapter* products);

  /// Asks `judge(isat, place)` about every open value; the answer Fate::open leaves it in.
  template <typename Judge>
  void m_settle(Judge judge) {
    if (!m_on) return;
    for (const int isat : m_arrived)
      for (int place = 0; place < kObs; ++place)
        if (Fate& fate = m_fates[isat][place]; fate == Fate::open) fate = judge(isat, place);
  }
  /// Adds the epoch to the totals and ends it.
  void m_close();

  /// Fate of a value of the open epoch; places are those of Rnxobs::m_obs.
  Fate m_fate(int isat, int place) const { return m_fates[isat][place]; }
  long m_total(int system, Fate fate) const { return m_totals[system][static_cast<int>(fate)]; }
  /// Values of the epoch that was opened last, with those that never reached its record; behind m_close.
  long m_inEpoch(int system, Fate fate) const {
    return m_total(system, fate) - m_before[system][static_cast<int>(fate)];
  }
  /// Values of a system that came in since the start.
  long m_in(int system) const;

 private:
  bool m_on = false;
  const Rnxobs* m_source = nullptr;
  Fate m_fates[kMaxSat][kObs] = {};
  std::vector<int> m_arrived;  ///< rows of satellites that have values
  long m_totals[kSystems][kFates] = {};
  long m_before[kSystems][kFates] = {};  ///< totals when the epoch was opened
};

}  // namespace tarvio
