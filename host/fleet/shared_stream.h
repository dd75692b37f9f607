#pragma once
/// \file shared_stream.h
/// A stream that several stations use: decoded once, its records as frames for all of them. What a station
/// that starts later needs is kept.

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "fleet/station_frames.h"
#include "flow/arrival_queue.h"

namespace gnx {

class SharedStream {
 public:
  /// Takes frames for those who use the stream.
  using Give = std::function<void(const Posted& posted)>;
  /// Takes broadcast messages, for the decoders of other streams.
  using Teach = std::function<void(const RtcmRecord& message)>;

  /// \param reference  a moment within half a week of the first message
  SharedStream(int number, const GpsTime& reference, Give give, Teach teach);

  void take(const GpsTime& arrival, std::span<const std::uint8_t> bytes);
  /// The clock shows this time: what waits for more that does not come is handed over.
  void tick(const GpsTime& now);
  void learn(const RtcmRecord& message);

  /// Messages of all satellites and the corrections of the last minutes, in the order in which they came.
  std::vector<Posted> kept() const;
  const RtcmCounts& counts() const { return m_decoder.counts(); }

 private:
  void collect(const RtcmRecord& record);
  void handOver();
  void keepMessage(const std::string& satellite, const std::string& frames);
  void forget();

  int m_number;
  Give m_give;
  Teach m_teach;
  RtcmDecoder m_decoder;
  GpsTime m_now;
  std::optional<GpsTime> m_heard;  ///< since the decoder was flushed
  std::string m_frames, m_others;  ///< of this arrival: all, those that are no broadcast messages
  std::map<std::string, std::deque<Posted>> m_messages;  ///< by satellite and kind, newest last
  std::deque<Posted> m_recent;
};

}  // namespace gnx
