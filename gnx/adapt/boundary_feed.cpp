// Records of files as records of the boundary, signal by signal.

#include "adapt/boundary_feed.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>

#include "adapt/signal_biases.h"
#include "corrections/broadcast_orbit.h"
#include "corrections/signals.h"

namespace gnx {

namespace {

/// The engine turns QZSS orbits with 7.292115e-5 rad/s, IS-QZSS-PNT with 7.2921151467e-5: 17 to 37 m along
/// the orbit late in a week. With this difference in the rate of the node and in the node itself the
/// engine's evaluation of a message is that of the document.
constexpr double kQzssRateExcess = 7.292115e-5 - 7.2921151467e-5;

/// The engine takes exactly 0 as "no code bias" and drops the satellite; a reference signal, whose
/// bias is 0 by definition, gets this instead. It survives the boundary's 32-bit float.
constexpr double kReferenceBias_m = 1e-9;

GNX_IO::ssr_t emptyCorrection() {
  GNX_IO::ssr_t ssr{};
  ssr.mark_orb = ssr.mark_clk = ssr.mark_cbias = ssr.mark_pbias = ssr.mark_ifpb = GNX_IO::kConsumed;
  return ssr;
}

}  // namespace

GNX_IO::gtime_t toBoundaryTime(const GpsTime& t) { return {t.seconds, t.fraction}; }

BoundaryNumbers::BoundaryNumbers() {
  for (int sat = 1; sat <= GNX_IO::kMaxSatellite; ++sat) {
    char id[32] = "";
    GNX_IO::satno2id(sat, id);
    if (id[0] != '\0') satellites_[id] = sat;
  }
  for (int code = 1; code <= GNX_IO::kMaxCode; ++code) {
    const char* text = GNX_IO::code2obs(static_cast<unsigned char>(code));
    if (text != nullptr && text[0] != '\0') codes_[text] = code;
  }
}

int BoundaryNumbers::satellite(const SatName& name) const {
  const auto found = satellites_.find(name);
  return found == satellites_.end() ? 0 : found->second;
}

int BoundaryNumbers::code(const std::string& signal) const {
  const auto found = codes_.find(signal);
  return found == codes_.end() ? 0 : found->second;
}

ProductFeed::ProductFeed(const BoundaryNumbers& numbers, const SignalPlan& plan, std::set<SatName> excluded,
                         std::set<SatName> reversed, bool sourceHasCodeBiases)
    : numbers_(numbers),
      plan_(plan),
      excluded_(std::move(excluded)),
      reversed_(std::move(reversed)),
      sourceHasCodeBiases_(sourceHasCodeBiases),
      eph_(GNX_IO::kMaxSatellite),
      geph_(GNX_IO::kMaxSatellite),
      ssr_(GNX_IO::kMaxSatellite, emptyCorrection()) {}

void ProductFeed::feed(const BroadcastEph& eph) {
  const int sat = numbers_.satellite(eph.sat);
  if (sat == 0 || excluded_.contains(eph.sat)) return;
  GNX_IO::eph_entry_t& e = eph_[static_cast<std::size_t>(sat - 1)];
  e = {};
  e.sat = sat;
  e.iode = eph.iode;
  e.iodc = eph.iodc;
  e.sva = eph.accuracy;
  e.svh = eph.health;
  e.code = eph.code;
  e.flag = eph.l2flag;
  e.toe = toBoundaryTime(eph.toe);
  e.toc = toBoundaryTime(eph.toc);
  e.A = eph.sqrtA * eph.sqrtA;
  e.e = eph.e;
  e.i0 = eph.i0;
  e.OMG0 = eph.omega0;
  e.omg = eph.omega;
  e.M0 = eph.m0;
  e.deln = eph.deltaN;
  e.OMGd = eph.omegaDot;
  e.idot = eph.idot;
  e.crc = eph.crc;
  e.crs = eph.crs;
  e.cuc = eph.cuc;
  e.cus = eph.cus;
  e.cic = eph.cic;
  e.cis = eph.cis;
  if (eph.sat[0] == 'J') {
    e.OMGd += kQzssRateExcess;
    e.OMG0 += kQzssRateExcess * secondsOfWeek(eph.toe, nullptr);
  }
  std::copy(eph.af.begin(), eph.af.end(), e.af);
  std::copy(std::begin(eph.tgd), std::end(eph.tgd), e.tgd);
  GNX_IO::nav_t nav{};
  nav.eph = eph_.data();
  nav.geph = geph_.data();
  GNX_inputEph(&nav, sat, 0);
}

void ProductFeed::feed(const GlonassEph& eph) {
  const int sat = numbers_.satellite(eph.sat);
  const int prn = std::atoi(eph.sat.c_str() + 1);
  if (sat == 0 || prn < 1 || prn > GNX_IO::kMaxSatellite || excluded_.contains(eph.sat)) return;
  GNX_IO::geph_entry_t& g = geph_[static_cast<std::size_t>(prn - 1)];
  g = {};
  g.frq = eph.channel;
  g.svh = eph.health;
  g.age = eph.age;
  g.toe = toBoundaryTime(eph.toe);
  g.tof = toBoundaryTime(eph.frame);
  std::copy(eph.position.begin(), eph.position.end(), g.pos);
  std::copy(eph.velocity.begin(), eph.velocity.end(), g.vel);
  std::copy(eph.acceleration.begin(), eph.acceleration.end(), g.acc);
  g.taun = -eph.tau;  // the boundary carries the transmitted TauN, the clock value is its negative
  g.gamn = eph.gamma;
  GNX_IO::nav_t nav{};
  nav.eph = eph_.data();
  nav.geph = geph_.data();
  GNX_inputEph(&nav, sat, 0);
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
  GNX_inputSsr(ssr_.data());
}

bool ProductFeed::setCodeBiases(GNX_IO::ssr_t& ssr, char system, const SatBiases* biases) const {
  std::fill(std::begin(ssr.cbias), std::end(ssr.cbias), 0.0F);
  bool any = false;
  for (const PlannedSignal& signal : plan_.of(system)) {
    const int code = numbers_.code(signal.code);
    if (code == 0) continue;
    double value = kReferenceBias_m;
    if (sourceHasCodeBiases_) {
      const SsrBias* bias = biases == nullptr ? nullptr : codeBiasOf(signal, *biases);
      if (bias == nullptr) continue;
      if (bias->value != 0.0) value = bias->value;
    }
    ssr.cbias[code - 1] = static_cast<float>(value);
    any = true;
  }
  return any;
}

bool ProductFeed::setPhaseBiases(GNX_IO::ssr_t& ssr, const SatName& sat, const SatBiases* biases) const {
  const char system = sat[0];
  std::fill(std::begin(ssr.pbias), std::end(ssr.pbias), 0.0);
  std::fill(std::begin(ssr.stdpb), std::end(ssr.stdpb), 0.0F);
  if (biases == nullptr || floating_.contains(sat)) return false;
  bool any = false;
  // the same number of cycles on every frequency: no change of wide-lanes, as many cycles of narrow-lane
  const double cycles = reversed_.contains(sat) ? 0.5 : 0.0;
  for (const PlannedSignal& signal : plan_.of(system)) {
    const SsrBias* bias = phaseBiasOf(system, signal, *biases);
    if (bias == nullptr) continue;
    const int code = numbers_.code(signal.code);
    if (code == 0) continue;
    if (arcs_ != nullptr) arcs_->note(sat, signal.phase, bias->discontinuity);
    ssr.pbias[code - 1] = bias->value;
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
    if (setPhaseBiases(s, name, biases)) {
      s.mark_pbias = 1;
      any = true;
    }
    referenceGiven_.insert(name);
  }
  if (any) GNX_inputSsrBias(ssr_.data());
}

ObservationFeed::ObservationFeed(const BoundaryNumbers& numbers, const SignalPlan& plan,
                                 std::set<SatName> excluded)
    : numbers_(numbers), plan_(plan), excluded_(std::move(excluded)) {}

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

void ObservationFeed::count(const SatObs& sat, bool handedOver, const GNX_IO::obs_entry_t& entry) {
  SystemAccount& counts = account_[sat.sat[0]];
  long given = 0, planned = 0;
  for (const SignalObs& s : sat.signals) given += (s.phase != 0.0 ? 1 : 0) + (s.range != 0.0 ? 1 : 0);
  for (int slot = 0; slot < GNX_IO::kSignalSlots; ++slot)
    planned += (entry.L[slot] != 0.0 ? 1 : 0) + (entry.P[slot] != 0.0 ? 1 : 0);
  counts.in += planned;
  counts.unplanned += given - planned;
  if (!handedOver && planned > 0) counts.reasons[entry.sat == 0 ? "unknown" : "excluded"] += planned;
}

double ObservationFeed::feed(const ObsEpoch& epoch) {
  entries_.clear();
  for (const SatObs& sat : epoch.sats) {
    GNX_IO::obs_entry_t entry;
    const bool planned = convert(sat, entry);
    const bool handedOver = planned && entry.sat != 0 && !excluded_.contains(sat.sat);
    if (handedOver) entries_.push_back(entry);
    count(sat, handedOver, entry);
  }
  GNX_IO::obs_t obs{static_cast<std::int32_t>(entries_.size()), entries_.data()};
  const auto start = std::chrono::steady_clock::now();
  GNX_inputObs(toBoundaryTime(epoch.time), &obs);
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace gnx
