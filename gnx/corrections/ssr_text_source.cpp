// Corrections of recorded streams: blocks joined to batches of one tag and delivered at their time.

#include <algorithm>
#include <cmath>

#include "corrections/glonass_time.h"
#include "corrections/issue_bridge.h"
#include "corrections/sources.h"
#include "corrections/ssr_joiner.h"
#include "formats/ssr_text.h"
#include "gnx/corrections.h"
#include "gnx/error.h"
#include "gnx/read.h"
#include "gnx/signal.h"
#include "text/csv_reader.h"
#include "text/fields.h"

namespace gnx {

namespace {

/// Delivery times of blocks from a table "block_no,type,epoch_tow_s,receive_tow_s".
class Availability {
 public:
  explicit Availability(const std::string& path) : m_path(path) {
    if (path.empty()) return;
    TextReader reader(path);
    std::string_view line;
    while (reader.next(line)) {
      if (trim(line).empty() || line.find_first_of("0123456789") != 0) continue;  // title line
      readRow(reader, line);
    }
    if (m_rows.empty())
      reader.failAtEnd("holds no delivery time; rows of block number, type, epoch, reception are expected");
  }

  /// Delay of a block, s; nothing when the table does not hold it.
  std::optional<double> delay(long number, const GpsTime& epoch) const {
    const auto found = m_rows.find(number);
    if (found == m_rows.end()) return std::nullopt;
    const Row& row = found->second;
    if (std::fabs(wrapped(row.epoch - secondsOfWeek(epoch, nullptr))) > 0.5) {
      throw InputError(m_path, row.line,
                       "epoch is not that of block " + std::to_string(number) +
                           " of the corrections; give the table that belongs to the file");
    }
    return std::max(0.0, wrapped(row.received - row.epoch));
  }

 private:
  struct Row {
    double epoch = 0.0, received = 0.0;
    long line = 0;
  };

  static double wrapped(double seconds) { return seconds - 604800.0 * std::round(seconds / 604800.0); }

  void readRow(const TextReader& reader, std::string_view line) {
    std::vector<std::string_view> cell;
    splitCells(line, cell);
    cell.resize(std::max<std::size_t>(cell.size(), 4));
    const auto number = parseInt(cell[0]);
    const auto epoch = parseReal(cell[2]), received = parseReal(cell[3]);
    if (!number || !epoch || !received || std::fabs(*epoch) > 1e6 || std::fabs(*received) > 1e6 ||
        !reader.terminated()) {
      reader.fail("row", "is not block number, type, epoch and reception in seconds of week");
    }
    m_rows[*number] = {*epoch, *received, reader.line()};
  }

  std::string m_path;
  std::map<long, Row> m_rows;
};

/// The messages of a recorded run, as they were known when a batch was delivered.
class TimelineBook : public MessageBook {
 public:
  explicit TimelineBook(const EphemerisTimeline* timeline) : m_timeline(timeline) {}
  void setPresent(const GpsTime& t) { m_present = t; }
  /// Makes a correction of a message that comes much later, as the files tell, one of the message that is
  /// held: its provider had it. One that is on its way is awaited, as a receiver does. \return whether it is
  /// of use
  bool moveToHeld(OrbitClockCorrection& c, const GpsTime& tag) const {
    constexpr double kOnItsWay_s = 300.0;
    if (m_timeline->findSent(c.sat, c.iod, tag, m_present + kOnItsWay_s) != nullptr) return false;
    const BroadcastEph* from = m_timeline->find(c.sat, c.iod, tag);
    const BroadcastEph* to = pick(c.sat, m_present);
    if (from != nullptr && to != nullptr) moveToMessage(c, *from, *to, tag);
    return true;
  }
  const MessageBook* orNull() const { return m_timeline == nullptr ? nullptr : this; }
  bool serves(const SatName& sat, int issue, const GpsTime& t) const override {
    return m_timeline->store().serves(sat, issue, t);
  }
  const BroadcastEph* find(const SatName& sat, int issue, const GpsTime& t) const override {
    return m_timeline->findSent(sat, issue, t, m_present);
  }
  const BroadcastEph* pick(const SatName& sat, const GpsTime& t) const override {
    return m_timeline->store().pick(sat, t);
  }

