// From the bytes of several streams to the events of one engine.

#include <algorithm>
#include <cmath>
#include <deque>
#include <utility>

#include "corrections/glonass_time.h"
#include "gnx/live.h"
#include "live/correction_streams.h"
#include "live/galileo_messages.h"
#include "live/live_memory.h"
#include "live/live_messages.h"
#include "live/live_start.h"
#include "text/printed.h"

namespace gnx {

namespace {

constexpr std::size_t kMostWaiting = 20000;        ///< records before the start
constexpr double kOtherTime_s = 60.0;              ///< between an epoch and the time of the run
constexpr int kOtherTimes = 10;                    ///< epochs in a row that make it the time of the run
constexpr double kOldCorrection_s = 120.0;         ///< the engine uses none that is older
constexpr double kGap_s = 5.0, kWithout_s = 30.0;  ///< that are told
constexpr std::size_t kSteps = 5;                  ///< between epochs, that tell their interval
constexpr double kSameEpoch_s = 1.0e-3;
constexpr double kFrameRest_s = 3.0;

std::string secondsText(double seconds) { return printed("%.0f s", seconds); }

}  // namespace

const char* nameOf(LiveDrop reason) {
  constexpr std::array<const char*, static_cast<std::size_t>(LiveDrop::count)> names = {
      "late epoch",     "epoch of another time", "epoch of another station", "source on standby",
      "old correction", "without message",       "refused message",          "before the start"};
  return names.at(static_cast<std::size_t>(reason));
}

struct LiveAssembler::Impl {
  struct Source {
    Source(const LiveSource& what, RtcmDecoder::Sink sink, const GpsTime& reference)
        : given(what), decoder(std::move(sink), reference) {}
    LiveSource given;
    RtcmDecoder decoder;
    std::optional<GpsTime> heard;  ///< since the decoder was flushed
    std::optional<int> station;    ///< whose observations are taken
    GpsTime stationHeard;
    GlonassTime glonassTime;
  };
  /// An epoch that waits for corrections.
  struct Waiting {
    ObsEpoch epoch;
    GpsTime until;
  };
  /// A run that this one goes on with.
  struct Before {
    LiveMemory memory;
    GpsTime last;
  };
  /// A record from before the start.
  struct Early {
    GpsTime arrival;
    int source = 0;
    RtcmRecord record;
  };

  Impl(const Deployment& given, const LiveOptions& chosen, const GpsTime& begin, Sinks takers)
      : deployment(given),
        options(chosen),
        reference(begin),
        sinks(std::move(takers)),
        start(deployment, chosen.startWait_s),
        observers(chosen.failover_s, chosen.back_s) {
    makeCorrections();
  }

  void makeCorrections() {
    corrections.emplace(messages, options.failover_s, options.back_s, options.bridge_s);
    corrections->give = [this](const CorrectionBatch& batch) { give(batch); };
    corrections->standBy = [this] { drop(LiveDrop::standby); };
    for (const auto& [number, source] : sources)
      if (source->given.has(LiveRole::corrections)) corrections->add(number, source->given.rank);
  }

  std::string memory() const {
    LiveMemory m;
    m.switches = corrections->switches();
    m.corrections = nameOfChosen(corrections->choice());
    messages.forEach([&m](const auto& eph) { m.add(eph); });
    return m.bytes();
  }

  void recall(const std::string& bytes, const GpsTime& last) {
    before = Before{LiveMemory(bytes), last};
    for (const BroadcastEph& eph : before->memory.messages) messages.take(eph, last);
    for (const GlonassEph& eph : before->memory.glonass) messages.take(eph);
    for (const auto& [number, source] : sources) remind(number);
  }

  /// Tells a source what the run before knew.
  void remind(int number) {
    if (!before) return;
    Source& source = *sources.at(number);
    source.decoder.phasesKnownAt(before->last);
    for (const BroadcastEph& eph : before->memory.messages) source.decoder.learn(eph);
    for (const GlonassEph& eph : before->memory.glonass) source.decoder.learn(eph);
    if (source.given.has(LiveRole::corrections) && source.given.name == before->memory.corrections)
      corrections->goOn(before->memory.switches, number);
  }

  /// For an engine that knows nothing: all is learned again but the broadcast messages, which come seldom.
  void beginAnew() {
    begun = false;
    start = LiveStart(deployment, options.startWait_s);
    early.clear();
    waiting.clear();
    lastEpoch.reset();
    lastBatch.reset();
    lastTag = {};
    makeCorrections();
  }

  // ---- time ----

  /// Time of the run: the machine's clock, moved to that of the observations where the two disagree.
  GpsTime runTime() const { return now + offset_s; }
  void advance(const GpsTime& t) { now = std::max(now, t); }

  // ---- records ----

