#pragma once
/// \file source_choice.h
/// Which of several sources of one kind is in use.

#include <map>
#include <optional>

#include "gnx/time.h"

namespace gnx {

/// The source of the lowest rank that works. One in use stays so while it works, until a better one has
/// worked for a while.
class SourceChoice {
 public:
  SourceChoice(double failover_s, double back_s) : m_failover_s(failover_s), m_back_s(back_s) {}

  void add(int number, int rank) { m_sources[number] = {rank, {}, {}, 0.0}; }
  void remove(int number);
  /// A source brings something new; the next is due behind `interval`, s.
  void note(int number, const GpsTime& now, double interval_s);
  /// Decides. \return whether the choice has changed; the first one is no change
  bool decide(const GpsTime& now);
  std::optional<int> chosen() const { return m_chosen; }

 private:
  struct Candidate {
    int rank = 0;
    std::optional<GpsTime> last;
    GpsTime since;  ///< working without a pause
    double interval_s = 0.0;
  };
  double longest_s(const Candidate& c) const;
  bool works(const Candidate& c, const GpsTime& now) const;

  double m_failover_s, m_back_s;
  std::map<int, Candidate> m_sources;
  std::optional<int> m_chosen;
  std::optional<GpsTime> m_begun;  ///< when one worked for the first time
};

}  // namespace gnx
