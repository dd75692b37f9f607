#pragma once
/// \file live_start.h
/// What must be known before an engine starts, learned from the first records of the streams: the signals of
/// the receiver, those that the corrections have biases for, the antenna.

#include <map>
#include <optional>
#include <set>
#include <string>

#include "gnx/deployment.h"
#include "gnx/read.h"
#include "gnx/rtcm.h"

namespace gnx {

class LiveStart {
 public:
  LiveStart(const Deployment& deployment, double longest_s)
      : m_deployment(&deployment), m_longest_s(longest_s) {}

  /// Looks at a record that is taken.
  void look(const RtcmRecord& record, const GpsTime& now);
  /// Whether enough is known, or has been waited for long enough.
  bool ready(const GpsTime& now) const;
  /// When it will have been; nothing before the first epoch.
  std::optional<GpsTime> latest() const;
  StreamStart made() const;

 private:
  void lookAt(const ObsEpoch& epoch, const GpsTime& now);
  void lookAt(const SsrBlock& block);

  const Deployment* m_deployment;
  double m_longest_s;
  std::optional<GpsTime> m_firstEpoch, m_came;
  std::map<char, std::set<std::string>> m_types, m_corrected;
  std::set<char> m_withClocks;
  ObsHeader m_header;
};

}  // namespace gnx
