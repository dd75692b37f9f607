// Decodes multiple signal messages.

#include <cmath>

#include "rtcm/carriers.h"
#include "rtcm/msm_layout.h"
#include "rtcm/observations.h"

namespace gnx::rtcm {

namespace {

constexpr double kLightMs = kLightSpeed / 1000.0;
constexpr int kChannelZero = 7, kLastChannel = 13;

constexpr std::int64_t invalid(int bits) { return -(std::int64_t{1} << (bits - 1)); }

struct Satellite {
  int identifier = 0;
  SatName name;
  int whole = kNoWholeRange, information = 0;
  int fraction = 0;
  std::int64_t rate = 0;
};
struct Cell {
  std::size_t satellite = 0;
  int signal = 0;
  std::int64_t range = 0, phase = 0, rate = 0;
  int lock = 0, snr = 0;
  bool halfCycle = false;
};

class MsmMessage {
 public:
  MsmMessage(int number, BitReader bits, EpochAssembler& epochs, Context& context)
      : m_system(*msmSystemOfMessage(number)),
        m_type(number - m_system.base),
        m_layout(kMsmLayouts[static_cast<std::size_t>(m_type)]),
        m_bits(bits),
        m_epochs(epochs),
        m_context(context) {}
  void decode();

 private:
  std::optional<GpsTime> epochTime(std::uint64_t field) const;
  bool readMasks();
  void readSatellites();
  void readCells();
  void giveCell(const Cell& cell);
  std::optional<int> channelOf(const Satellite& satellite);

