// Connections to a host, plain or with TLS.

#include <curl/curl.h>

#include <chrono>
#include <mutex>

#include "link/connection.h"

namespace gnx {

namespace {

constexpr long kConnectTimeout_s = 15;
constexpr int kWriteTimeout_ms = 2000;
constexpr int kPiece_ms = 20;  ///< TLS may have bytes that the descriptor does not show

int stopWhenAsked(void* stop, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
  return static_cast<const std::atomic<bool>*>(stop)->load() ? 1 : 0;
}

class TcpConnection : public Connection {
 public:
  TcpConnection(const std::string& host, int port, bool tls, const std::string& authority,
                const std::atomic<bool>& stop) {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    m_curl.reset(curl_easy_init());
    CURL* const c = m_curl.get();
    const bool literal = host.find(':') != std::string::npos;
    const std::string url = std::string(tls ? "https://" : "http://") + (literal ? "[" + host + "]" : host) +
                            ":" + std::to_string(port);
    curl_easy_setopt(c, CURLOPT_URL, url.c_str());
    curl_easy_setopt(c, CURLOPT_CONNECT_ONLY, 1L);
    curl_easy_setopt(c, CURLOPT_HTTPPROXYTUNNEL, 1L);
    curl_easy_setopt(c, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(c, CURLOPT_CONNECTTIMEOUT, kConnectTimeout_s);
    curl_easy_setopt(c, CURLOPT_TCP_KEEPALIVE, 1L);
    curl_easy_setopt(c, CURLOPT_ERRORBUFFER, m_error);
    curl_easy_setopt(c, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(c, CURLOPT_XFERINFOFUNCTION, stopWhenAsked);
    curl_easy_setopt(c, CURLOPT_XFERINFODATA, const_cast<std::atomic<bool>*>(&stop));
    if (!authority.empty()) curl_easy_setopt(c, CURLOPT_CAINFO, authority.c_str());
    const CURLcode code = curl_easy_perform(c);
    if (code != CURLE_OK) fail("cannot be reached", code);
    curl_easy_getinfo(c, CURLINFO_ACTIVESOCKET, &m_socket);
  }

  std::size_t read(std::span<std::uint8_t> bytes, int timeout_ms) override {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    while (true) {
      std::size_t n = 0;
      const CURLcode code = curl_easy_recv(m_curl.get(), bytes.data(), bytes.size(), &n);
      if (code == CURLE_OK && n > 0) return n;
      if (code == CURLE_OK) throw ConnectionError("has closed the connection");
      if (code != CURLE_AGAIN) fail("is lost", code);
      const auto left =
          std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
      if (left.count() <= 0) return 0;
      awaitDescriptor(static_cast<int>(m_socket), false, static_cast<int>(left.count()));
    }
  }

  void write(std::span<const std::uint8_t> bytes) override {
    int waited_ms = 0;
    while (!bytes.empty()) {
      std::size_t n = 0;
      const CURLcode code = curl_easy_send(m_curl.get(), bytes.data(), bytes.size(), &n);
      if (code != CURLE_OK && code != CURLE_AGAIN) fail("is lost", code);
      bytes = bytes.subspan(n);
      if (code != CURLE_AGAIN) continue;
      if (waited_ms >= kWriteTimeout_ms) throw ConnectionError("takes nothing for two seconds");
      if (!awaitDescriptor(static_cast<int>(m_socket), true, kPiece_ms)) waited_ms += kPiece_ms;
    }
  }

 private:
  struct CurlEnd {
    void operator()(CURL* curl) const { curl_easy_cleanup(curl); }
  };

  [[noreturn]] void fail(const std::string& what, CURLcode code) const {
    const std::string cause = m_error[0] != '\0' ? m_error : curl_easy_strerror(code);
    throw ConnectionError(what + ": " + cause);
  }

  char m_error[CURL_ERROR_SIZE] = {};
  std::unique_ptr<CURL, CurlEnd> m_curl;
  curl_socket_t m_socket = CURL_SOCKET_BAD;
};

}  // namespace

std::unique_ptr<Connection> connectTcp(const std::string& host, int port, bool tls,
                                       const std::string& authority, const std::atomic<bool>& stop) {
  return std::make_unique<TcpConnection>(host, port, tls, authority, stop);
}

}  // namespace gnx