 private:
  const EphemerisTimeline* m_timeline;
  GpsTime m_present;
};

class SsrTextSource : public CorrectionSource {
 public:
  SsrTextSource(const SsrTextOptions& options, const EphemerisTimeline* timeline)
      : m_options(options),
        m_availability(options.availability),
        m_messages(timeline),
        m_joiner({options.longestOrbit_s, options.longestClock_s, options.halfInterval},
                 m_messages.orNull()) {
    if (options.files.empty()) throw UsageError("no file of corrections; give one or more SSR text files");
  }
  bool next(CorrectionBatch& batch) override;

 private:
  bool peek();
  bool join(CorrectionBatch& batch);

  SsrTextOptions m_options;
  Availability m_availability;
  TimelineBook m_messages;
  SsrJoiner m_joiner;
  GlonassTime m_glonassTime;
  IssueBridge m_bridge{IssueBridge::kUsual_s};
  std::unique_ptr<SsrTextReader> m_reader;
  std::size_t m_file = 0;

  SsrBlock m_block;  ///< read, not yet applied
  bool m_waiting = false;
  GpsTime m_blockDelivery;
};

/// Makes the next block wait in m_block.
bool SsrTextSource::peek() {
  while (!m_waiting) {
    if (!m_reader) {
      if (m_file == m_options.files.size()) return false;
      m_reader = std::make_unique<SsrTextReader>(m_options.files[m_file++]);
    }
    if (!m_reader->next(m_block)) {
      m_reader.reset();
      continue;
    }
    m_glonassTime.correct(m_block);
    const auto delay =
        m_file == 1 ? m_availability.delay(m_reader->blockNumber(), m_block.time) : std::nullopt;
    m_blockDelivery = m_block.time + delay.value_or(m_options.latency_s);
    m_waiting = true;
  }
  return true;
}

bool SsrTextSource::next(CorrectionBatch& batch) {
  while (peek()) {
    if (m_joiner.waits() && !m_joiner.belongs(m_block, m_blockDelivery) && join(batch)) return true;
    m_joiner.apply(m_block, m_blockDelivery);
    m_messages.setPresent(m_blockDelivery);
    m_waiting = false;
  }
  return join(batch);
}

/// As a live run does it, but for messages that the files give too late.
bool SsrTextSource::join(CorrectionBatch& batch) {
  if (!m_joiner.join(batch)) return false;
  if (m_messages.orNull() != nullptr)
    m_bridge.apply(batch, m_messages,
                   [&](OrbitClockCorrection& c) { return m_messages.moveToHeld(c, batch.tag); });
  return true;
}

}  // namespace

std::unique_ptr<CorrectionSource> makeSsrTextSource(const SsrTextOptions& options,
                                                    const EphemerisTimeline* timeline) {
  return std::make_unique<SsrTextSource>(options, timeline);
}

StreamBiases::StreamBiases(const std::vector<std::string>& ssrFiles) {
  SsrTextOptions options;
  options.files = ssrFiles;
  if (!ssrFiles.empty()) m_source = makeSsrTextSource(options);
  read();
}

void StreamBiases::read() {
  for (CorrectionBatch batch; m_source != nullptr;) {
    if (!m_source->next(batch)) return m_source.reset();
    if (!batch.newBiases) continue;
    m_nextFrom = batch.biasTag;
    m_next = std::move(batch.biases);
    return;
  }
}

const std::vector<SatBiases>* StreamBiases::until(const GpsTime& time) {
  bool any = false;
  for (; m_source != nullptr && m_nextFrom <= time; any = true, read()) m_last = std::move(m_next);
  return any ? &m_last : nullptr;
}

std::map<char, std::set<std::string>> correctedSignals(const std::vector<std::string>& biasFiles,
                                                       const std::vector<std::string>& ssrFiles) {
  std::map<char, std::set<std::string>> signals;
  for (const BiasRow& row : readSinexBias(biasFiles)) {
    for (const std::string& signal : {row.signal, row.second}) {
      if (!signal.empty() && signal[0] == 'C') signals[row.sat[0]].insert(signal.substr(1));
    }
  }
  constexpr double kAhead_s = 86400.0;  // what a stream has for a day is what it has
  for (const std::string& file : ssrFiles) {
    SsrTextReader reader(file);
    std::optional<GpsTime> first;
    for (SsrBlock block; reader.next(block);) {
      if (!first) first = block.time;
      if (block.time - *first > kAhead_s) break;
      if (block.kind != SsrKind::codeBias) continue;
      for (const SsrSatBias& sat : block.biases) {
        for (const SsrBias& b : sat.biases) signals[sat.sat[0]].insert(b.signal);
      }
    }
  }
  return signals;
}

}  // namespace gnx
