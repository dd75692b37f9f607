#pragma once
/// \file correction_alarm.h
/// Tells of a live run once what its corrections cannot be: orbits of another reference point, clocks with
/// the sign reversed.

#include <functional>
#include <optional>
#include <set>
#include <string>

#include "run/correction_watch.h"

namespace gnx {

class CorrectionAlarm {
 public:
  CorrectionAlarm(const Deployment& deployment, const GpsTime& date,
                  std::function<void(const std::string&)> say)
      : m_watch(deployment, date), m_say(std::move(say)) {}

  /// Messages and corrections of the run.
  void take(const Event& event) { m_watch.take(event); }
  /// An epoch and its solution. \param source  of the corrections, whose name comes with what is told
  void take(const ObsEpoch& epoch, const Solution& solution, const std::string& source);

 private:
  void look(const GpsTime& now);

  CorrectionWatch m_watch;
  std::function<void(const std::string&)> m_say;
  std::string m_source;
  std::set<CorrectionFault> m_told;  ///< of the source
  std::optional<GpsTime> m_begin, m_looked;
};

}  // namespace gnx
