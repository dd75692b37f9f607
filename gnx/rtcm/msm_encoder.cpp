// Multiple signal messages of type 7 from observations.

#include "rtcm/msm_encoder.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "rtcm/carriers.h"
#include "rtcm/lock_time.h"
#include "rtcm/msm_layout.h"
#include "rtcm/stream_time.h"

namespace gnx::rtcm {

namespace {

constexpr double kLightMs = kLightSpeed / 1000.0;
constexpr const MsmLayout& kLayout = kMsmLayouts[7];
constexpr int kSlip = 1, kHalfCycle = 2, kChannelZero = 7, kUnknownChannel = 15;

constexpr std::int64_t invalid(int bits) { return -(std::int64_t{1} << (bits - 1)); }
/// The number for a field, or its mark of an invalid value.
std::int64_t fitted(double value, int bits) {
  const double limit = std::ldexp(1.0, bits - 1);
  return std::fabs(value) < limit - 0.5 ? std::llround(value) : invalid(bits);
}

int identifierOf(const MsmSystem& system, const SignalObs& obs) {
  const auto found =
      std::find(system.signals.begin(), system.signals.end(), std::string_view(obs.code.data()));
  return found == system.signals.end() || found->empty() ? 0
                                                         : static_cast<int>(found - system.signals.begin());
}

}  // namespace

struct MsmEncoder::Cell {
  std::int64_t range = invalid(kLayout.range), phase = invalid(kLayout.phase),
               rate = invalid(kLayout.fineRate);
  int lock = 0, snr = 0;
  bool halfCycle = false;
};

struct MsmEncoder::Satellite {
  int identifier = 0, information = 0;
  std::int64_t rough = 0;  ///< 2^-10 ms
  std::int64_t rate = invalid(kLayout.rate);
  std::map<int, Cell> cells;  ///< by signal identifier
};

/// A message.
struct MsmEncoder::Part {
  const MsmSystem* system = nullptr;
  int station = 0;
  GpsTime time;
  bool more = false;
  std::vector<Satellite> satellites;
};

std::vector<BitWriter> MsmEncoder::encode(int station, const ObsEpoch& epoch) {
  std::map<const MsmSystem*, std::map<int, Satellite>> systems;
  for (const SatObs& sat : epoch.sats) {
    auto satellite = prepare(sat, millisecondsOf(epoch.time));
    if (satellite) systems[msmSystemOfLetter(sat.sat[0])][satellite->identifier] = std::move(*satellite);
  }
  std::vector<Part> parts;
  for (auto& [system, satellites] : systems) {
    std::set<int> signals;
    for (const auto& [identifier, satellite] : satellites) {
      for (const auto& [signal, cell] : satellite.cells) signals.insert(signal);
    }
    const std::size_t most = static_cast<std::size_t>(kMostCells) / signals.size();
    std::size_t count = 0;
    for (auto& [identifier, satellite] : satellites) {
      if (count++ % most == 0) parts.push_back({system, station, epoch.time, true, {}});
      parts.back().satellites.push_back(std::move(satellite));
    }
  }
  std::vector<BitWriter> payloads;
  if (!parts.empty()) parts.back().more = false;
  for (const Part& part : parts) payloads.push_back(write(part));
  return payloads;
}

/// Nothing for a satellite without a pseudorange or a signal that has a number.
std::optional<MsmEncoder::Satellite> MsmEncoder::prepare(const SatObs& sat, std::int64_t now) {
  const MsmSystem* system = msmSystemOfLetter(sat.sat.at(0));
  if (system == nullptr) return std::nullopt;
  Satellite result;
  result.identifier = std::stoi(sat.sat.substr(1)) - system->offset;
  const auto channel = m_channels.find(sat.sat);
  const bool known = system->letter != 'R' || channel != m_channels.end();
  if (system->letter == 'R') result.information = known ? channel->second + kChannelZero : kUnknownChannel;
  const auto first = std::find_if(sat.signals.begin(), sat.signals.end(),
                                  [](const SignalObs& obs) { return obs.range > 0.0; });
  if (first == sat.signals.end()) return std::nullopt;
  result.rough = std::llround(first->range / kLightMs * 1024.0);
  if (result.rough >= kNoWholeRange * 1024) return std::nullopt;
  const double rough = static_cast<double>(result.rough) / 1024.0;
  for (const SignalObs& obs : sat.signals) {
    const int signal = identifierOf(*system, obs);
    const auto carrier =
        carrierOf(system->letter, obs.code[0], known && system->letter == 'R' ? channel->second : 0);
    if (signal == 0 || !carrier) continue;
    const double wavelength = kLightSpeed / *carrier;
    Cell& cell = result.cells[signal];
    if (obs.range != 0.0)
      cell.range = fitted(std::ldexp(obs.range / kLightMs - rough, kLayout.rangeScale), kLayout.range);
    if (obs.phase != 0.0 && known) preparePhase(sat.sat, obs, wavelength, rough, now, cell);
    if (obs.doppler != 0.0 && known) {
      const double rate = -obs.doppler * wavelength;
      if (result.rate == invalid(kLayout.rate)) result.rate = fitted(rate, kLayout.rate);
      cell.rate = fitted((rate - static_cast<double>(result.rate)) / kFineRate, kLayout.fineRate);
    }
    cell.snr = static_cast<int>(std::clamp(std::round(std::ldexp(obs.snr, kLayout.snrScale)), 0.0, 1023.0));
  }
  if (result.cells.empty() || result.identifier < 1 || result.identifier > 64) return std::nullopt;
  return result;
}

void MsmEncoder::preparePhase(const SatName& sat, const SignalObs& obs, double wavelength, double rough,
                              std::int64_t now, Cell& cell) {
  const auto [place, isNew] = m_arcs.try_emplace(sat + obs.code.data());
  Arc& arc = place->second;
  const auto fine = [&] {
    const double range = (obs.phase - arc.moved) * wavelength / kLightMs;
    return fitted(std::ldexp(range - rough, kLayout.phaseScale), kLayout.phase);
  };
  if (isNew || (obs.lli & kSlip) != 0 || fine() == invalid(kLayout.phase)) {
    const double target = obs.range != 0.0 ? obs.range : rough * kLightMs;
    arc = {now, std::round(obs.phase - target / wavelength)};
  }
  cell.phase = fine();
  cell.lock = extendedIndicator(std::max<std::int64_t>(now - arc.start, 0));
  cell.halfCycle = (obs.lli & kHalfCycle) != 0;
}

BitWriter MsmEncoder::write(const Part& part) {
  std::uint64_t satelliteMask = 0;
  std::uint32_t signalMask = 0;
  std::set<int> signals;
  for (const Satellite& s : part.satellites) {
    satelliteMask |= std::uint64_t{1} << (64 - s.identifier);
    for (const auto& [signal, cell] : s.cells) signals.insert(signal);
  }
  for (const int signal : signals) signalMask |= std::uint32_t{1} << (32 - signal);
  const char letter = part.system->letter;
  BitWriter bits;
  bits.number(part.system->base + 7, 12);
  bits.number(part.station, 12);
  if (letter == 'R') bits.number(7, 3);  // the day of the week is not told
  bits.i(letter == 'R'   ? moscowDayMilliseconds(part.time)
         : letter == 'C' ? beidouWeekMilliseconds(part.time)
                         : weekMilliseconds(part.time),
         letter == 'R' ? 27 : 30);
  bits.number(part.more ? 1 : 0, 1);
  bits.number(0, 18);
  bits.u(satelliteMask, 64);
  bits.u(signalMask, 32);
  std::vector<const Cell*> cells;
  for (const Satellite& s : part.satellites) {
    for (const int signal : signals) {
      const auto cell = s.cells.find(signal);
      bits.number(cell != s.cells.end() ? 1 : 0, 1);
      if (cell != s.cells.end()) cells.push_back(&cell->second);
    }
  }
  for (const Satellite& s : part.satellites) bits.i(s.rough / 1024, kLayout.wholeRange);
  for (const Satellite& s : part.satellites) bits.number(s.information, kLayout.information);
  for (const Satellite& s : part.satellites) bits.i(s.rough % 1024, kLayout.rangeFraction);
  for (const Satellite& s : part.satellites) bits.i(s.rate, kLayout.rate);
  for (const Cell* cell : cells) bits.i(cell->range, kLayout.range);
  for (const Cell* cell : cells) bits.i(cell->phase, kLayout.phase);
  for (const Cell* cell : cells) bits.number(cell->lock, kLayout.lock);
  for (const Cell* cell : cells) bits.number(cell->halfCycle ? 1 : 0, kLayout.halfCycle);
  for (const Cell* cell : cells) bits.number(cell->snr, kLayout.snr);
  for (const Cell* cell : cells) bits.i(cell->rate, kLayout.fineRate);
  return bits;
}

}  // namespace gnx::rtcm
