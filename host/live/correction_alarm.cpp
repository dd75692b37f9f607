// Looks at the corrections of a live run every ten minutes.

#include "live/correction_alarm.h"

#include <utility>

namespace gnx {

namespace {

constexpr double kLook_s = 600.0;
constexpr double kWindow_s = 3600.0;  ///< what a caster sends may become another

}  // namespace

void CorrectionAlarm::take(const ObsEpoch& epoch, const Solution& solution, const std::string& source) {
  if (source != m_source) {
    m_source = source;
    m_told.clear();
    m_watch.beginAnew();
    m_begin = m_looked = epoch.time;
  }
  m_watch.take(epoch, solution);
  look(epoch.time);
}

void CorrectionAlarm::look(const GpsTime& now) {
  if (!m_looked || now - *m_looked < kLook_s) return;
  m_looked = now;
  for (const auto& [fault, sentence] : m_watch.faults())
    if (m_told.insert(fault).second) m_say("warning: corrections of " + m_source + ": " + sentence);
  if (now - *m_begin < kWindow_s) return;
  m_begin = now;
  m_watch.beginAnew();
}

}  // namespace gnx
