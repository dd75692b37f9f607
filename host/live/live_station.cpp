// Feeds an engine with what the assembler makes of the streams.

#include "live/live_station.h"

#include <algorithm>
#include <utility>

#include "text/printed.h"

namespace gnx {

namespace {

constexpr double kLongestPause_s = 60.0;
constexpr double kBiases_s = 3600.0;                 ///< an epoch takes the nearest in time
constexpr std::int64_t kEngineLog_bytes = 16 << 20;  ///< a day of epochs of one second

}  // namespace

LiveStation::LiveStation(StationContext context)
    : m_context(std::move(context)),
      m_events(m_context.directory / "events.csv"),
      m_alarm(m_context.deployment, m_context.reference, m_context.say) {
  LiveAssembler::Sinks sinks;
  sinks.event = [this](const Event& event) { feed(event); };
  sinks.restart = [this] {
    if (m_engine) m_engine->restart();
  };
  sinks.say = m_context.say;
  m_assembler = std::make_unique<LiveAssembler>(m_context.deployment, m_context.assembly, m_context.reference,
                                                std::move(sinks));
}

LiveStation::~LiveStation() = default;

void LiveStation::take(const RecordedEvent& event) {
  const Arrival& arrival = event.arrival;
  if (!ready(arrival.time) && event.kind == RecordedEvent::Kind::bytes) return;
  try {
    switch (event.kind) {
      case RecordedEvent::Kind::begin: {
        const LiveSource source{event.source.name, event.source.roles, event.source.rank};
        m_streams[arrival.source] = {source, {}};
        m_assembler->addSource(arrival.source, source);
        break;
      }
      case RecordedEvent::Kind::end:
        m_streams.erase(arrival.source);
        m_assembler->removeSource(arrival.source);
        break;
      case RecordedEvent::Kind::bytes:
        if (arrival.bytes.empty()) {
          m_assembler->tick(m_now);
        } else {
          if (const auto stream = m_streams.find(arrival.source); stream != m_streams.end())
            stream->second.heard = m_now;
          m_assembler->take(arrival.source, m_now, arrival.bytes);
        }
        break;
    }
  } catch (const EngineError& e) {
    engineEnded(e);
  }
}

/// The clock comes to the time of an arrival. False while nothing is taken.
bool LiveStation::ready(const GpsTime& arrival) {
  m_now = std::max(m_now, arrival);
  if (m_retry && m_now < *m_retry) return false;
  m_retry.reset();
  return true;
}

void LiveStation::take(int source, const GpsTime& arrival, const RtcmRecord& record) {
  if (!ready(arrival)) return;
  if (const auto stream = m_streams.find(source); stream != m_streams.end()) stream->second.heard = m_now;
  try {
    m_assembler->take(source, m_now, record);
  } catch (const EngineError& e) {
    engineEnded(e);
  }
}

void LiveStation::feed(const Event& event) {
  if (const auto* start = std::get_if<StreamStart>(&event.record)) {
    EngineOptions options;
    options.directory = m_context.directory;
    options.place = m_context.place;
    options.logBytes = kEngineLog_bytes;
    options.biasHistory_s = kBiases_s;
    options.onEvent = [this](const EngineEvent& e) { noteEvent(e); };
    if (m_known) options.state = std::exchange(m_known, std::nullopt)->engine;
    m_epoch.reset();
    m_engine = std::make_unique<Engine>(m_context.deployment, options);
    m_engine->start(*start);
    m_context.say("the engine has started with the signals\n" + m_engine->signals());
    for (const auto* list : {&m_engine->warnings(), &m_engine->notes()})
      for (const std::string& sentence : *list) m_context.say(sentence);
    return;
  }
  if (std::holds_alternative<BroadcastEph>(event.record) || std::holds_alternative<GlonassEph>(event.record))
    m_message = m_now;
  m_alarm.take(event);
  if (!m_engine) return;
  const auto solution = m_engine->feed(event);
  if (!solution) return;
  if (const auto* epoch = std::get_if<ObsEpoch>(&event.record))
    m_alarm.take(*epoch, *solution, m_assembler->correctionSource());
  m_epoch = solution->time;
  if (solution->solved() && !std::exchange(m_solved, true)) m_context.say("there are positions");
  if (solution->solved()) m_pause_s = 1.0;
  tellIntegers(*solution);
  m_context.take(*solution, facts(*solution));
}

std::optional<StationState> LiveStation::state() {
  if (!m_engine || !m_epoch || !m_solved || m_retry) return std::nullopt;
  m_known = StationState{m_context.identity, *m_epoch, m_engine->state(), m_assembler->memory()};
  return m_known;
}

void LiveStation::resume(const StationState& state) {
  if (state.identity != m_context.identity)
    return m_context.say("the sources or the deployment are others than before; the run begins anew");
  m_assembler->recall(state.memory, state.epoch);
  m_known = state;
}

void LiveStation::noteEvent(const EngineEvent& event) {
  m_events.write(event);
  if (event.name != "resumed") return;
  const auto value = [&](const char* key) {
    const auto found = event.values.find(key);
    return found == event.values.end() ? std::string() : found->second;
  };
  if (const std::string why = value("why"); !why.empty())
    return m_context.say("the state of the run before does not hold, all begins anew: " + why);
  const std::string broken = value("broken");
  m_context.say("the run goes on where the one before has ended, with the arcs of " + value("held") +
                " satellites" + (broken.empty() ? "" : "; anew begin " + broken));
}

/// Integers that were asked for and are not to be had are no matter of waiting.
void LiveStation::tellIntegers(const Solution& solution) {
  if (solution.reason != SolutionReason::integersOff || solution.why == m_withoutIntegers) return;
  m_withoutIntegers = solution.why;
  if (m_context.deployment.resolvesIntegers()) m_context.say("positions stay float: " + solution.why);
}

LiveFacts LiveStation::facts(const Solution& solution) const {
  LiveFacts facts;
  facts.latency_s = m_now - solution.time;
  if (m_message) facts.message_s = m_now - *m_message;
  for (const auto& [number, stream] : m_streams)
    if (stream.heard) facts.silent_s[stream.source.name] = m_now - *stream.heard;
  facts.corrections = m_assembler->correctionSource();
  return facts;
}

/// What the engine knew since its state was kept last is gone with it.
void LiveStation::engineEnded(const EngineError& error) {
  if (!m_solved) throw error;
  m_context.say(std::string(error.what()) + printed("; it is started again in %.0f s", m_pause_s));
  m_engine.reset();
  m_retry = m_now + m_pause_s;
  m_pause_s = std::min(2.0 * m_pause_s, kLongestPause_s);
  m_assembler->beginAnew();
  if (m_known) m_assembler->recall(m_known->memory, m_known->epoch);
}

std::optional<GpsTime> LiveStation::deadline() const {
  return m_retry ? std::nullopt : m_assembler->deadline();
}

void LiveStation::finish() {
  try {
    m_assembler->finish();
    if (m_engine) m_engine->finish();
  } catch (const EngineError& e) {
    m_context.say(e.what());
  }
}

std::string LiveStation::account() const {
  const LiveCounts& c = m_assembler->counts();
  std::string text = printed(
      "epochs %lld (%lld incomplete), %lld did not come, corrections %lld (%lld satellites bridged), "
      "broadcast "
      "messages %lld, changes of source %lld\n",
      static_cast<long long>(c.epochs), static_cast<long long>(c.incompleteEpochs),
      static_cast<long long>(c.missingEpochs), static_cast<long long>(c.batches),
      static_cast<long long>(c.bridged), static_cast<long long>(c.messages),
      static_cast<long long>(c.switches));
  std::string left;
  for (std::size_t i = 0; i < c.drops.size(); ++i)
    if (c.drops[i] > 0)
      left += printed("%s%s %lld", left.empty() ? "" : ", ", nameOf(static_cast<LiveDrop>(i)),
                      static_cast<long long>(c.drops[i]));
  if (!left.empty()) text += "left out: " + left + "\n";
  for (const auto& [number, stream] : m_streams) {
    const RtcmCounts* d = m_assembler->decoded(number);
    if (d == nullptr || (d->bytes == 0 && stream.heard)) continue;  // decoded elsewhere
    text += printed("%s: %lld bytes, %lld frames, %lld bytes outside frames", stream.source.name.c_str(),
                    static_cast<long long>(d->bytes), static_cast<long long>(d->frames),
                    static_cast<long long>(d->skipped));
    for (std::size_t i = 0; i < d->drops.size(); ++i)
      if (d->drops[i] > 0)
        text += printed(", %s %lld", nameOf(static_cast<RtcmDrop>(i)), static_cast<long long>(d->drops[i]));
    text += '\n';
  }
  return text;
}

}  // namespace gnx