  void drop(LiveDrop reason) { ++counts.drops[static_cast<std::size_t>(reason)]; }

  void take(int number, const RtcmRecord& record) {
    const LiveSource& source = sources.at(number)->given;
    const bool observed = std::holds_alternative<RtcmEpoch>(record) ||
                          std::holds_alternative<RtcmPosition>(record) ||
                          std::holds_alternative<RtcmEquipment>(record);
    const bool message =
        std::holds_alternative<BroadcastEph>(record) || std::holds_alternative<GlonassEph>(record);
    const bool wanted = observed  ? source.has(LiveRole::observations)
                        : message ? source.has(LiveRole::ephemerides)
                                  : source.has(LiveRole::corrections);
    if (message) teach(number, record);
    if (!wanted) return;
    if (begun) return process(number, record);
    if (early.size() >= kMostWaiting) return drop(LiveDrop::backlog);
    start.look(record, now);
    early.push_back({now, number, record});
  }

  /// Channels of GLONASS and issues of Galileo are needed by every decoder.
  void teach(int number, const RtcmRecord& record) {
    for (auto& [other, source] : sources) {
      if (other == number) continue;
      if (const auto* eph = std::get_if<BroadcastEph>(&record)) source->decoder.learn(*eph);
      else source->decoder.learn(std::get<GlonassEph>(record));
    }
  }

  void begin() {
    begun = true;
    const GpsTime present = now;
    if (start.latest()) placeClock();
    now = early.empty() ? present : early.front().arrival;
    const StreamStart made = start.made();
    for (const std::string& note : made.notes) sinks.say(note);
    sinks.event({made.first.value_or(runTime()), made});
    messages.forEach([this](const auto& eph) { sinks.event({runTime(), eph}); });
    for (Early& e : std::exchange(early, {})) {
      advance(e.arrival);
      if (sources.contains(e.source)) process(e.source, e.record);
    }
    advance(present);
  }

  /// A machine whose clock is not set takes that of the receiver.
  void placeClock() {
    for (const Early& e : early) {
      const auto* epoch = std::get_if<RtcmEpoch>(&e.record);
      if (epoch == nullptr) continue;
      moveClock(epoch->epoch.time - e.arrival);
      return;
    }
  }

  void moveClock(double difference_s) {
    if (std::fabs(difference_s - offset_s) <= kOtherTime_s) return;
    offset_s = std::round(difference_s);
    sinks.say("the observations are " + secondsText(std::fabs(difference_s)) +
              (difference_s > 0.0 ? " ahead of" : " behind") +
              " the machine's clock; the run goes by the time of the observations");
  }

  void process(int number, const RtcmRecord& record) {
    if (const auto* epoch = std::get_if<RtcmEpoch>(&record)) takeEpoch(number, *epoch);
    else if (const auto* eph = std::get_if<BroadcastEph>(&record)) takeMessage(*eph);
    else if (const auto* glonass = std::get_if<GlonassEph>(&record)) takeMessage(*glonass);
    else if (const auto* ssr = std::get_if<RtcmSsr>(&record)) takeCorrections(number, ssr->block);
  }

  // ---- broadcast messages ----

  void takeMessage(BroadcastEph eph) {
    if (eph.sat[0] == 'E') {
      if (!galileo.take(eph, now)) return;
      GalileoMessages::declare(eph);
    }
    giveMessage(eph);
  }
  void giveMessage(const BroadcastEph& eph) {
    if (!messages.take(eph, runTime())) return drop(LiveDrop::refusedMessage);
    ++counts.messages;
    sinks.event({runTime(), eph});
  }
  void takeMessage(const GlonassEph& eph) {
    if (!messages.take(eph)) return drop(LiveDrop::refusedMessage);
    ++counts.messages;
    sinks.event({runTime(), eph});
  }

  /// Galileo's messages of the other kind, when those that the engine holds do not come.
  void takeInav() {
    const auto waited = galileo.standIns(now);
    if (!waited.empty() && !std::exchange(inavTold, true))
      sinks.say("Galileo: the messages are I/NAV alone and are taken for those that the corrections name");
    for (const BroadcastEph& eph : waited) giveMessage(eph);
  }

  // ---- corrections ----

  void takeCorrections(int number, SsrBlock block) {
    if (sources.at(number)->glonassTime.correct(block))
      sinks.say(sources.at(number)->given.name +
                " tells GLONASS corrections in GPS time; they are moved to UTC");
    const bool dated = block.kind == SsrKind::orbit || block.kind == SsrKind::clock;
    if (dated && std::fabs(runTime() - block.time) > kOldCorrection_s) return drop(LiveDrop::oldCorrection);
    corrections->take(number, block, now, runTime());
    decideCorrections();
  }

