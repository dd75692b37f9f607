// Hands records to the engine: products satellite by satellite, epochs signal by signal.

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "gnx/adapt.h"
#include "gnx/corrections.h"
#include "gnx/signal.h"

namespace gnx {

namespace {

GNX_IO::ssr_t emptyCorrection() {
  GNX_IO::ssr_t ssr{};
  ssr.mark_orb = ssr.mark_clk = ssr.mark_cbias = ssr.mark_pbias = ssr.mark_ifpb = GNX_IO::kConsumed;
  return ssr;
}

}  // namespace

ProductFeed::ProductFeed(Boundary& boundary, const BoundaryNumbers& numbers, const SignalPlan& plan,
                         std::set<SatName> excluded, std::set<SatName> reversed, bool sourceHasCodeBiases)
    : boundary_(boundary),
      numbers_(numbers),
      plan_(plan),
      excluded_(std::move(excluded)),
      reversed_(std::move(reversed)),
      sourceHasCodeBiases_(sourceHasCodeBiases),
      ssr_(GNX_IO::kMaxSatellite, emptyCorrection()) {}

void ProductFeed::feed(const BroadcastEph& eph) {
  const int sat = numbers_.satellite(eph.sat);
  if (sat == 0 || excluded_.contains(eph.sat)) return;
  boundary_.inputMessage(sat, toBoundary(eph, numbers_));
}

void ProductFeed::feed(const GlonassEph& eph) {
  const int sat = numbers_.satellite(eph.sat);
  const int prn = std::atoi(eph.sat.c_str() + 1);
  if (sat == 0 || prn < 1 || prn > GNX_IO::kMaxSatellite || excluded_.contains(eph.sat)) return;
  boundary_.inputMessage(sat, prn, toBoundary(eph));
}

void ProductFeed::feed(const CorrectionBatch& batch) {
  feedBiases(batch);
  feedOrbitClock(batch);
}

void ProductFeed::feedOrbitClock(const CorrectionBatch& batch) {
  if (batch.orbitClock.empty()) return;
  for (const OrbitClockCorrection& c : batch.orbitClock) {
    const int sat = numbers_.satellite(c.sat);
    if (sat == 0 || excluded_.contains(c.sat)) continue;
    GNX_IO::ssr_t& s = ssr_[static_cast<std::size_t>(sat - 1)];
    s.t0_orb = s.t0_clk = toBoundaryTime(batch.tag);
    s.mark_orb = s.mark_clk = 1;
    s.iod = s.iod_bds = c.iod;
    std::copy(c.deph.begin(), c.deph.end(), s.deph);
    std::copy(c.ddeph.begin(), c.ddeph.end(), s.ddeph);
    std::copy(c.dclk.begin(), c.dclk.end(), s.dclk);
    s.update = 1;
  }
  boundary_.inputCorrections(ssr_.data());
}

bool ProductFeed::setCodeBiases(GNX_IO::ssr_t& ssr, char system, const SatBiases* biases) const {
  std::fill(std::begin(ssr.cbias), std::end(ssr.cbias), 0.0F);
  bool any = false;
  for (const PlannedSignal& signal : plan_.of(system)) {
    const int code = numbers_.code(signal.code);
    if (code == 0) continue;
    double value = 0.0;
    if (sourceHasCodeBiases_) {
      const SsrBias* bias = biases == nullptr ? nullptr : codeBiasOf(signal, *biases);
      if (bias == nullptr) continue;
      value = bias->value;
    }
    ssr.cbias[code - 1] = boundaryCodeBias(value);
    any = true;
  }
  return any;
}

bool ProductFeed::setPhaseBiases(GNX_IO::ssr_t& ssr, const SatName& sat, const SatBiases* biases,
                                 const GpsTime& tag) const {
  const char system = sat[0];
  std::fill(std::begin(ssr.pbias), std::end(ssr.pbias), 0.0);
  std::fill(std::begin(ssr.stdpb), std::end(ssr.stdpb), 0.0F);
  if (biases == nullptr) return false;
  bool any = false;
  const double cycles = windUpCycles(reversed_.contains(sat));
  for (const PlannedSignal& signal : plan_.of(system)) {
    const SsrBias* bias = phaseBiasOf(system, signal, *biases);
    if (bias == nullptr) continue;
    const int code = numbers_.code(signal.code);
    if (code == 0) continue;
    // Changes of the bias concern satellites that stay float as well.
    const double value = arcs_ == nullptr
                             ? bias->value
                             : arcs_->note(sat, signal.phase, bias->value, bias->discontinuity, tag);
    if (floating_.contains(sat)) continue;
    ssr.pbias[code - 1] = value;
    if (const auto hz = carrierFrequency(system, signal.code[0]))
      ssr.pbias[code - 1] += cycles * kLightSpeed / *hz;
    ssr.stdpb[code - 1] = 1.0F;
    any = true;
  }
  return any;
}

void ProductFeed::feedBiases(const CorrectionBatch& batch) {
  std::map<SatName, const SatBiases*> given;
  if (batch.newBiases) {
    for (const SatBiases& b : batch.biases) given[b.sat] = &b;
  }
  if (!sourceHasCodeBiases_) {  // products name their satellites by their orbits alone
    for (const OrbitClockCorrection& c : batch.orbitClock) {
      if (!referenceGiven_.contains(c.sat)) given.try_emplace(c.sat, nullptr);
    }
  }
  bool any = false;
  for (const auto& [name, biases] : given) {
    const int sat = numbers_.satellite(name);
    if (sat == 0 || excluded_.contains(name)) continue;
    GNX_IO::ssr_t& s = ssr_[static_cast<std::size_t>(sat - 1)];
    const GpsTime tag = batch.newBiases ? batch.biasTag : batch.tag;
    s.t0_cbias = s.t0_pbias = toBoundaryTime(tag);
    if (setCodeBiases(s, name[0], biases)) {
      s.mark_cbias = 1;
      any = true;
    }
    if (setPhaseBiases(s, name, biases, tag)) {
      s.mark_pbias = 1;
      any = true;
    }
    referenceGiven_.insert(name);
  }
  if (any) boundary_.inputBiases(ssr_.data());
}

ObservationFeed::ObservationFeed(Boundary& boundary, const BoundaryNumbers& numbers, const SignalPlan& plan,
                                 std::set<SatName> excluded)
    : boundary_(boundary), numbers_(numbers), plan_(plan), excluded_(std::move(excluded)) {}

bool ObservationFeed::convert(const SatObs& sat, GNX_IO::obs_entry_t& entry) const {
  entry = {};
  entry.sat = static_cast<std::uint8_t>(numbers_.satellite(sat.sat));
  const auto find = [&](const std::string& signal) -> const SignalObs* {
    const auto found = std::find_if(sat.signals.begin(), sat.signals.end(),
                                    [&](const SignalObs& s) { return signal == s.code.data(); });
    return found == sat.signals.end() ? nullptr : &*found;
  };
  int slot = 0;
  for (const PlannedSignal& planned : plan_.of(sat.sat[0])) {
    if (slot == GNX_IO::kSignalSlots) break;
    const SignalObs* code = find(planned.code);
    const SignalObs* phase = find(planned.phase);
    if (code == nullptr && phase == nullptr) continue;
    entry.code[slot] = static_cast<std::uint8_t>(numbers_.code(planned.code));
    if (code != nullptr) entry.P[slot] = code->range;
    if (phase != nullptr) {
      entry.L[slot] = phase->phase;
      if (arcs_ != nullptr && phase->phase != 0.0) entry.L[slot] += arcs_->shift(sat.sat, planned.phase);
      entry.D[slot] = static_cast<float>(phase->doppler);
      entry.SNR[slot] = static_cast<std::uint16_t>(std::clamp(std::lround(phase->snr * 1000.0), 0L, 65535L));
    }
    ++slot;
  }
  return slot > 0;
}

bool ObservationFeed::adrift(const SatObs& sat) const {
  const auto& planned = plan_.of(sat.sat[0]);
  return arcs_ != nullptr && std::any_of(planned.begin(), planned.end(), [&](const PlannedSignal& signal) {
           return arcs_->adrift(sat.sat, signal.phase);
         });
}

void ObservationFeed::count(const SatObs& sat, const char* leftOut, const GNX_IO::obs_entry_t& entry) {
  SystemAccount& counts = account_[sat.sat[0]];
  long given = 0, planned = 0;
  for (const SignalObs& s : sat.signals) given += (s.phase != 0.0 ? 1 : 0) + (s.range != 0.0 ? 1 : 0);
  for (int slot = 0; slot < GNX_IO::kSignalSlots; ++slot)
    planned += (entry.L[slot] != 0.0 ? 1 : 0) + (entry.P[slot] != 0.0 ? 1 : 0);
  counts.in += planned;
  counts.unplanned += given - planned;
  if (leftOut != nullptr && planned > 0) counts.reasons[leftOut] += planned;
}

void ObservationFeed::feed(const ObsEpoch& epoch) {
  entries_.clear();
  for (const SatObs& sat : epoch.sats) {
    GNX_IO::obs_entry_t entry;
    const bool planned = convert(sat, entry);
    const char* leftOut = entry.sat == 0                            ? "unknown"
                          : !planned || excluded_.contains(sat.sat) ? "excluded"
                          : adrift(sat)                             ? "nophasebias"
                                                                    : nullptr;
    if (leftOut == nullptr) entries_.push_back(entry);
    count(sat, leftOut, entry);
  }
  boundary_.inputEpoch(toBoundaryTime(epoch.time), entries_);
}

}  // namespace gnx
