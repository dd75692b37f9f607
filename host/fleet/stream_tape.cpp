// Writes a stream to two files in turn and reads them again.

#include "fleet/stream_tape.h"

#include <array>
#include <cstring>
#include <optional>
#include <vector>

#include "flow/run_clock.h"
#include "gnx/error.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

constexpr double kPart_s = 300.0;                            ///< in one file
constexpr double kOldest_s = 600.0;                          ///< that is taken again
constexpr std::uint32_t kLargest = 1U << 20;                 ///< piece
constexpr std::int64_t kMostBytes = std::int64_t{64} << 20;  ///< of a file

struct PieceHead {
  std::int64_t time_ms = 0;
  std::uint32_t size = 0, spare = 0;
};

/// The next piece; nothing at the end and at damage.
std::optional<GpsTime> readPiece(std::ifstream& in, std::vector<std::uint8_t>& bytes) {
  PieceHead head;
  std::array<char, sizeof head> raw{};
  if (!in.read(raw.data(), raw.size())) return std::nullopt;
  std::memcpy(&head, raw.data(), sizeof head);
  if (head.size == 0 || head.size > kLargest) return std::nullopt;
  bytes.resize(head.size);
  if (!in.read(reinterpret_cast<char*>(bytes.data()), head.size)) return std::nullopt;
  return ofMilliseconds(head.time_ms);
}

}  // namespace

StreamTape::StreamTape(const fs::path& file) : m_file(file) {
  const auto begin = [&](int number) {
    std::ifstream in(part(number), std::ios::binary);
    std::vector<std::uint8_t> bytes;
    return readPiece(in, bytes).value_or(GpsTime{});
  };
  // Goes on in the older one, so that the younger one is still there.
  if (begin(1) < begin(0)) m_part = 1;
}

fs::path StreamTape::part(int number) const { return m_file.string() + "." + std::to_string(number); }

void StreamTape::replay(const GpsTime& now, const Take& take) const {
  for (const int number : {m_part, 1 - m_part}) {
    std::ifstream in(part(number), std::ios::binary);
    std::vector<std::uint8_t> bytes;
    while (const auto time = readPiece(in, bytes))
      if (now - *time >= 0.0 && now - *time < kOldest_s) take(*time, bytes);
  }
}

void StreamTape::open() {
  m_out.close();
  m_out.open(part(m_part), std::ios::binary | std::ios::trunc);
  if (!m_out)
    throw InputError(part(m_part).string(), 0, "cannot be written; check the folder and the free space");
}

void StreamTape::write(const GpsTime& arrival, std::span<const std::uint8_t> bytes) {
  if (bytes.empty() || bytes.size() > kLargest) return;
  if (!m_out.is_open() || arrival - m_begun > kPart_s || m_out.tellp() > kMostBytes) {
    if (m_out.is_open()) m_part = 1 - m_part;
    open();
    m_begun = arrival;
  }
  const PieceHead head{toMilliseconds(arrival), static_cast<std::uint32_t>(bytes.size()), 0};
  m_out.write(reinterpret_cast<const char*>(&head), sizeof head);
  m_out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  m_out.flush();
}

}  // namespace gnx