  void decideCorrections() {
    if (!corrections->decide(now)) return;
    ++counts.switches;
    sinks.say("corrections are taken from " + nameOfChosen(corrections->choice()) + " now");
  }

  std::string nameOfChosen(const SourceChoice& choice) const {
    const auto chosen = choice.chosen() ? sources.find(*choice.chosen()) : sources.end();
    return chosen == sources.end() ? "" : chosen->second->given.name;
  }

  void give(const CorrectionBatch& batch) {
    ++counts.batches;
    lastBatch = runTime();
    if (std::exchange(withoutCorrections, false)) sinks.say("there are corrections again");
    lastTag = std::max(lastTag, batch.tag);
    sinks.event({runTime(), batch});
  }

  // ---- observations ----

  /// Several stations in one stream: the first one counts until it is silent.
  bool ofStation(Source& source, int station) {
    const bool other = source.station && *source.station != station;
    if (other && now - source.stationHeard <= options.failover_s) return false;
    if (other) {
      sinks.say(source.given.name + " brings station " + std::to_string(station) + " instead of " +
                std::to_string(*source.station) + "; its solution begins anew");
      sinks.restart();
    }
    source.station = station;
    source.stationHeard = now;
    return true;
  }

  bool ofRunTime(const ObsEpoch& epoch) {
    const double difference_s = epoch.time - now;
    if (std::fabs(difference_s - offset_s) <= kOtherTime_s) {
      otherTimes = 0;
      return true;
    }
    if (++otherTimes < kOtherTimes) return false;
    moveClock(difference_s);
    otherTimes = 0;
    lastEpoch.reset();
    return true;
  }

  void takeEpoch(int number, const RtcmEpoch& record) {
    Source& source = *sources.at(number);
    if (!ofStation(source, record.station)) return drop(LiveDrop::otherStation);
    if (!ofRunTime(record.epoch)) return drop(LiveDrop::otherTime);
    observers.note(number, now, usualGap_s);
    if (observers.decide(now)) {
      ++counts.switches;
      sinks.say("observations are taken from " + nameOfChosen(observers) + " now; the solution begins anew");
      sinks.restart();
    }
    if (observers.chosen() != number) return drop(LiveDrop::standby);
    if (lastEpoch && record.epoch.time - *lastEpoch < kSameEpoch_s) return drop(LiveDrop::lateEpoch);
    if (lastEpoch) countMissing(record.epoch.time - *lastEpoch), tellGap(record.epoch.time - *lastEpoch);
    lastEpoch = record.epoch.time;
    if (!record.complete) ++counts.incompleteEpochs;
    waiting.push_back({record.epoch, now + options.wait_s});
    release();
  }

  /// The shortest of the last steps is the interval: one of them may be a gap itself.
  void countMissing(double step_s) {
    const double interval_s = steps_s.empty() ? step_s : std::ranges::min(steps_s);
    counts.missingEpochs += std::max(std::llround(step_s / interval_s) - 1, 0LL);
    steps_s.push_back(step_s);
    if (steps_s.size() > kSteps) steps_s.pop_front();
  }

  void tellGap(double gap_s) {
    const double interval_s = std::max(usualGap_s, std::ranges::min(steps_s));
    if (gap_s > std::max(kGap_s, 3.0 * interval_s))
      sinks.say("observations were missing for " + secondsText(gap_s));
    else usualGap_s = gap_s;
  }

  /// Epochs that wait no longer.
  void release() {
    while (!waiting.empty()) {
      if (now < waiting.front().until && lastTag - waiting.front().epoch.time < -kSameEpoch_s) {
        corrections->join();  // may bring those that are waited for
        if (lastTag - waiting.front().epoch.time < -kSameEpoch_s) return;
      }
      giveEpoch();
    }
  }

  void giveEpoch() {
    corrections->join();
    if (!withoutCorrections && runTime() - lastBatch.value_or(*lastEpoch) > kWithout_s) {
      withoutCorrections = true;
      sinks.say("no corrections have come for " + secondsText(kWithout_s) +
                "; positions go on with the last ones as long as they hold");
    }
    ++counts.epochs;
    ObsEpoch epoch = std::move(waiting.front().epoch);
    waiting.pop_front();
    sinks.event({epoch.time, std::move(epoch)});
  }

  // ---- passing time ----

  /// A frame whose rest is on its way is given more time.
  double burstEnd_s(const Source& source) const {
    return source.decoder.inFrame() ? std::max(kFrameRest_s, options.burstEnd_s) : options.burstEnd_s;
  }

  void endBursts() {
    bool any = false;
    for (auto& [number, source] : sources) {
      if (!source->heard || now - *source->heard < burstEnd_s(*source) - kSameEpoch_s) continue;
      source->heard.reset();
      source->decoder.flush();
      any = true;
    }
    if (any && begun) corrections->join();
  }

