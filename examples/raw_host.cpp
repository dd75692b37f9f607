/// A host that feeds the engine itself, through its entry points alone: what gnx::Engine does for other
/// hosts, duty by duty (docs/embedding.md has the table). Files stand here for a receiver and a stream of
/// corrections.
///
///   gnx simulate sky --systems GECJ --hours 1
///   gnx init site --systems GECJ --refpoint APC_ITRF --date 2026-11-21
///   g++ -std=c++20 raw_host.cpp $(pkg-config --cflags --libs gnx) -o raw_host
///   ./raw_host site sky/observations.rnx sky/navigation.rnx sky/corrections.ssr

#include <GNX_SDK.h>
#include <GNX_SDK_ext.h>
#include <gnx/adapt.h>
#include <gnx/corrections.h>
#include <gnx/read.h>
#include <gnx/solution.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

namespace {

using gnx::GpsTime;
using gnx::SatName;

/// Of a stream the latest of each satellite, with the time to which its rates refer.
template <class Correction>
struct Latest {
  Correction correction;
  GpsTime reference;
};

class RawHost {
 public:
  RawHost(const gnx::SignalPlan& plan, std::set<SatName> reversed)
      : m_plan(plan), m_reversed(std::move(reversed)), m_eph(kSatellites), m_ssr(kSatellites) {}

  /// The engine judges the age of messages by its wall clock.
  static void setClock(const GpsTime& t) { GNX_EXT::setClock(GNX_IO::gpst2utc(gnx::toBoundaryTime(t)).time); }

  void feed(const gnx::BroadcastEph& eph, const GpsTime& received, const GpsTime& now) {
    m_issues[{eph.sat, gnx::issueOfData(eph)}] = eph;
    const gnx::BroadcastEph* held = m_held.take(eph, received, now);  // on the grid of times of clock
    const int sat = m_numbers.satellite(eph.sat);
    if (held == nullptr || sat == 0) return;
    m_eph[static_cast<std::size_t>(sat - 1)] = gnx::toBoundary(*held, m_numbers);
    GNX_IO::nav_t nav{};
    nav.eph = m_eph.data();
    GNX_inputEph(&nav, sat, 0);
  }

  void feed(const gnx::SsrBlock& block) {
    const GpsTime reference = block.time + (block.interval > 1 ? 0.5 * block.interval : 0.0);
    for (const auto& orbit : block.orbits) m_orbits[orbit.sat] = {orbit, reference};
    for (const auto& clock : block.clocks) m_clocks[clock.sat] = {clock, reference};
    for (const auto& biases : block.biases) {
      gnx::SatBiases& own = m_biases[biases.sat];
      (block.kind == gnx::SsrKind::codeBias ? own.code : own.phase) = biases.biases;
      m_newBiases = true;
    }
    if (block.kind == gnx::SsrKind::clock) m_tag = block.time;
  }

  /// All satellites in one call, with one common time.
  void handOver() {
    if (m_tag == m_given) return;
    m_given = m_tag;
    for (auto& ssr : m_ssr) {
      ssr = {};
      ssr.mark_orb = ssr.mark_clk = ssr.mark_cbias = ssr.mark_pbias = ssr.mark_ifpb = GNX_IO::kConsumed;
    }
    for (const auto& [sat, clock] : m_clocks) setOrbitAndClock(sat, clock);
    GNX_inputSsr(m_ssr.data());
    if (!m_newBiases) return;
    m_newBiases = false;
    for (const auto& [sat, biases] : m_biases) setBiases(sat, biases);
    GNX_inputSsrBias(m_ssr.data());
  }

