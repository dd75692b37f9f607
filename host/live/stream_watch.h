#pragma once
/// \file stream_watch.h
/// How steadily the streams of a run bring their bytes.

#include <array>
#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "record/recording.h"

namespace gnx {

/// A stream at one moment.
struct StreamState {
  std::string name;
  int roles = 0;  ///< of LiveRole
  std::int64_t bytes = 0;
  double bytesPerSecond = 0.0;     ///< over the last ten seconds
  std::optional<double> silent_s;  ///< since the last bytes, by the machine's clock; none: nothing has come
  int gaps = 0;                    ///< silences of more than ten seconds of the run's time, ended ones
  double longestGap_s = 0.0;       ///< of these
};

class StreamWatch {
 public:
  using Clock = std::chrono::steady_clock;
  void take(const RecordedEvent& event, Clock::time_point now);
  /// In the order of their coming.
  std::vector<StreamState> states(Clock::time_point now) const;

 private:
  static constexpr std::size_t kRateSeconds = 10;
  struct Stream {
    StreamState state;
    std::optional<GpsTime> heard;
    Clock::time_point begun, last;
    std::array<std::int64_t, kRateSeconds + 1> second{},
        bytes{};  ///< bytes that came in a second of the clock
  };
  static double rateOf(const Stream& stream, Clock::time_point now);
  std::map<int, Stream> m_streams;
};

}  // namespace gnx
