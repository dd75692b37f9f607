// Joins and chooses streams of corrections.

#include "live/correction_streams.h"

#include <algorithm>

namespace gnx {

void CorrectionStreams::add(int number, int rank) {
  m_joiners[number] = std::make_unique<SsrJoiner>(SsrJoinOptions{}, &m_messages);
  m_choice.add(number, rank);
}

void CorrectionStreams::remove(int number) {
  m_joiners.erase(number);
  m_choice.remove(number);
}

void CorrectionStreams::take(int number, const SsrBlock& block, const GpsTime& arrival,
                             const GpsTime& delivery) {
  SsrJoiner& joiner = *m_joiners.at(number);
  if (joiner.waits() && !joiner.belongs(block, delivery)) join(number, joiner);
  joiner.apply(block, delivery);
  if (block.kind == SsrKind::clock) m_choice.note(number, arrival, block.interval);
}

void CorrectionStreams::join() {
  for (auto& [number, joiner] : m_joiners)
    if (joiner->waits()) join(number, *joiner);
}

void CorrectionStreams::join(int number, SsrJoiner& joiner) {
  CorrectionBatch batch;
  if (!joiner.join(batch)) return;
  if (m_choice.chosen() != number) return standBy();
  m_bridge.apply(batch, m_messages);
  beginArcs(batch);
  if (batch.newBiases) m_biasTag = batch.biasTag = std::max(batch.biasTag, m_biasTag + 1.0);
  give(batch);
}

/// Phase biases of another provider have other integers in them: new arcs, as behind a discontinuity.
void CorrectionStreams::beginArcs(CorrectionBatch& batch) const {
  constexpr int kStep = 1000;  // beyond the counters of streams
  if (m_switches == 0) return;
  for (SatBiases& sat : batch.biases)
    for (SsrBias& bias : sat.phase)
      bias.discontinuity = (bias.discontinuity < 0 ? 0 : bias.discontinuity) + kStep * m_switches;
}

bool CorrectionStreams::decide(const GpsTime& arrival) {
  m_choice.decide(arrival);
  const auto chosen = m_choice.chosen();
  if (!chosen || chosen == m_used) return false;
  const bool another = m_used.has_value();
  m_used = chosen;
  m_joiners.at(*chosen)->repeatBiases();
  m_switches += another ? 1 : 0;
  return another;
}

}  // namespace gnx
