// Merges the files of a run into one stream of events.

#include <algorithm>
#include <utility>

#include "corrections/fitted_messages.h"
#include "corrections/galileo_messages.h"
#include "gnx/read.h"
#include "stream/observation_stream.h"
#include "stream/prepared_corrections.h"
#include "text/printed.h"

namespace gnx {

namespace {

/// Messages for a run that has orbits and no navigation files.
NavData fittedMessages(const InputFiles& files) {
  const Sp3Product orbits = readSp3(files.sp3);
  NavData messages =
      fitMessages(orbits, files.clk.empty() ? orbits.clocks : readRinexClocks(files.clk).clocks);
  if (messages.keplerian.empty())
    throw InputError(files.sp3.front(), 0,
                     "has too few orbits and clocks for broadcast messages; give --nav");
  messages.notes.push_back("without navigation files broadcast messages are fitted to the orbits");
  return messages;
}

/// The first few notes, and how many more there are.
std::vector<std::string> someOf(std::vector<std::string> notes) {
  constexpr std::size_t kShown = 5;
  if (notes.size() <= kShown) return notes;
  const std::size_t more = notes.size() - kShown;
  notes.resize(kShown);
  notes.push_back("and " + std::to_string(more) + " more messages are left out");
  return notes;
}

void checkFiles(const InputFiles& files, const ReadOptions& options) {
  if (files.obs.empty()) throw UsageError("no observation file; give one with --obs");
  if (files.nav.empty() && files.sp3.empty())
    throw UsageError("no navigation file; the engine corrects broadcast orbits: give one with --nav");
  if (files.ssr.empty() && files.sp3.empty() && !options.broadcastOnly)
    throw UsageError(
        "no corrections; give --sp3 (and --clk), or --ssr, or --broadcast to run on broadcast orbits");
}

}  // namespace

struct EventStream::Impl {
  Impl(const InputFiles& files, const ReadOptions& given)
      : options(given), observations((checkFiles(files, given), files.obs), given.from, given.to) {
    start.header = observations.header();
    if (!observations.next(epoch))
      throw InputError(files.obs.front(), 0, "holds no epoch in the chosen time");
    const GpsTime first = epoch.time;
    start.first = first;
    start.corrected = correctedSignals(files.bia, files.ssr);
    NavData messages = files.nav.empty() ? fittedMessages(files) : readRinexNav(files.nav);
    start.notes = someOf(messages.notes);
    const std::string galileo = chooseGalileoMessages(
        files.ssr, messages,
        options.deployment ? options.deployment->settings.galileo : GalileoKind::automatic);
    if (!galileo.empty()) start.notes.push_back(galileo);
    timeline.emplace(std::move(messages), first);
    PreparedCorrections prepared = prepareCorrections({files, options, start, first, *timeline});
    source = std::move(prepared.source);
    start.integers = std::move(prepared.integers);
    start.notes.insert(start.notes.end(), prepared.notes.begin(), prepared.notes.end());
    if (!files.orbex.empty()) takeAttitudes(files.orbex);
    if (!files.ionex.empty())
      start.ionosphere = std::make_shared<const IonosphereMaps>(readIonex(files.ionex));
    waiting = source->next(batch);
  }

  void takeAttitudes(const std::vector<std::string>& orbex) {
    constexpr double kFine_s = 60.0;
    auto attitudes = std::make_shared<const AttitudeProduct>(readOrbex(orbex));
    if (attitudes->interval > kFine_s)
      start.notes.push_back(
          printed("attitudes every %g s are too far apart for noon and midnight turns, which "
                  "the engine's own laws follow more closely",
                  attitudes->interval));
    start.attitudes = std::move(attitudes);
  }

  /// Of a backlog only what the epoch can still use is worth handing over.
  void skipBacklog() {
    constexpr double kUseful_s = 300.0;
    while (waiting && batch.delivery <= epoch.time && epoch.time - batch.tag >= kUseful_s && !batch.newBiases)
      waiting = source->next(batch);
  }

  bool next(Event& event) {
    if (!started) {
      started = true;
      event = {*start.first, start};
      return true;
    }
    if (ended) return false;
    skipBacklog();
    const auto& messages = timeline->deliveries();
    const bool hasMessage = message < messages.size() && messages[message].time <= epoch.time;
    const bool hasBatch = waiting && batch.delivery <= epoch.time;
    if (hasMessage && !(hasBatch && batch.delivery < messages[message].time)) {
      const auto& m = messages[message++];
      if (m.eph != nullptr) event = {m.time, *m.eph};
      else event = {m.time, *m.glonass};
    } else if (hasBatch) {
      event.time = batch.delivery;
      event.record = std::move(batch);
      waiting = source->next(batch);
    } else {
      event.time = now = epoch.time;
      event.record = std::move(epoch);
      ended = !observations.next(epoch);
    }
    return true;
  }

  /// The end is known when the caller names it.
  double share() const {
    if (!options.to || !started) return 0.0;
    const double all = *options.to - *start.first;
    return all > 0.0 ? std::max(0.0, (now - *start.first) / all) : 0.0;
  }

  ReadOptions options;
  ObservationStream observations;
  ObsEpoch epoch;  ///< the next one
  StreamStart start;
  std::optional<EphemerisTimeline> timeline;
  std::unique_ptr<CorrectionSource> source;
  CorrectionBatch batch;  ///< the next one
  std::size_t message = 0;
  bool started = false, waiting = false, ended = false;
  GpsTime now;
};

EventStream::EventStream(const InputFiles& files, const ReadOptions& options)
    : m_impl(std::make_unique<Impl>(files, options)) {}
EventStream::~EventStream() = default;
EventStream::EventStream(EventStream&&) noexcept = default;
EventStream& EventStream::operator=(EventStream&&) noexcept = default;

const StreamStart& EventStream::start() const { return m_impl->start; }
bool EventStream::next(Event& event) { return m_impl->next(event); }
double EventStream::share() const { return m_impl->share(); }

EventStream read(const std::vector<std::string>& files, const ReadOptions& options) {
  return {sortByKind(files), options};
}
EventStream read(const InputFiles& files, const ReadOptions& options) { return {files, options}; }

}  // namespace gnx
