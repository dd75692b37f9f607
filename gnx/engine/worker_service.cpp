// The worker's side of the connection: does what the host's frames say.

#include <cstdlib>
#include <utility>

#include "engine/frame_records.h"
#include "engine/own_output.h"

namespace gnx {

namespace {

class Service {
 public:
  explicit Service(int descriptor) : m_channel(descriptor) {
    m_engine = makeLinkedEngine(".", [this](const EngineEvent& event) { send(FrameKind::event, event); });
    m_none.mark_orb = m_none.mark_clk = m_none.mark_cbias = m_none.mark_pbias = m_none.mark_ifpb =
        GNX_IO::kConsumed;
    m_corrections.assign(GNX_IO::kMaxSatellite, m_none);
  }

  void run() {
    send(FrameKind::hello, kProtocolVersion);
    FrameKind kind{};
    std::string content;
    while (!m_finished && m_channel.receive(kind, content)) {
      FrameReader in(content);
      take(kind, in);
    }
  }

 private:
  template <class... T>
  void send(FrameKind kind, const T&... values) {
    m_out.clear();
    m_out(values...);
    if (!m_channel.send(kind, m_out.bytes())) std::exit(EXIT_SUCCESS);  // nobody is left to work for
  }

  /// Runs a call that the host waits for.
  template <class Call>
  void answer(Call&& call) {
    std::string wrong;
    std::vector<std::string> names;
    try {
      call(names);
    } catch (const std::exception& e) {
      wrong = e.what();
    }
    send(FrameKind::done, wrong, names);
  }

  void take(FrameKind kind, FrameReader& in) {
    switch (kind) {
      case FrameKind::start:
        return answer([&](auto&) {
          EngineCore::Start start;
          in(start);
          m_logBytes = start.logBytes;
          m_engine->start(start);
        });
      case FrameKind::clock:
        return takeClock(in);
      case FrameKind::message:
        return takeMessage(in);
      case FrameKind::glonass:
        return takeGlonass(in);
      case FrameKind::corrections:
        fill(in);
        return m_engine->inputCorrections(m_corrections.data());
      case FrameKind::biases:
        fill(in);
        return m_engine->inputBiases(m_corrections.data());
      case FrameKind::epoch:
        return takeEpoch(in);
      case FrameKind::options:
        return answer([&](auto&) {
          std::string words;
          in(words);
          m_engine->setOutputOptions(words);
        });
      case FrameKind::restart:
        return answer([&](auto&) { m_engine->restart(); });
      case FrameKind::stores:
        return answer([&](auto& names) {
          GNX_IO::gtime_t time{};
          in(time);
          names = m_engine->writeStoreFiles(time);
        });
      case FrameKind::state:
        return answer([&](auto& texts) { texts.push_back(m_engine->state()); });
      case FrameKind::resume:
        return answer([&](auto&) {
          std::string state;
          in(state);
          m_engine->resume(state);
        });
      case FrameKind::finish:
        m_finished = true;
        return answer([&](auto&) { m_engine->finish(); });
      default:
        throw EngineError("the host sends frames that a worker does not take; they are of different builds");
    }
  }

  void takeClock(FrameReader& in) {
    std::int64_t utc = 0;
    in(utc);
    m_engine->setClock(utc);
  }

  void takeMessage(FrameReader& in) {
    std::int32_t sat = 0;
    GNX_IO::eph_entry_t eph{};
    in(sat, eph);
    m_engine->inputMessage(sat, eph);
  }

  void takeGlonass(FrameReader& in) {
    std::int32_t sat = 0, prn = 0;
    GNX_IO::geph_entry_t eph{};
    in(sat, prn, eph);
    m_engine->inputMessage(sat, prn, eph);
  }

  /// Only the satellites of the frame are marked.
  void fill(FrameReader& in) {
    for (const std::size_t index : m_filled) m_corrections[index] = m_none;
    m_filled.clear();
    std::uint32_t news = 0;
    for (in(news); news > 0; --news) {
      const std::size_t index = m_told.take(in);
      m_filled.push_back(index);
      m_corrections[index] = m_told.at(index);
    }
  }

  void takeEpoch(FrameReader& in) {
    answer([&](auto&) {
      GNX_IO::gtime_t time{};
      in(time, m_entries);
      m_engine->inputEpoch(time, m_entries);
      boundOutput(kWorkerOutput, m_logBytes);
      if (const auto solution = m_engine->takeSolution()) {
        m_out.clear();
        m_out(*solution);
        m_channel.post(FrameKind::solution, m_out.bytes());
      }
    });
  }

  FrameChannel m_channel;
  FrameWriter m_out;
  std::unique_ptr<EngineCore> m_engine;
  GNX_IO::ssr_t m_none{};
  CorrectionRecords m_told;
  std::vector<GNX_IO::ssr_t> m_corrections;
  std::vector<std::size_t> m_filled;
  std::vector<GNX_IO::obs_entry_t> m_entries;
  std::int64_t m_logBytes = 0;
  bool m_finished = false;
};

}  // namespace

void serveHost(int descriptor) { Service(descriptor).run(); }

}  // namespace gnx
