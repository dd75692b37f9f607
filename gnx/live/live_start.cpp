// Learns what an engine must know before it starts.

#include "live/live_start.h"

#include <algorithm>

#include "integers/integer_policy.h"

namespace gnx {

namespace {

constexpr double kShortest_s = 5.0;  ///< so long satellites and signals are collected in any case

std::string padded(std::string antenna) {
  antenna.resize(20, ' ');
  return antenna;
}

}  // namespace

void LiveStart::look(const RtcmRecord& record, const GpsTime& now) {
  if (const auto* epoch = std::get_if<RtcmEpoch>(&record)) lookAt(epoch->epoch, now);
  else if (const auto* ssr = std::get_if<RtcmSsr>(&record)) lookAt(ssr->block);
  else if (const auto* position = std::get_if<RtcmPosition>(&record)) m_header.position = position->position;
  else if (const auto* equipment = std::get_if<RtcmEquipment>(&record)) {
    if (!equipment->antenna.empty()) m_header.antenna = padded(equipment->antenna);
    if (!equipment->receiver.empty()) m_header.receiver = equipment->receiver;
  }
}

void LiveStart::lookAt(const ObsEpoch& epoch, const GpsTime& now) {
  if (!m_came) m_came = now, m_firstEpoch = epoch.time;
  for (const SatObs& sat : epoch.sats) {
    for (const SignalObs& signal : sat.signals) {
      const std::string code = signal.code.data();
      std::set<std::string>& types = m_types[sat.sat[0]];
      if (signal.range != 0.0) types.insert("C" + code);
      if (signal.phase != 0.0) types.insert("L" + code);
      if (signal.doppler != 0.0) types.insert("D" + code);
      if (signal.snr != 0.0) types.insert("S" + code);
    }
  }
}

void LiveStart::lookAt(const SsrBlock& block) {
  for (const SsrClock& clock : block.clocks) m_withClocks.insert(clock.sat[0]);
  if (block.kind != SsrKind::codeBias) return;
  for (const SsrSatBias& sat : block.biases)
    for (const SsrBias& bias : sat.biases) m_corrected[sat.sat[0]].insert(bias.signal);
}

bool LiveStart::ready(const GpsTime& now) const {
  if (!m_came || now - *m_came < kShortest_s) return false;
  if (now - *m_came >= m_longest_s) return true;
  bool any = false;
  for (const auto& [system, bands] : m_deployment->bands()) {
    if (!m_types.contains(system)) continue;
    if (m_withClocks.contains(system) && !m_corrected.contains(system)) return false;
    any = any || m_withClocks.contains(system);
  }
  return any;
}

std::optional<GpsTime> LiveStart::latest() const {
  return m_came ? std::optional(*m_came + std::max(m_longest_s, kShortest_s)) : std::nullopt;
}

StreamStart LiveStart::made() const {
  StreamStart start;
  start.first = m_firstEpoch;
  start.header = m_header;
  for (const auto& [system, types] : m_types) start.header.types[system] = {types.begin(), types.end()};
  start.corrected = m_corrected;
  if (m_deployment->resolvesIntegers()) {
    PolicyQuestion question;
    question.massCentre = m_deployment->toMassCentre();
    start.integers = decideIntegers(question);
    if (question.massCentre)
      start.integers.remarks = {
          "integers are not resolved: whether the phase biases of a stream belong to orbits of the centre of "
          "mass "
          "cannot be told while it begins; a deployment with --refpoint APC_ITRF resolves them"};
    start.notes = start.integers.remarks;
  }
  if (m_corrected.empty())
    start.notes.emplace_back("the corrections have brought no code biases; signals are taken as they are");
  return start;
}

}  // namespace gnx
