// Cuts a file of RTCM where its messages end.

#include "record/timed_file.h"

#include <algorithm>
#include <deque>
#include <span>

#include "gnx/error.h"
#include "gnx/rtcm.h"
#include "text/byte_source.h"

namespace gnx {

namespace {

constexpr std::size_t kPiece = 65536, kLongestPiece = std::size_t{1} << 20;
constexpr std::size_t kSearched = std::size_t{1} << 22;  ///< bytes in which a date is looked for

/// When a record came at the earliest; nothing for one that says nothing of that.
std::optional<GpsTime> timeOf(const RtcmRecord& record) {
  if (const auto* epoch = std::get_if<RtcmEpoch>(&record)) return epoch->epoch.time;
  const auto* ssr = std::get_if<RtcmSsr>(&record);
  if (ssr == nullptr) return std::nullopt;
  // Some senders are off by the leap seconds with those of GLONASS.
  const auto others = [](const auto& list) { return !list.empty() && list.front().sat[0] != 'R'; };
  const SsrBlock& block = ssr->block;
  const bool dated = others(block.orbits) || others(block.clocks) || others(block.biases);
  return dated ? std::optional(block.time) : std::nullopt;
}

}  // namespace

std::optional<GpsTime> dateOf(const std::string& file) {
  std::optional<GpsTime> date;
  RtcmDecoder decoder([&](const RtcmRecord& record) {
    if (date) return;
    if (const auto* eph = std::get_if<BroadcastEph>(&record)) date = eph->toe;
    else date = timeOf(record);
  });
  const auto bytes = openBytes(file);
  std::vector<char> piece(kPiece);
  for (std::size_t read = 0; read < kSearched && !date;) {
    const std::size_t n = bytes->read(piece.data(), piece.size());
    if (n == 0) break;
    read += n;
    decoder.feed({reinterpret_cast<const std::uint8_t*>(piece.data()), n});
  }
  return date;
}

struct TimedFile::Impl {
  Impl(const std::string& file, const GpsTime& reference)
      : path(file), bytes(openBytes(file)), decoder([this](const RtcmRecord& r) { take(r); }, reference) {}

  void take(const RtcmRecord& record) {
    const auto time = timeOf(record);
    if (!time) return;
    const auto* epoch = std::get_if<RtcmEpoch>(&record);
    // An epoch that was not told to be complete is ended by the first message of the next one.
    cut = epoch != nullptr && !epoch->complete ? frameBegin : piece.size();
    last = std::max(last.value_or(*time), *time);
  }

  /// Frame by frame: with each byte at most one ends.
  void feed(std::uint8_t byte) {
    piece.push_back(byte);
    const auto frames = decoder.counts().frames;
    cut.reset();
    decoder.feed({&byte, 1});
    if (cut && *cut > 0) {
      const auto end = piece.begin() + static_cast<std::ptrdiff_t>(*cut);
      ready.push_back({-1, *last, {piece.begin(), end}});
      piece.erase(piece.begin(), end);
    }
    if (decoder.counts().frames != frames) frameBegin = piece.size();
    if (piece.size() >= kLongestPiece) giveRest();
  }

  void giveRest() {
    if (!piece.empty()) ready.push_back({-1, last.value_or(GpsTime{}), std::move(piece)});
    piece.clear();
    frameBegin = 0;
  }

  void read() {
    std::vector<char> buffer(kPiece);
    const std::size_t n = bytes->read(buffer.data(), buffer.size());
    for (const char c : std::span(buffer).first(n)) feed(static_cast<std::uint8_t>(c));
    if (n > 0) return;
    ended = true;
    if (!bytes->damage().empty()) throw InputError(path, 0, bytes->damage());
    if (decoder.counts().frames == 0) throw InputError(path, 0, "holds no message of RTCM 3");
    giveRest();
  }

  std::string path;
  std::unique_ptr<ByteSource> bytes;
  std::vector<std::uint8_t> piece;  ///< not cut off yet
  std::size_t frameBegin = 0;       ///< of the frame that is being read, in the piece
  std::optional<std::size_t> cut;
  std::optional<GpsTime> last;
  std::deque<Arrival> ready;
  bool ended = false;
  RtcmDecoder decoder;
};

TimedFile::TimedFile(const std::string& file, const GpsTime& reference)
    : m_impl(std::make_unique<Impl>(file, reference)) {}
TimedFile::~TimedFile() = default;
TimedFile::TimedFile(TimedFile&&) noexcept = default;
TimedFile& TimedFile::operator=(TimedFile&&) noexcept = default;

bool TimedFile::next(Arrival& arrival) {
  while (m_impl->ready.empty() && !m_impl->ended) m_impl->read();
  if (m_impl->ready.empty()) return false;
  arrival = std::move(m_impl->ready.front());
  m_impl->ready.pop_front();
  return true;
}

}  // namespace gnx
