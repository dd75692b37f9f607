// The judgement on integers for hosts that feed records of their own.

#include <algorithm>
#include <utility>

#include "gnx/integers.h"
#include "gnx/read.h"
#include "integers/bias_witness.h"

namespace gnx {

struct IntegerJudge::Impl {
  Impl(const Deployment& deployment, const StreamStart& start)
      : first(firstOf(start)), now(first), witness(deployment, start, first, messages) {}

  static GpsTime firstOf(const StreamStart& start) {
    if (!start.first)
      throw UsageError("a judgement needs the time of the first epoch, for the antennas of that day");
    return *start.first;
  }

  GpsTime first, now, received;  ///< now: of the last epoch; received: of the last message
  MessageStore messages;
  std::vector<SatBiases> biases;
  BiasWitness witness;
};

IntegerJudge::IntegerJudge(const Deployment& deployment, const StreamStart& start)
    : m_impl(std::make_unique<Impl>(deployment, start)) {}
IntegerJudge::~IntegerJudge() = default;
IntegerJudge::IntegerJudge(IntegerJudge&&) noexcept = default;
IntegerJudge& IntegerJudge::operator=(IntegerJudge&&) noexcept = default;

void IntegerJudge::take(const BroadcastEph& eph) {
  // From when it was sent: what a host has at its start serves the first epochs.
  const GpsTime sent = eph.transmission == GpsTime{} ? eph.toc : eph.transmission;
  m_impl->received = std::max(m_impl->received, std::min(sent, m_impl->now));
  m_impl->messages.take(eph, m_impl->received, m_impl->now);
}

void IntegerJudge::take(const CorrectionBatch& batch) {
  if (batch.newBiases) m_impl->biases = batch.biases;
}

void IntegerJudge::take(const ObsEpoch& epoch) {
  m_impl->now = std::max(m_impl->now, epoch.time);
  m_impl->witness.add(epoch, m_impl->biases);
}

IntegerPolicy IntegerJudge::verdict(const CorrectionFacts& facts) const {
  PolicyQuestion question;
  question.products.origins = {{"", "orbits", facts.orbits, ""},
                               {"", "clocks", facts.clocks, ""},
                               {"", "phase biases", facts.phaseBiases, ""}};
  question.products.broadcastClocks = facts.broadcastClocks;
  question.products.clockInterval_s = facts.clockInterval_s;
  question.products.clockEpochs = facts.clockEpochs;
  question.densestSparse_s = facts.sparseClocks_s;
  question.mixedProducts = facts.mixed;
  question.headerWideLanes = facts.withoutOffsets;
  return m_impl->witness.judge(std::move(question));
}

}  // namespace gnx
