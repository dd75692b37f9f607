// Keeps a source of bytes connected.

#include "flow/source.h"

#include <array>
#include <chrono>
#include <utility>

#include "flow/back_off.h"
#include "gnx/error.h"
#include "ntrip/protocol.h"
#include "text/printed.h"

namespace gnx {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kRead_ms = 200;
constexpr double kSilence_s = 30.0;  ///< a stream that says nothing for so long is taken as lost
constexpr double kHolds_s = 20.0;    ///< a connection that held so long begins with short pauses again

double since(Clock::time_point t) { return std::chrono::duration<double>(Clock::now() - t).count(); }

}  // namespace

Source::Source(int number, std::string name, StreamUrl url, Credentials credentials, ArrivalQueue& queue,
               const RunClock& clock, Say say)
    : m_number(number),
      m_name(std::move(name)),
      m_url(std::move(url)),
      m_credentials(std::move(credentials)),
      m_queue(queue),
      m_clock(clock),
      m_say(std::move(say)),
      m_thread([this] { run(); }) {}

Source::~Source() {
  stop();
  m_thread.join();
}

void Source::setPosition(const std::string& gga) {
  const std::lock_guard lock(m_mutex);
  m_gga = gga;
}

std::string Source::position() const {
  const std::lock_guard lock(m_mutex);
  return m_gga;
}

void Source::pause(double seconds) const {
  const auto begun = Clock::now();
  while (!m_stop && since(begun) < seconds) std::this_thread::sleep_for(std::chrono::milliseconds(50));
}

void Source::run() {
  BackOff pauses;
  std::string last;
  while (!m_stop) {
    const auto begun = Clock::now();
    try {
      const auto connection =
          openConnection(m_url, {m_credentials, m_stop, false, m_ntripVersion, position()});
      ++m_state.connections;
      m_state.connected = true;
      tell("is connected");
      last.clear();
      readAll(*connection);
    } catch (const StreamEnded& e) {
      const bool again = m_url.scheme != StreamScheme::file && m_url.scheme != StreamScheme::standard;
      if (last != e.what()) tell(again ? "has ended" : "ends");
      if (!again) break;
      last = e.what();
    } catch (const ConnectionError& e) {
      if (m_stop) break;
      if (last != e.what()) tell(std::string(e.what()) + "; it is tried again");
      last = e.what();
      // A caster of the first version may close on a request of the second.
      if (m_url.ofCaster() && m_state.connections == 0) m_ntripVersion = 3 - m_ntripVersion;
    } catch (const Error& e) {
      tell(e.what());
      break;
    }
    m_state.connected = false;
    if (since(begun) > kHolds_s) pauses.reset();
    if (!m_stop) pause(pauses.next());
  }
  m_state.connected = false;
  m_state.ended = true;
  m_stopped = true;
}

void Source::readAll(Connection& connection) {
  const double silence_s = m_url.number("silence").value_or(kSilence_s);
  std::array<std::uint8_t, 16384> bytes;
  auto heard = Clock::now();
  bool first = true;
  while (!m_stop) {
    const std::size_t n = connection.read(bytes, kRead_ms);
    sendPosition(connection);
    if (n == 0) {
      if (silence_s > 0.0 && since(heard) > silence_s)
        throw ConnectionError(printed("has been silent for %.0f s", silence_s));
      continue;
    }
    heard = Clock::now();
    const auto piece = std::span(bytes).first(n);
    if (std::exchange(first, false))
      if (const std::string text = textInsteadOfStream(piece); !text.empty()) throw ConnectionError(text);
    hand(piece);
  }
}

void Source::hand(std::span<const std::uint8_t> bytes) {
  m_state.bytes += static_cast<std::int64_t>(bytes.size());
  Arrival arrival{m_number, m_clock.now(), {bytes.begin(), bytes.end()}};
  if (m_url.scheme == StreamScheme::file) {
    m_queue.pushWhenRoom(std::move(arrival), [this] { return m_stop.load(); });
  } else if (!m_queue.push(std::move(arrival))) {
    if (m_state.lost == 0) tell("brings more than can be worked on; bytes are lost");
    m_state.lost += static_cast<std::int64_t>(bytes.size());
  }
}

void Source::sendPosition(Connection& connection) {
  const auto every_s = m_url.number("gga");
  if (!every_s || *every_s <= 0.0 || since(m_positionSent) < *every_s) return;
  const std::string gga = position();
  if (gga.empty()) return;
  m_positionSent = Clock::now();
  connection.write(gga + "\r\n");
}

}  // namespace gnx
