// Decodes correction messages.

#include "rtcm/ssr.h"

#include <algorithm>
#include <cmath>

#include "gnx/write.h"

namespace gnx::rtcm {

namespace {

constexpr std::size_t kMostSources = 16;
constexpr std::size_t kPadding = 8;  ///< fewer bits than these may be left

/// A satellite as it stands in a message.
struct Entry {
  SatName sat;
  int number = 0;
  std::int64_t lead = 0;
  int issue = 0, accuracy = 0;
  bool inRange = true;
  SsrOrbit orbit;
  SsrClock clock;
  double highRate = 0.0;
  SsrSatBias bias;
  int unknownSignals = 0;
};

/// A message read by one layout.
struct Message {
  std::int64_t epoch = 0;  ///< as sent
  int interval = 0;
  bool more = false, regional = false, dispersive = false, wideLane = false;
  int issue = 0, provider = 0, solution = 0;
  std::vector<Entry> entries;
  double quality = 0.0;
  std::vector<RtcmLayer> layers;
  bool fits = false;     ///< the payload is long enough
  std::size_t left = 0;  ///< bits behind it
};

class SsrReader {
 public:
  SsrReader(const SsrLayout& layout, std::span<const std::uint8_t> payload)
      : m_layout(layout), m_bits(payload) {}
  Message read();

 private:
  void readHead(Message& message);
  Entry readEntry();
  void readBiases(Entry& entry);
  RtcmLayer readLayer();
  double field(const SsrField& field, Entry& entry) {
    const std::int64_t number = m_bits.i(field.bits);
    if (number == outOfRange(field.bits)) entry.inRange = false;
    return static_cast<double>(number) * field.scale;
  }

  const SsrLayout& m_layout;
  BitReader m_bits;
};

void SsrReader::readHead(Message& message) {
  const bool phase = m_layout.part == SsrPart::phaseBias;
  m_bits.u(12);
  if (m_layout.igs()) m_bits.u(11);  // version, subtype
  message.epoch = static_cast<std::int64_t>(m_bits.u(m_layout.igs() ? 20 : m_layout.epochBits));
  message.interval = kUpdateIntervals[static_cast<std::size_t>(m_bits.number(4))];
  message.more = m_bits.flag();
  if (m_layout.anonymous) {
    m_bits.u(5);
    return;
  }
  if (m_layout.hasOrbit() && !m_layout.igs()) message.regional = m_bits.flag();
  message.issue = m_bits.number(4), message.provider = m_bits.number(16), message.solution = m_bits.number(4);
  if (m_layout.hasOrbit() && m_layout.igs()) message.regional = m_bits.flag();
  if (phase) message.dispersive = m_bits.flag(), message.wideLane = m_bits.flag();
}

Message SsrReader::read() {
  Message message;
  readHead(message);
  if (m_layout.part == SsrPart::ionosphere) {
    message.quality = 0.05 * m_bits.number(9);
    const int layers = m_bits.number(2) + 1;
    for (int i = 0; i < layers; ++i) message.layers.push_back(readLayer());
  } else {
    const int satellites = m_bits.number(m_layout.countBits);
    for (int i = 0; i < satellites && !m_bits.overrun(); ++i) message.entries.push_back(readEntry());
  }
  message.fits = !m_bits.overrun();
  message.left = m_bits.left();
  return message;
}

Entry SsrReader::readEntry() {
  Entry entry;
  entry.number = m_bits.number(m_layout.satelliteBits) + m_layout.satelliteOffset;
  entry.sat = satelliteName(m_layout.system, entry.number);
  if (m_layout.hasOrbit()) {
    if (!m_layout.igs()) entry.lead = m_bits.number(m_layout.leadBits);
    entry.issue = m_bits.number(m_layout.issueBits);
    for (std::size_t i = 0; i < 3; ++i) entry.orbit.delta[i] = field(kOrbitFields[i], entry);
    for (std::size_t i = 0; i < 3; ++i) entry.orbit.rate[i] = field(kOrbitFields[3 + i], entry);
  }
  if (m_layout.hasClock()) {
    for (std::size_t i = 0; i < 3; ++i) entry.clock.c[i] = field(kClockFields[i], entry);
  }
  if (m_layout.part == SsrPart::highRateClock) entry.highRate = field(kClockFields[0], entry);
  if (m_layout.part == SsrPart::accuracy) entry.accuracy = m_bits.number(6);
  if (m_layout.part == SsrPart::codeBias || m_layout.part == SsrPart::phaseBias) readBiases(entry);
  return entry;
}

void SsrReader::readBiases(Entry& entry) {
  const bool phase = m_layout.part == SsrPart::phaseBias;
  const int count = m_bits.number(5);
  if (phase) {
    entry.bias.yaw = m_bits.number(kYaw.bits) * kYaw.scale;
    entry.bias.yawRate = static_cast<double>(m_bits.i(kYawRate.bits)) * kYawRate.scale;
  }
  for (int i = 0; i < count; ++i) {
    SsrBias bias;
    bias.signal = ssrSignal(m_layout.system, m_bits.number(5), m_layout.igs());
    if (phase) {
      bias.integerIndicator = m_bits.number(1), bias.wideLaneIndicator = m_bits.number(2);
      bias.discontinuity = m_bits.number(4);
    }
    const SsrField& kind = phase ? kPhaseBias : kCodeBias;
    const std::int64_t number = m_bits.i(kind.bits);
    bias.value = static_cast<double>(number) * kind.scale;
    if (bias.signal.empty()) {
      ++entry.unknownSignals;
    } else if (number != outOfRange(kind.bits)) {
      entry.bias.biases.push_back(std::move(bias));
    }
  }
}

RtcmLayer SsrReader::readLayer() {
  constexpr double kHeight = 1e4, kCoefficient = 0.005;  // m, TECU
  RtcmLayer layer;
  layer.height = m_bits.number(8) * kHeight;
  layer.degree = m_bits.number(4) + 1, layer.order = m_bits.number(4) + 1;
  for (std::vector<double>* kind : {&layer.cosine, &layer.sine}) {
    for (int m = kind == &layer.sine ? 1 : 0; m <= layer.order; ++m) {
      for (int n = m; n <= layer.degree; ++n)
        kind->push_back(static_cast<double>(m_bits.i(16)) * kCoefficient);
    }
  }
  return layer;
}

/// Gives the content of a message as records.
class SsrGiver {
 public:
  SsrGiver(const SsrLayout& layout, Message message, SsrMemory& memory, Context& context)
      : m_layout(layout), m_message(std::move(message)), m_memory(memory), m_context(context) {}
  void give();

