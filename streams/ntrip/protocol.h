#pragma once
/// \file protocol.h
/// What is said to a caster and what it answers (NTRIP 1 and 2, RTCM 10410): text and bytes alone, no socket.
/// A caster may send anything; what is kept of it is bounded.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "link/credentials.h"
#include "link/stream_url.h"

namespace gnx {

/// The request for the stream of a URL; without a mountpoint, for the table of the caster's streams.
std::string ntripRequest(const StreamUrl& url, const std::optional<Login>& login, int version,
                         const std::string& gga);

/// What a caster's answer turned out to be.
enum class NtripAnswer { waiting, stream, table, refused };

/// Reads the head of an answer, then passes on the bytes behind it, freed of chunks.
class NtripReader {
 public:
  /// Takes bytes as they come; what belongs to the content is appended to `content`.
  NtripAnswer take(std::span<const std::uint8_t> bytes, std::vector<std::uint8_t>& content);
  NtripAnswer answer() const { return m_answer; }
  /// Why it was refused, a sentence.
  const std::string& refusal() const { return m_refusal; }
  /// The last chunk has come.
  bool ended() const { return m_chunk == Chunk::ended; }

 private:
  enum class Chunk { none, size, data, behindData, ended, damaged };

  std::size_t endOfHead() const;
  void judge(const std::string& head);
  void judgeStatus(const std::string& line, const std::string& lowerHead);
  void refuse(const std::string& why);
  void unchunk(std::span<const std::uint8_t> bytes, std::vector<std::uint8_t>& content);
  void takeSize(std::uint8_t byte);

  std::string m_head;
  NtripAnswer m_answer = NtripAnswer::waiting;
  std::string m_refusal;
  Chunk m_chunk = Chunk::none;
  std::string m_sizeLine;
  std::size_t m_left = 0;  ///< of the chunk
};

/// A stream of a caster's table.
struct Mountpoint {
  std::string name, identifier, format, system, network, country;
};
/// The streams of a source table; damaged lines are passed over.
std::vector<Mountpoint> mountpointsOf(const std::string& table);

/// "" unless the first bytes of a stream are those of a page or of a source table; then what they are.
std::string textInsteadOfStream(std::span<const std::uint8_t> bytes);

}  // namespace gnx
