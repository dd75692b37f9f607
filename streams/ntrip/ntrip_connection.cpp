// A stream of a caster: request, answer, positions sent on the way.

#include <algorithm>
#include <chrono>
#include <deque>

#include "gnx/error.h"
#include "link/connection.h"
#include "ntrip/ntrip_table.h"
#include "ntrip/protocol.h"

namespace gnx {

namespace {

constexpr int kAnswerTimeout_ms = 15000, kPiece_ms = 200;
constexpr std::size_t kLongestTable = 4 * 1024 * 1024;

class NtripConnection : public Connection {
 public:
  NtripConnection(const StreamUrl& url, const LinkContext& context, const std::string& gga)
      : m_link(connectTcp(url.host, url.port, url.scheme == StreamScheme::ntrips,
                          url.options.contains("ca") ? url.options.at("ca") : "", context.stop)) {
    const int version = static_cast<int>(url.number("version").value_or(context.ntripVersion));
    m_link->write(ntripRequest(url, context.credentials.of(url), version, gga));
    std::vector<std::uint8_t> piece(8192);
    for (int waited = 0; m_reader.answer() == NtripAnswer::waiting; waited += kPiece_ms) {
      if (context.stop || waited >= kAnswerTimeout_ms) throw ConnectionError("does not answer");
      const std::size_t n = m_link->read(piece, kPiece_ms);
      m_reader.take(std::span(piece).first(n), m_content);
    }
    if (m_reader.answer() == NtripAnswer::refused) throw ConnectionError(m_reader.refusal());
  }

  bool isTable() const { return m_reader.answer() == NtripAnswer::table; }

  std::size_t read(std::span<std::uint8_t> bytes, int timeout_ms) override {
    if (m_content.empty()) {
      if (m_reader.ended()) throw ConnectionError("has ended the stream");
      const std::size_t n = m_link->read(bytes, timeout_ms);
      m_reader.take(bytes.first(n), m_content);
      if (m_reader.answer() == NtripAnswer::refused) throw ConnectionError(m_reader.refusal());
    }
    const std::size_t n = std::min(m_content.size(), bytes.size());
    std::copy_n(m_content.begin(), n, bytes.begin());
    m_content.erase(m_content.begin(), m_content.begin() + static_cast<std::ptrdiff_t>(n));
    return n;
  }
  using Connection::write;
  void write(std::span<const std::uint8_t> bytes) override { m_link->write(bytes); }

 private:
  std::unique_ptr<Connection> m_link;
  NtripReader m_reader;
  std::vector<std::uint8_t> m_content;  ///< not handed on yet
};

std::string readTable(NtripConnection& connection) {
  std::string table;
  std::vector<std::uint8_t> piece(65536);
  try {
    while (table.size() < kLongestTable && table.find("ENDSOURCETABLE") == std::string::npos) {
      const std::size_t n = connection.read(piece, kAnswerTimeout_ms);
      if (n == 0) break;
      table.append(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(n));
    }
  } catch (const ConnectionError&) {  // a table ends with the connection
  }
  return table;
}

/// The first few names, for a message.
std::string someNames(const std::vector<Mountpoint>& streams) {
  constexpr std::size_t kShown = 12;
  std::string names;
  for (std::size_t i = 0; i < std::min(streams.size(), kShown); ++i)
    names += (i == 0 ? "" : ", ") + streams[i].name;
  return names + (streams.size() > kShown ? " and " + std::to_string(streams.size() - kShown) + " more" : "");
}

}  // namespace

std::unique_ptr<Connection> openNtrip(const StreamUrl& url, const LinkContext& context) {
  if (url.path.empty())
    throw UsageError("'" + url.text + "' names no mountpoint; gnx live --sourcetable lists them");
  auto connection = std::make_unique<NtripConnection>(url, context, context.gga);
  if (!connection->isTable()) return connection;
  const auto streams = mountpointsOf(readTable(*connection));
  throw ConnectionError("has no mountpoint " + url.path +
                        (streams.empty() ? "" : "; it has " + someNames(streams)));
}

std::vector<Mountpoint> readSourceTable(const StreamUrl& url, const Credentials& credentials) {
  if (!url.ofCaster()) throw UsageError("'" + url.text + "' is no caster; give ntrip://HOST:PORT");
  StreamUrl whole = url;
  whole.path.clear();
  const std::atomic<bool> stop{false};
  NtripConnection connection(whole, {credentials, stop}, "");
  return mountpointsOf(readTable(connection));
}

}  // namespace gnx
