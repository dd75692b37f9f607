// Carries corrections on.

#include "corrections/issue_bridge.h"

namespace gnx {

namespace {

OrbitClockCorrection carriedOn(const OrbitClockCorrection& last, double seconds) {
  OrbitClockCorrection c = last;
  for (std::size_t i = 0; i < 3; ++i) c.deph[i] += c.ddeph[i] * seconds;
  c.dclk[0] += (c.dclk[1] + c.dclk[2] * seconds) * seconds;
  c.dclk[1] += 2.0 * c.dclk[2] * seconds;
  return c;
}

}  // namespace

void IssueBridge::apply(CorrectionBatch& batch, const MessageBook& messages, const Otherwise& otherwise) {
  std::erase_if(batch.orbitClock, [&](OrbitClockCorrection& c) {
    if (c.sat[0] == 'R') return false;  // their messages are not kept here
    if (messages.find(c.sat, c.iod, batch.tag) != nullptr) {
      m_last[c.sat] = {c, batch.tag};
      return false;
    }
    const auto last = m_last.find(c.sat);
    const bool fresh = last != m_last.end() && batch.tag - last->second.tag <= m_longest_s;
    if (fresh) c = carriedOn(last->second.correction, batch.tag - last->second.tag);
    ++(fresh ? m_bridged : m_without);
    return !fresh && !(otherwise && otherwise(c));
  });
}

}  // namespace gnx
