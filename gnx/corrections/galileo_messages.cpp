// Holds corrected Galileo clocks against the messages of both kinds where the issue of data changes.

#include "corrections/galileo_messages.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>

#include "formats/ssr_text.h"
#include "gnx/signal.h"
#include "text/printed.h"

namespace gnx {

namespace {

constexpr int kFnavBit = 2;               ///< of the data source
constexpr double kNear_s = 4.0 * 3600.0;  ///< between a message and its use
constexpr double kGap_s = 30.0;           ///< clocks of longer steps drift too far

bool isFnav(const BroadcastEph& eph) { return (eph.code & kFnavBit) != 0; }

/// The messages of one issue.
struct Kinds {
  const BroadcastEph *fnav = nullptr, *inav = nullptr;
};

/// A clock of the stream and its message's.
struct Clock {
  GpsTime time;
  int issue = 0;
  double c0_m = 0.0;
};

/// What a clock steps by with F/NAV, and how much more that is than with I/NAV, m.
struct Step {
  double withFnav = 0.0, difference = 0.0;
};

class ClockSteps {
 public:
  explicit ClockSteps(const NavData& messages) {
    for (const BroadcastEph& e : messages.keplerian)
      if (e.sat[0] == 'E') m_messages[e.sat].push_back(&e);
  }

  void add(const SsrBlock& block) {
    std::vector<Step> steps;
    int changes = 0;
    for (const SsrClock& c : block.clocks) {
      if (c.sat[0] != 'E') continue;
      const Clock now{block.time, c.iod, c.c[0]};
      const auto before = m_last.find(c.sat);
      if (before != m_last.end() && now.time - before->second.time <= kGap_s)
        if (const auto step = stepOf(c.sat, before->second, now)) {
          steps.push_back(*step);
          changes += now.issue != before->second.issue ? 1 : 0;
        }
      m_last[c.sat] = now;
    }
    if (changes > 0 && steps.size() > 1) sum(steps, changes);
  }

  GalileoEvidence evidence() const {
    GalileoEvidence e;
    e.changes = m_changes;
    if (m_changes < 3 || m_dd <= 0.0) return e;
    e.share = m_fd / m_dd;
    e.sigma = std::sqrt(std::max(0.0, m_ff - e.share * m_fd) / (m_changes - 1) / m_dd);
    return e;
  }

 private:
  Kinds find(const SatName& sat, int issue, const GpsTime& t) const {
    Kinds kinds;
    const auto found = m_messages.find(sat);
    if (found == m_messages.end()) return kinds;
    for (const BroadcastEph* e : found->second) {
      if (issueOfData(*e) != issue || std::fabs(t - e->toe) > kNear_s) continue;
      (isFnav(*e) ? kinds.fnav : kinds.inav) = e;
    }
    return kinds;
  }

  std::optional<Step> stepOf(const SatName& sat, const Clock& before, const Clock& now) const {
    const double sent_m = now.c0_m - before.c0_m;
    if (now.issue == before.issue) return Step{sent_m, 0.0};
    const Kinds old = find(sat, before.issue, now.time), fresh = find(sat, now.issue, now.time);
    if (!old.fnav || !old.inav || !fresh.fnav || !fresh.inav) return std::nullopt;
    const auto step_m = [&](const BroadcastEph& from, const BroadcastEph& to) {
      return kLightSpeed * (broadcastClock(to, now.time) - broadcastClock(from, now.time));
    };
    const double fnav = step_m(*old.fnav, *fresh.fnav);
    return Step{fnav + sent_m, fnav - step_m(*old.inav, *fresh.inav)};
  }

  /// What all satellites have in common is the time scale's.
  void sum(const std::vector<Step>& steps, int changes) {
    Step mean;
    for (const Step& s : steps) mean.withFnav += s.withFnav, mean.difference += s.difference;
    const auto n = static_cast<double>(steps.size());
    for (const Step& s : steps) {
      const double f = s.withFnav - mean.withFnav / n, d = s.difference - mean.difference / n;
      m_ff += f * f;
      m_fd += f * d;
      m_dd += d * d;
    }
    m_changes += changes;
  }

  std::map<SatName, std::vector<const BroadcastEph*>> m_messages;
  std::map<SatName, Clock> m_last;
  double m_ff = 0.0, m_fd = 0.0, m_dd = 0.0;
  int m_changes = 0;
};

}  // namespace

GalileoEvidence galileoEvidence(const std::vector<std::string>& ssrFiles, const NavData& messages) {
  ClockSteps steps(messages);
  for (const std::string& file : ssrFiles) {
    SsrTextReader reader(file);
    for (SsrBlock block; reader.next(block);)
      if (block.kind == SsrKind::clock) steps.add(block);
  }
  return steps.evidence();
}

void useInav(NavData& messages) {
  std::erase_if(messages.keplerian, [](const BroadcastEph& e) { return e.sat[0] == 'E' && isFnav(e); });
  for (BroadcastEph& e : messages.keplerian)
    if (e.sat[0] == 'E') e.code |= kFnavBit;
}

std::string chooseGalileoMessages(const std::vector<std::string>& ssrFiles, NavData& messages,
                                  GalileoKind kind) {
  if (kind == GalileoKind::fnav) return "";
  const auto has = [&](bool fnav) {
    return std::ranges::any_of(messages.keplerian,
                               [&](const BroadcastEph& e) { return e.sat[0] == 'E' && isFnav(e) == fnav; });
  };
  if (!has(false)) return "";
  if (kind == GalileoKind::inav || !has(true)) {
    useInav(messages);
    return kind == GalileoKind::inav
               ? "Galileo: messages of I/NAV are taken, as the deployment says"
               : "Galileo: the messages are I/NAV alone and are taken for those that the "
                 "corrections name";
  }
  const GalileoEvidence evidence = galileoEvidence(ssrFiles, messages);
  if (!evidence.inav()) return "";
  useInav(messages);
  return printed(
      "Galileo corrections refer to I/NAV: that is what %d changes of issue say (%.2f +- %.2f, 0 would be "
      "F/NAV and "
      "1 is I/NAV)",
      evidence.changes, evidence.share, evidence.sigma);
}

}  // namespace gnx
