// Chooses among sources.

#include "live/source_choice.h"

#include <algorithm>

namespace gnx {

namespace {

constexpr double kDelay_s = 3.0;  ///< by which an update may be late

}  // namespace

double SourceChoice::longest_s(const Candidate& c) const {
  return std::max(m_failover_s, c.interval_s + kDelay_s);
}

bool SourceChoice::works(const Candidate& c, const GpsTime& now) const {
  return c.last && now - *c.last <= longest_s(c);
}

void SourceChoice::remove(int number) {
  m_sources.erase(number);
  if (m_chosen == number) m_chosen.reset();
}

void SourceChoice::note(int number, const GpsTime& now, double interval_s) {
  Candidate& c = m_sources.at(number);
  if (!works(c, now)) c.since = now;
  c.last = now;
  c.interval_s = interval_s;
}

bool SourceChoice::decide(const GpsTime& now) {
  const auto current = m_chosen ? m_sources.find(*m_chosen) : m_sources.end();
  const bool holds = current != m_sources.end() && works(current->second, now);
  const std::pair<const int, Candidate>* best = nullptr;
  for (const auto& source : m_sources) {
    const bool ready = works(source.second, now) && (!holds || now - source.second.since >= m_back_s);
    if (ready && (best == nullptr || source.second.rank < best->second.rank)) best = &source;
  }
  if (best == nullptr || (holds && best->second.rank >= current->second.rank)) return false;
  if (!m_begun) m_begun = now;
  const bool better = std::ranges::any_of(
      m_sources, [&](const auto& source) { return source.second.rank < best->second.rank; });
  if (!m_chosen && better && now - *m_begun < m_failover_s) return false;
  const auto before = m_chosen;
  m_chosen = best->first;
  return before && before != m_chosen;
}

}  // namespace gnx
