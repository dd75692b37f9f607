#pragma once
/// \file source.h
/// A source of bytes in a thread of its own: connects, reads, connects again. What happens is told in
/// sentences.

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "flow/arrival_queue.h"
#include "flow/run_clock.h"
#include "link/connection.h"

namespace gnx {

/// How a source fares; may be read at any time.
struct SourceState {
  std::atomic<bool> connected{false}, ended{false};
  std::atomic<std::int64_t> bytes{0}, connections{0}, lost{0};  ///< lost: bytes for which there was no room
};

class Source {
 public:
  /// May be called from the thread of any source.
  using Say = std::function<void(const std::string& sentence)>;

  /// \param queue, clock  must outlive this
  Source(int number, std::string name, StreamUrl url, Credentials credentials, ArrivalQueue& queue,
         const RunClock& clock, Say say);
  ~Source();
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

  /// Asks the thread to end; it does within a fifth of a second unless it looks up the name of a host.
  void stop() { m_stop = true; }
  bool stopped() const { return m_stopped; }
  /// Position for a caster that computes a stream for it, a sentence GGA.
  void setPosition(const std::string& gga);
  const SourceState& state() const { return m_state; }
  const StreamUrl& url() const { return m_url; }
  const std::string& name() const { return m_name; }

 private:
  void run();
  void readAll(Connection& connection);
  void hand(std::span<const std::uint8_t> bytes);
  void sendPosition(Connection& connection);
  std::string position() const;
  void pause(double seconds) const;
  void tell(const std::string& what) { m_say(m_name + " (" + m_url.text + ") " + what); }

  int m_number;
  std::string m_name;
  StreamUrl m_url;
  Credentials m_credentials;
  ArrivalQueue& m_queue;
  const RunClock& m_clock;
  Say m_say;
  SourceState m_state;
  std::atomic<bool> m_stop{false}, m_stopped{false};
  mutable std::mutex m_mutex;
  std::string m_gga;
  std::chrono::steady_clock::time_point m_positionSent{};
  int m_ntripVersion = 2;
  std::thread m_thread;
};

}  // namespace gnx