 private:
  std::optional<GpsTime> time() const;
  int issueOfBroadcast(const Entry& entry) const;
  void giveOrbits();
  void giveClocks();
  void giveHighRateClocks();
  void giveBiases();
  void giveAccuracies();
  void giveIonosphere();
  void giveBlock(SsrKind kind, auto&& fill);
  void takeClock(const Entry& entry, SsrBlock& block);
  void refineClock(const Entry& entry, SsrBlock& block);
  SsrMemory::Satellite& memoryOf(const Entry& entry) {
    return m_memory.of(m_message.provider, m_message.solution, entry.sat);
  }

  const SsrLayout& m_layout;
  Message m_message;
  SsrMemory& m_memory;
  Context& m_context;
  GpsTime m_time;
};

std::optional<GpsTime> SsrGiver::time() const {
  if (m_message.epoch > 604800) return std::nullopt;
  const std::int64_t ms = m_message.epoch * 1000;
  if (m_layout.igs()) return m_context.time.ofWeek(ms);
  if (m_layout.system == 'R') return m_context.time.ofMoscowDay(ms);
  return m_layout.system == 'C' ? m_context.time.ofBeidouWeek(ms) : m_context.time.ofWeek(ms);
}

void SsrGiver::give() {
  const auto placed = time();
  if (!placed) return m_context.dropTime();
  m_time = *placed;
  // Biases may be hours old.
  if (m_layout.hasOrbit() || m_layout.hasClock()) m_context.time.advance(m_time);
  std::erase_if(m_message.entries, [&](const Entry& entry) {
    if (entry.number == 0) m_context.drop(RtcmDrop::unknownSatellite);
    if (!entry.inRange) m_context.drop(RtcmDrop::impossibleValue);
    for (int i = 0; i < entry.unknownSignals; ++i) m_context.drop(RtcmDrop::unknownSignal);
    return entry.number == 0 || !entry.inRange;
  });
  if (m_layout.hasOrbit()) giveOrbits();
  if (m_layout.hasClock()) giveClocks();
  if (m_layout.part == SsrPart::highRateClock) giveHighRateClocks();
  if (m_layout.part == SsrPart::codeBias || m_layout.part == SsrPart::phaseBias) giveBiases();
  if (m_layout.part == SsrPart::accuracy) giveAccuracies();
  if (m_layout.part == SsrPart::ionosphere) giveIonosphere();
}

void SsrGiver::giveBlock(SsrKind kind, auto&& fill) {
  RtcmSsr record;
  record.provider = m_message.provider, record.solution = m_message.solution, record.issue = m_message.issue;
  record.regional = m_message.regional, record.more = m_message.more;
  record.dispersive = m_message.dispersive, record.wideLane = m_message.wideLane;
  SsrBlock& block = record.block;
  block.kind = kind, block.time = m_time, block.interval = m_message.interval;
  block.source = std::to_string(record.provider) + "." + std::to_string(record.solution);
  for (const Entry& entry : m_message.entries) fill(entry, block);
  if (block.orbits.empty() && block.clocks.empty() && block.biases.empty()) return;
  m_context.give(std::move(record));
}

int SsrGiver::issueOfBroadcast(const Entry& entry) const {
  if (m_layout.namesByChecksum()) return -1;
  if (m_layout.system == 'C') return halfHourOfIssue(entry.issue);
  if (m_layout.system == 'E' && m_layout.igs()) {
    const auto sat = m_context.galileoIssues.find(entry.sat);
    if (sat == m_context.galileoIssues.end()) return entry.issue;
    const auto whole = sat->second.find(entry.issue);
    return whole == sat->second.end() ? entry.issue : whole->second;
  }
  return entry.issue;
}

void SsrGiver::giveOrbits() {
  giveBlock(SsrKind::orbit, [&](const Entry& entry, SsrBlock& block) {
    SsrOrbit orbit = entry.orbit;
    orbit.sat = entry.sat, orbit.iod = issueOfBroadcast(entry);
    memoryOf(entry).orbit = SsrMemory::Orbit{millisecondsOf(m_time), m_message.issue, orbit.iod};
    block.orbits.push_back(std::move(orbit));
  });
}

void SsrGiver::giveClocks() {
  giveBlock(SsrKind::clock, [&](const Entry& entry, SsrBlock& block) { takeClock(entry, block); });
}

void SsrGiver::takeClock(const Entry& entry, SsrBlock& block) {
  SsrMemory::Satellite& memory = memoryOf(entry);
  const bool belongs =
      memory.orbit && memory.orbit->issue == m_message.issue && millisecondsOf(m_time) >= memory.orbit->time;
  if (!belongs) return m_context.drop(RtcmDrop::withoutOrbit);
  SsrClock clock = entry.clock;
  clock.sat = entry.sat, clock.iod = memory.orbit->iod;
  const double middle = m_message.interval > 1 ? 0.5 * m_message.interval : 0.0;
  memory.clock = SsrMemory::Clock{m_time + middle, m_message.issue, clock};
  block.clocks.push_back(std::move(clock));
}

void SsrGiver::giveHighRateClocks() {
  giveBlock(SsrKind::clock, [&](const Entry& entry, SsrBlock& block) { refineClock(entry, block); });
}

/// The polynomial moved to the reference time of this message, and the value added.
void SsrGiver::refineClock(const Entry& entry, SsrBlock& block) {
  const auto& before = memoryOf(entry).clock;
  if (!before || before->issue != m_message.issue) return m_context.drop(RtcmDrop::withoutClock);
  SsrClock clock = before->clock;
  const double middle = m_message.interval > 1 ? 0.5 * m_message.interval : 0.0;
  const double passed = (m_time + middle) - before->reference;
  clock.c[0] += (clock.c[1] + clock.c[2] * passed) * passed + entry.highRate;
  clock.c[1] += 2.0 * clock.c[2] * passed;
  block.clocks.push_back(std::move(clock));
}

void SsrGiver::giveBiases() {
  const SsrKind kind = m_layout.part == SsrPart::codeBias ? SsrKind::codeBias : SsrKind::phaseBias;
  giveBlock(kind, [](const Entry& entry, SsrBlock& block) {
    SsrSatBias bias = entry.bias;
    bias.sat = entry.sat;
    block.biases.push_back(std::move(bias));
  });
}

void SsrGiver::giveAccuracies() {
  RtcmAccuracy record{m_time, {}};
  for (const Entry& entry : m_message.entries) {
    if (entry.accuracy == 0) continue;  // undefined
    const double value = 1.0 + (entry.accuracy & 7) / 4.0;
    record.sigma[entry.sat] = (std::pow(3.0, entry.accuracy >> 3) * value - 1.0) * 1e-3;
  }
  if (!record.sigma.empty()) m_context.give(std::move(record));
}

void SsrGiver::giveIonosphere() {
  m_context.give(RtcmIonosphere{m_time, m_message.interval, m_message.provider, m_message.solution,
                                m_message.quality, m_message.layers});
}

}  // namespace

SsrMemory::Satellite& SsrMemory::of(int provider, int solution, const SatName& sat) {
  const Source source{provider, solution};
  if (!m_sources.contains(source) && m_sources.size() >= kMostSources) m_sources.clear();
  return m_sources[source][sat];
}

int halfHourOfIssue(int issue) { return static_cast<int>(std::lround((720 * issue) % 86400 / 1800.0)) + 1; }
int issueOfHalfHour(int halfHour) { return (halfHour - 1) * 1800 / 720; }

void decodeSsr(int number, std::span<const std::uint8_t> payload, SsrMemory& memory, Context& context) {
  BitReader bits(payload);
  bits.u(15);
  const std::vector<SsrLayout> layouts = ssrLayouts(number, number == 4076 ? bits.number(8) : 0);
  // The length tells which layout the sender uses; some send a few bytes too many.
  std::optional<std::pair<SsrLayout, Message>> found;
  for (const SsrLayout& layout : layouts) {
    Message message = SsrReader(layout, payload).read();
    const bool exact = message.fits && message.left < kPadding;
    if (exact || (message.fits && !found)) found = {layout, std::move(message)};
    if (exact) break;
  }
  if (!found) return context.drop(RtcmDrop::tooShort);
  SsrGiver(found->first, std::move(found->second), memory, context).give();
}

}  // namespace gnx::rtcm