  void feed(const gnx::ObsEpoch& epoch) {
    std::vector<GNX_IO::obs_entry_t> entries;
    GNX_EXT::setOutputOptions(m_arcs.biasesRun() ? "-float" : "");
    for (const gnx::SatObs& sat : epoch.sats) {
      const auto& signals = m_plan.of(sat.sat[0]);
      if (std::ranges::any_of(signals, [&](const auto& s) { return m_arcs.adrift(sat.sat, s.phase); }))
        continue;
      GNX_IO::obs_entry_t& entry = entries.emplace_back();
      entry.sat = static_cast<std::uint8_t>(m_numbers.satellite(sat.sat));
      std::size_t slot = 0;
      for (const gnx::PlannedSignal& signal : signals) fill(entry, slot++, sat, signal);
    }
    GNX_IO::obs_t all{static_cast<std::int32_t>(entries.size()), entries.data()};
    GNX_inputObs(gnx::toBoundaryTime(epoch.time), &all);
  }

 private:
  static constexpr std::size_t kSatellites = GNX_IO::kMaxSatellite;

  GNX_IO::ssr_t* elementOf(const SatName& sat) {
    const int number = m_numbers.satellite(sat);
    return number == 0 ? nullptr : &m_ssr[static_cast<std::size_t>(number - 1)];
  }

  void setOrbitAndClock(const SatName& sat, const Latest<gnx::SsrClock>& clock) {
    const auto orbit = m_orbits.find(sat);
    GNX_IO::ssr_t* ssr = elementOf(sat);
    if (ssr == nullptr || orbit == m_orbits.end() || orbit->second.correction.iod != clock.correction.iod)
      return;
    auto c = gnx::carriedTo(m_tag, orbit->second.correction, orbit->second.reference, clock.correction,
                            clock.reference);
    if (!m_held.serves(sat, c.iod, m_tag)) {  // a message that the engine does not hold
      const auto from = m_issues.find({sat, c.iod});
      const auto* to = m_held.pick(sat, m_tag);
      if (from == m_issues.end() || to == nullptr) return;
      gnx::moveToMessage(c, from->second, *to, m_tag);
    }
    ssr->t0_orb = ssr->t0_clk = gnx::toBoundaryTime(m_tag);
    ssr->iod = ssr->iod_bds = c.iod;
    std::ranges::copy(c.deph, ssr->deph);
    std::ranges::copy(c.ddeph, ssr->ddeph);
    std::ranges::copy(c.dclk, ssr->dclk);
    ssr->mark_orb = ssr->mark_clk = ssr->update = 1;
  }

  void setBiases(const SatName& sat, const gnx::SatBiases& biases) {
    GNX_IO::ssr_t* ssr = elementOf(sat);
    if (ssr == nullptr) return;
    ssr->t0_cbias = ssr->t0_pbias = gnx::toBoundaryTime(m_tag);
    ssr->mark_cbias = ssr->mark_pbias = 1;
    for (const gnx::PlannedSignal& signal : m_plan.of(sat[0])) {
      const auto code = static_cast<std::size_t>(m_numbers.code(signal.code) - 1);
      if (const auto* bias = gnx::codeBiasOf(signal, biases))
        ssr->cbias[code] = gnx::boundaryCodeBias(bias->value);
      const auto* bias = gnx::phaseBiasOf(sat[0], signal, biases);
      if (bias == nullptr) continue;
      const double value = m_arcs.note(sat, signal.phase, bias->value, bias->discontinuity, m_tag);
      ssr->pbias[code] = value + gnx::windUpCycles(m_reversed.contains(sat)) * gnx::kLightSpeed /
                                     *gnx::carrierFrequency(sat[0], signal.code[0]);
      ssr->stdpb[code] = 1.0F;
    }
  }

  void fill(GNX_IO::obs_entry_t& entry, std::size_t slot, const gnx::SatObs& sat,
            const gnx::PlannedSignal& signal) const {
    for (const gnx::SignalObs& observed : sat.signals) {
      if (signal.code == observed.code.data()) entry.P[slot] = observed.range;
      if (signal.phase != observed.code.data() || observed.phase == 0.0) continue;
      entry.L[slot] = observed.phase + m_arcs.shift(sat.sat, signal.phase);
      entry.D[slot] = static_cast<float>(observed.doppler);
      entry.SNR[slot] = static_cast<std::uint16_t>(1000.0 * observed.snr);
    }
    entry.code[slot] = static_cast<std::uint8_t>(m_numbers.code(signal.code));
  }

