#pragma once
/// \file test_caster.h
/// A caster for tests: serves a file of RTCM on loopback at the pace of its own times.

#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "gnx/rtcm.h"
#include "link/connection.h"
#include "link/listening_socket.h"
#include "record/timed_file.h"

namespace support {

struct CasterOptions {
  int version = 2;
  double speed = 1.0;      ///< of the stream
  double damaged = 0.0;    ///< share of the pieces in which a byte is changed
  double restart_s = 0.0;  ///< the connection is broken so often, s of the stream; 0 = never
  bool page = false;       ///< a web page instead of a stream
  std::string login{};     ///< what a client must send, "Basic ..."; "" = anybody may read
};

class TestCaster {
 public:
  TestCaster(const std::string& file, const gnx::GpsTime& start, const CasterOptions& options)
      : m_options(options), m_socket("127.0.0.1", 0) {
    std::signal(SIGPIPE, SIG_IGN);
    gnx::TimedFile bytes(file, start);
    for (gnx::Arrival piece; bytes.next(piece);) m_pieces.push_back(std::exchange(piece, {}));
    m_thread = std::thread([this] { run(); });
  }
  ~TestCaster() {
    m_stop = true;
    m_thread.join();
  }
  TestCaster(const TestCaster&) = delete;
  TestCaster& operator=(const TestCaster&) = delete;

  std::string url(const std::string& mountpoint = "SKY") const {
    return "ntrip://127.0.0.1:" + std::to_string(m_socket.port()) + "/" + mountpoint;
  }
  int connections() const { return m_connections; }
  bool finished() const { return m_finished; }
  /// Sentences that clients have sent since, when it has finished.
  std::string uploaded() const { return m_uploaded; }
  std::string lastRequest() const { return m_request; }  ///< behind the caster's end

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::milliseconds kLate{50};

  /// When a piece is sent; what nobody was there to take is gone.
  Clock::time_point due(const gnx::Arrival& piece) const {
    const std::chrono::duration<double> since((piece.time - m_pieces.front().time) / m_options.speed);
    return m_begun + std::chrono::duration_cast<Clock::duration>(since);
  }

  void run() {
    while (!m_stop) {
      const int client = m_socket.accept(50);
      if (client < 0) continue;
      ++m_connections;
      try {
        gnx::DescriptorConnection connection(client, true);
        serve(connection);
      } catch (const std::runtime_error&) {  // the client has gone
      }
    }
  }

  void serve(gnx::Connection& client) {
    std::vector<std::uint8_t> piece(4096);
    m_request.clear();
    while (m_request.find("\r\n\r\n") == std::string::npos && !m_stop)
      m_request.append(piece.begin(), piece.begin() + static_cast<long>(client.read(piece, 50)));
    if (m_options.page)
      return client.write(
          std::string("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\n\r\n<html>hello</html>"));
    if (!m_options.login.empty() && m_request.find(m_options.login) == std::string::npos)
      return client.write(std::string("HTTP/1.1 401 Unauthorized\r\n\r\n"));
    if (m_request.find("GET /SKY ") == std::string::npos)
      return client.write(
          std::string("SOURCETABLE 200 OK\r\n\r\nSTR;SKY;Sky;RTCM 3;1077;2;GPS+GAL;TEST;AUT;\r\n"
                      "ENDSOURCETABLE\r\n"));
    const bool chunked = m_options.version == 2;
    client.write(std::string(chunked
                                 ? "HTTP/1.1 200 OK\r\nContent-Type: gnss/data\r\nTransfer-Encoding: chunked"
                                   "\r\n\r\n"
                                 : "ICY 200 OK\r\n"));
    stream(client, chunked);
  }

  void stream(gnx::Connection& client, bool chunked) {
    if (m_next == 0) m_begun = Clock::now();
    while (m_next + 1 < m_pieces.size() && due(m_pieces[m_next]) < Clock::now() - kLate) ++m_next;
    const gnx::GpsTime connected = m_pieces.at(m_next).time;
    for (; m_next < m_pieces.size() && !m_stop; ++m_next) {
      const gnx::Arrival& piece = m_pieces[m_next];
      if (m_options.restart_s > 0.0 && piece.time - connected > m_options.restart_s) return;
      std::this_thread::sleep_until(due(piece));
      std::string bytes(piece.bytes.begin(), piece.bytes.end());
      if (std::uniform_real_distribution<>()(m_random) < m_options.damaged) bytes[bytes.size() / 2] ^= 0x55;
      char size[32];
      std::snprintf(size, sizeof size, "%zx\r\n", bytes.size());
      client.write(chunked ? size + bytes + "\r\n" : bytes);
      std::uint8_t sent[256];
      m_uploaded.append(sent, sent + client.read(sent, 0));
    }
    m_finished = true;
    while (!m_stop) std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }

  CasterOptions m_options;
  gnx::ListeningSocket m_socket;
  std::vector<gnx::Arrival> m_pieces;
  std::size_t m_next = 0;
  Clock::time_point m_begun{};
  std::mt19937 m_random{1};
  std::string m_request, m_uploaded;
  std::atomic<int> m_connections{0};
  std::atomic<bool> m_stop{false}, m_finished{false};
  std::thread m_thread;
};

}  // namespace support
