#pragma once
/// \file ResumeTrial.h
/// Whether the arcs of a saved state still hold when a run goes on behind a gap.
///
/// The tests for slips compare each satellite with itself, across the gap too: they do not see an antenna
/// that was moved, nor a slip that leaves their combinations alone. Here the phases of the first epoch are
/// predicted by the state with its ambiguities, and the misfit of each satellite is asked for: with the
/// rows of the epoch below the triangle, what is left of them behind the reflections is all that the state
/// does not explain. A satellite whose phases are off in common begins anew; when those are many, or when a
/// moved antenna explains the rest, everything does. A satellite that the others do not test begins anew as
/// well.

#include <bitset>
#include <string>
#include <vector>

#include "Common/Constants.h"

namespace tarvio {

class SrifFilter;

class ResumeTrial {
 public:
  /// A state of an earlier run has been taken over.
  void m_begin(const SrifFilter& filter);
  /// Whether arcs wait for their trial.
  bool m_isPending() const { return m_pending; }

  /// Judges an epoch whose rows stand below the triangle.
  struct Verdict {
    std::string anew;         ///< why everything begins anew; "" = it goes on
    std::vector<int> broken;  ///< satellites whose arcs end
    int held = 0;             ///< satellites that have passed
    bool m_isClean() const { return anew.empty() && broken.empty(); }
  };
  Verdict m_judge(const SrifFilter& filter);

 private:
  struct Tested {
    int isat = -1;
    std::vector<double> column;  ///< what a common shift of its phases looks like
  };
  std::vector<double> m_reduce(const SrifFilter& filter);
  void m_search(std::vector<double>& misfit, Verdict& verdict);
  std::string m_moved(const std::vector<double>& misfit) const;

  bool m_pending = false, m_first = true;
  double m_last = 0.0, m_unit = 1.0;  ///< s, of the saved state; sigma of unit weight
  std::bitset<kMaxSat> m_waiting;     ///< satellites with arcs that have not been tested
  std::vector<Tested> m_tested;
  std::vector<double> m_shift[3];  ///< the same for a shift of the antenna
};

}  // namespace tarvio