  const gnx::BoundaryNumbers m_numbers;
  const gnx::SignalPlan& m_plan;
  const std::set<SatName> m_reversed;
  gnx::MessageStore m_held;
  gnx::PhaseArcs m_arcs;
  std::map<std::pair<SatName, int>, gnx::BroadcastEph> m_issues;
  std::map<SatName, Latest<gnx::SsrOrbit>> m_orbits;
  std::map<SatName, Latest<gnx::SsrClock>> m_clocks;
  std::map<SatName, gnx::SatBiases> m_biases;
  std::vector<GNX_IO::eph_entry_t> m_eph;
  std::vector<GNX_IO::ssr_t> m_ssr;
  GpsTime m_tag, m_given;
  bool m_newBiases = false;
};

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 5) {
    std::cerr << "usage: raw_host DEPLOYMENT OBSERVATIONS NAVIGATION CORRECTIONS\n";
    return 2;
  }
  std::vector<std::string> names;
  for (int k = 2; k < argc; ++k) names.push_back(std::filesystem::absolute(argv[k]).string());
  const gnx::InputFiles files = gnx::sortByKind(names);
  const auto site = gnx::Deployment::open(argv[1]);
  std::filesystem::current_path(site.directory());

  gnx::ObservationReader observations(files.obs.at(0));
  gnx::CorrectionReader corrections(files.ssr.at(0));
  gnx::ObsEpoch epoch;
  gnx::SsrBlock block;
  if (!observations.next(epoch)) return 1;
  const GpsTime first = epoch.time;
  const gnx::EphemerisTimeline messages(gnx::readRinexNav(files.nav), first);
  std::ifstream satellites(site.file("satnav"));
  const std::string table{std::istreambuf_iterator<char>(satellites), {}};

  // One signal a band, the one to which the corrections refer; the first block of code biases names them.
  gnx::SignalPlan::Request request{site.bands(), observations.header().types, {}, {}};
  for (gnx::CorrectionReader ahead(files.ssr.at(0)); request.corrected.empty() && ahead.next(block);)
    if (block.kind == gnx::SsrKind::codeBias)
      for (const auto& sat : block.biases)
        for (const auto& bias : sat.biases) request.corrected[sat.sat[0]].insert(bias.signal);
  const gnx::SignalPlan plan(request);
  RawHost host(plan, gnx::reversedSatellites(gnx::parseSatelliteTable(table), gnx::tableTime(first)));

  RawHost::setClock(first);
  GNX_IO::sta_t station = gnx::stationRecord(site.settings, observations.header());
  GNX_initialize(gnx::nameOf(site.settings.mode), &station, site.settings.cutoff_deg,
                 site.settings.interval_s);
  GNX_EXT::Result last;
  GNX_EXT::addResultListener([&](const GNX_EXT::Result& result) { last = result; });
  bool more = corrections.next(block);
  auto message = messages.deliveries().begin();
  do {
    RawHost::setClock(epoch.time);
    for (; message != messages.deliveries().end() && message->time <= epoch.time; ++message)
      if (message->eph != nullptr) host.feed(*message->eph, message->time, std::max(message->time, first));
    for (; more && block.time <= epoch.time; more = corrections.next(block)) host.feed(block);
    host.handOver();
    host.feed(epoch);
  } while (observations.next(epoch));
  GNX_finilize();
  std::cout << GpsTime{last.time.time, last.time.sec} << "  "
            << gnx::Position{last.position[0], last.position[1], last.position[2]} << "  "
            << static_cast<gnx::SolutionState>(last.state) << '\n';
} catch (const gnx::Error& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
