// Decodes a stream for all stations that use it.

#include "fleet/shared_stream.h"

#include <algorithm>
#include <utility>

namespace gnx {

namespace {

constexpr double kBurstEnd_s = 0.5, kFrameRest_s = 3.0;  ///< as a station of its own waits
constexpr double kRecent_s = 300.0;                      ///< biases come that seldom
constexpr double kMessages_s = 4.0 * 3600.0;             ///< a message is of use so long
constexpr std::size_t kMessagesKept = 2;                 ///< corrections may still refer to the one before

}  // namespace

SharedStream::SharedStream(int number, const GpsTime& reference, Give give, Teach teach)
    : m_number(number),
      m_give(std::move(give)),
      m_teach(std::move(teach)),
      m_decoder([this](const RtcmRecord& record) { collect(record); }, reference) {}

void SharedStream::take(const GpsTime& arrival, std::span<const std::uint8_t> bytes) {
  m_now = std::max(m_now, arrival);
  m_decoder.feed(bytes);
  m_heard = m_now;
  handOver();
}

void SharedStream::tick(const GpsTime& now) {
  m_now = std::max(m_now, now);
  if (!m_heard || m_now - *m_heard < (m_decoder.inFrame() ? kFrameRest_s : kBurstEnd_s)) return;
  m_heard.reset();
  m_decoder.flush();
  handOver();
}

void SharedStream::learn(const RtcmRecord& message) {
  if (const auto* eph = std::get_if<BroadcastEph>(&message)) m_decoder.learn(*eph);
  else if (const auto* glonass = std::get_if<GlonassEph>(&message)) m_decoder.learn(*glonass);
}

void SharedStream::collect(const RtcmRecord& record) {
  if (travellingKind(record) == TravellingRecord::none) return;
  std::string frame;
  addFrame(frame, StationFrame::record, m_number, m_now, record);
  m_frames += frame;
  const auto* eph = std::get_if<BroadcastEph>(&record);
  const auto* glonass = std::get_if<GlonassEph>(&record);
  if (eph == nullptr && glonass == nullptr) {
    m_others += frame;
    return;
  }
  keepMessage(eph != nullptr ? eph->sat + "/" + std::to_string(eph->code) : glonass->sat, frame);
  m_teach(record);
}

void SharedStream::handOver() {
  if (m_frames.empty()) return;
  m_give({m_now, std::make_shared<const std::string>(std::exchange(m_frames, {}))});
  if (!m_others.empty())
    m_recent.push_back({m_now, std::make_shared<const std::string>(std::exchange(m_others, {}))});
  forget();
}

/// Casters repeat messages; a repetition only makes the one that is kept younger.
void SharedStream::keepMessage(const std::string& satellite, const std::string& frame) {
  constexpr std::size_t kTimes =
      sizeof(FrameHead) + sizeof(int) + sizeof(GpsTime);  // differ with each arrival
  std::deque<Posted>& kept = m_messages[satellite];
  const auto same = [&](const Posted& posted) {
    return std::string_view(*posted.frames).substr(kTimes) == std::string_view(frame).substr(kTimes);
  };
  std::erase_if(kept, same);
  kept.push_back({m_now, std::make_shared<const std::string>(frame)});
  if (kept.size() > kMessagesKept) kept.pop_front();
}

void SharedStream::forget() {
  while (!m_recent.empty() && m_now - m_recent.front().time > kRecent_s) m_recent.pop_front();
  std::erase_if(m_messages,
                [this](const auto& item) { return m_now - item.second.back().time > kMessages_s; });
}

std::vector<Posted> SharedStream::kept() const {
  std::vector<Posted> all(m_recent.begin(), m_recent.end());
  for (const auto& [satellite, kept] : m_messages) all.insert(all.end(), kept.begin(), kept.end());
  std::ranges::stable_sort(all, [](const Posted& a, const Posted& b) { return a.time < b.time; });
  return all;
}

}  // namespace gnx