  const MsmSystem& m_system;
  int m_type;
  const MsmLayout& m_layout;
  BitReader m_bits;
  EpochAssembler& m_epochs;
  Context& m_context;
  int m_station = 0;
  GpsTime m_time;
  std::vector<Satellite> m_satellites;
  std::vector<Cell> m_cells;
};

void MsmMessage::decode() {
  m_bits.u(12);
  m_station = m_bits.number(12);
  const std::uint64_t epoch = m_bits.u(30);
  const bool more = m_bits.flag();
  m_bits.u(18);  // what a receiver does with its own clock and codes is of no use here
  if (!readMasks()) return m_context.drop(m_bits.overrun() ? RtcmDrop::tooShort : RtcmDrop::impossibleValue);
  readSatellites();
  readCells();
  if (m_bits.overrun()) return m_context.drop(RtcmDrop::tooShort);
  const auto time = epochTime(epoch);
  if (!time) return m_context.dropTime();
  m_time = *time;
  if (!m_epochs.begin(m_station, m_time, m_context)) return m_context.drop(RtcmDrop::late);
  m_context.time.advance(m_time);
  if (m_layout.wholeRange == 0) {
    m_context.drop(RtcmDrop::ambiguousRange);
  } else {
    for (const Cell& cell : m_cells) giveCell(cell);
  }
  m_epochs.end(m_station, more, m_context);
}

std::optional<GpsTime> MsmMessage::epochTime(std::uint64_t field) const {
  const auto ms = static_cast<std::int64_t>(field);
  // The day of the week in front of GLONASS times is not to be trusted: senders let it run to 7.
  if (m_system.letter == 'R') return m_context.time.ofMoscowDay(ms & ((1 << 27) - 1));
  return m_system.letter == 'C' ? m_context.time.ofBeidouWeek(ms) : m_context.time.ofWeek(ms);
}

bool MsmMessage::readMasks() {
  for (int identifier = 1; identifier <= 64; ++identifier) {
    if (!m_bits.flag()) continue;
    Satellite satellite;
    satellite.identifier = identifier;
    satellite.name = satelliteName(m_system.letter, identifier + m_system.offset);
    m_satellites.push_back(satellite);
  }
  std::vector<int> signals;
  for (int identifier = 1; identifier <= 32; ++identifier) {
    if (m_bits.flag()) signals.push_back(identifier);
  }
  if (m_satellites.size() * signals.size() > kMostCells) return false;
  for (std::size_t s = 0; s < m_satellites.size(); ++s) {
    for (const int signal : signals) {
      if (!m_bits.flag()) continue;
      Cell cell;
      cell.satellite = s, cell.signal = signal;
      m_cells.push_back(cell);
    }
  }
  return !m_bits.overrun();
}

void MsmMessage::readSatellites() {
  if (m_layout.wholeRange > 0) {
    for (Satellite& s : m_satellites) s.whole = m_bits.number(m_layout.wholeRange);
  }
  if (m_layout.information > 0) {
    for (Satellite& s : m_satellites) s.information = m_bits.number(m_layout.information);
  }
  for (Satellite& s : m_satellites) s.fraction = m_bits.number(m_layout.rangeFraction);
  if (m_layout.rate > 0) {
    for (Satellite& s : m_satellites) s.rate = m_bits.i(m_layout.rate);
  }
}

void MsmMessage::readCells() {
  const auto each = [&](int bits, auto&& read) {
    if (bits == 0) return;
    for (Cell& cell : m_cells) read(cell, bits);
  };
  each(m_layout.range, [&](Cell& cell, int bits) { cell.range = m_bits.i(bits); });
  each(m_layout.phase, [&](Cell& cell, int bits) { cell.phase = m_bits.i(bits); });
  each(m_layout.lock, [&](Cell& cell, int bits) { cell.lock = m_bits.number(bits); });
  each(m_layout.halfCycle, [&](Cell& cell, int bits) { cell.halfCycle = m_bits.u(bits) != 0; });
  each(m_layout.snr, [&](Cell& cell, int bits) { cell.snr = m_bits.number(bits); });
  each(m_layout.fineRate, [&](Cell& cell, int bits) { cell.rate = m_bits.i(bits); });
}

/// Channel of a GLONASS satellite, 0 for others; nothing when it is not known.
std::optional<int> MsmMessage::channelOf(const Satellite& satellite) {
  if (m_system.letter != 'R') return 0;
  if (m_layout.information > 0 && satellite.information <= kLastChannel)
    return m_context.channels[satellite.name] = satellite.information - kChannelZero;
  const auto known = m_context.channels.find(satellite.name);
  if (known == m_context.channels.end()) return std::nullopt;
  return known->second;
}

void MsmMessage::giveCell(const Cell& cell) {
  const Satellite& satellite = m_satellites[cell.satellite];
  const std::string_view code = m_system.signals[static_cast<std::size_t>(cell.signal)];
  if (code.empty()) return m_context.drop(RtcmDrop::unknownSignal);
  const bool hasRange = cell.range != invalid(m_layout.range),
             hasPhase = cell.phase != invalid(m_layout.phase);
  if (satellite.whole == kNoWholeRange || (!hasRange && !hasPhase))
    return m_context.drop(RtcmDrop::invalidCell);
  const double rough = satellite.whole + std::ldexp(satellite.fraction, -10);
  const auto metres = [&](std::int64_t fine, int scale) {
    return kLightMs * (rough + std::ldexp(static_cast<double>(fine), -scale));
  };
  const auto channel = channelOf(satellite);
  const double carrier = carrierOf(m_system.letter, code[0], channel.value_or(0)).value_or(0.0);
  ReceivedSignal signal;
  signal.sat = satellite.name;
  signal.obs.code = {code[0], code[1], '\0'};
  if (hasRange) signal.obs.range = metres(cell.range, m_layout.rangeScale);
  if (hasPhase && channel) {
    signal.phaseRange = metres(cell.phase, m_layout.phaseScale);
    signal.obs.phase = signal.phaseRange * carrier / kLightSpeed;
  }
  if (hasPhase && !channel) m_context.drop(RtcmDrop::unknownChannel);
  const bool hasRate = m_layout.rate > 0 && satellite.rate != invalid(m_layout.rate) &&
                       cell.rate != invalid(m_layout.fineRate);
  if (hasRate && channel) {
    const double rate = static_cast<double>(satellite.rate) + kFineRate * static_cast<double>(cell.rate);
    signal.obs.doppler = -rate * carrier / kLightSpeed;
  }
  signal.obs.snr = std::ldexp(cell.snr, -m_layout.snrScale);
  const LockTable table = m_layout.lock == 4 ? LockTable::msm : LockTable::msmExtended;
  signal.lock = {millisecondsOf(m_time), lockTime(table, cell.lock), cell.halfCycle};
  m_epochs.add(m_station, signal, m_context);
}

}  // namespace

void decodeMsm(int message, BitReader bits, EpochAssembler& epochs, Context& context) {
  MsmMessage(message, bits, epochs, context).decode();
}

}  // namespace gnx::rtcm