  void look() {
    if (!begun && start.ready(now)) begin();
    if (!begun) return;
    takeInav();
    decideCorrections();
    release();
    counts.bridged = corrections->bridge().bridged();
    counts.drops[static_cast<std::size_t>(LiveDrop::withoutMessage)] = corrections->bridge().without();
  }

  const Deployment& deployment;
  LiveOptions options;
  GpsTime reference;
  Sinks sinks;
  LiveStart start;
  LiveMessages messages;
  GalileoMessages galileo{deployment.settings.galileo};
  std::optional<CorrectionStreams> corrections;
  SourceChoice observers;
  std::map<int, std::unique_ptr<Source>> sources;
  std::optional<Before> before;
  std::deque<Early> early;
  std::deque<Waiting> waiting;
  std::deque<double> steps_s;  ///< between the last epochs
  LiveCounts counts;
  GpsTime now, lastTag;
  double offset_s = 0.0, usualGap_s = 0.0;
  std::optional<GpsTime> lastEpoch, lastBatch;
  int otherTimes = 0;
  bool begun = false, withoutCorrections = false, inavTold = false;
};

LiveAssembler::LiveAssembler(const Deployment& deployment, const LiveOptions& options,
                             const GpsTime& reference, Sinks sinks)
    : m_impl(std::make_unique<Impl>(deployment, options, reference, std::move(sinks))) {}
LiveAssembler::~LiveAssembler() = default;

void LiveAssembler::addSource(int number, const LiveSource& source) {
  Impl& impl = *m_impl;
  impl.sources[number] = std::make_unique<Impl::Source>(
      source, [&impl, number](const RtcmRecord& record) { impl.take(number, record); },
      std::max(impl.reference, impl.now));
  if (source.has(LiveRole::corrections)) impl.corrections->add(number, source.rank);
  if (source.has(LiveRole::observations)) impl.observers.add(number, source.rank);
  impl.remind(number);
}

void LiveAssembler::removeSource(int number) {
  m_impl->sources.erase(number);
  m_impl->corrections->remove(number);
  m_impl->observers.remove(number);
}

void LiveAssembler::take(int number, const GpsTime& arrival, std::span<const std::uint8_t> bytes) {
  m_impl->advance(arrival);
  const auto source = m_impl->sources.find(number);
  if (source == m_impl->sources.end()) return;
  m_impl->endBursts();
  source->second->decoder.feed(bytes);
  source->second->heard = m_impl->now;
  m_impl->look();
}

void LiveAssembler::take(int number, const GpsTime& arrival, const RtcmRecord& record) {
  m_impl->advance(arrival);
  const auto source = m_impl->sources.find(number);
  if (source == m_impl->sources.end()) return;
  m_impl->endBursts();
  m_impl->take(number, record);
  source->second->heard = m_impl->now;
  m_impl->look();
}

void LiveAssembler::tick(const GpsTime& now) {
  m_impl->advance(now);
  m_impl->endBursts();
  m_impl->look();
}

std::optional<GpsTime> LiveAssembler::deadline() const {
  std::optional<GpsTime> first;
  const auto take = [&first](const GpsTime& t) { first = std::min(first.value_or(t), t); };
  for (const auto& [number, source] : m_impl->sources)
    if (source->heard) take(*source->heard + m_impl->burstEnd_s(*source));
  if (!m_impl->waiting.empty()) take(m_impl->waiting.front().until);
  if (!m_impl->begun && m_impl->start.latest()) take(*m_impl->start.latest());
  if (m_impl->begun && m_impl->galileo.deadline()) take(*m_impl->galileo.deadline());
  return first;
}

std::string LiveAssembler::memory() const { return m_impl->memory(); }
void LiveAssembler::recall(const std::string& memory, const GpsTime& last) { m_impl->recall(memory, last); }
void LiveAssembler::beginAnew() { m_impl->beginAnew(); }

void LiveAssembler::finish() {
  Impl& impl = *m_impl;
  for (auto& [number, source] : impl.sources) source->decoder.flush();
  if (!impl.begun && impl.start.latest()) impl.begin();
  if (!impl.begun) return;
  impl.corrections->join();
  while (!impl.waiting.empty()) impl.giveEpoch();
  impl.look();
}

bool LiveAssembler::started() const { return m_impl->begun; }
const LiveCounts& LiveAssembler::counts() const { return m_impl->counts; }
const RtcmCounts* LiveAssembler::decoded(int number) const {
  const auto source = m_impl->sources.find(number);
  return source == m_impl->sources.end() ? nullptr : &source->second->decoder.counts();
}
std::string LiveAssembler::correctionSource() const {
  return m_impl->nameOfChosen(m_impl->corrections->choice());
}

}  // namespace gnx
