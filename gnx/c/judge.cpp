// The judgement on integers in C.

#include "c/objects.h"
#include "c/records.h"

namespace gnx::c {

// Kept to the end of the process: a host may close its handles at its very end.
Handles<gnx_judge, IntegerJudge>& judges() {
  static auto& open = *new Handles<gnx_judge, IntegerJudge>;
  return open;
}

namespace {

CorrectionFacts factsOf(const gnx_correction_facts* from) {
  CorrectionFacts facts;
  if (from == nullptr) return facts;
  checkSize<gnx_correction_facts>(from->size, "facts");
  checkArray(from->clock_epochs, sizeof(gnx_time), from->clock_epoch_count, "clock_epochs");
  if (from->orbits) facts.orbits = from->orbits;
  if (from->clocks) facts.clocks = from->clocks;
  if (from->phase_biases) facts.phaseBiases = from->phase_biases;
  facts.mixed = from->mixed != 0;
  facts.broadcastClocks = from->broadcast_clocks != 0;
  facts.withoutOffsets = from->without_offsets != 0;
  facts.clockInterval_s = from->clock_interval_s;
  for (std::size_t k = 0; k < from->clock_epoch_count; ++k)
    facts.clockEpochs.push_back(timeOf(from->clock_epochs[k]));
  return facts;
}

}  // namespace

}  // namespace gnx::c

using namespace gnx::c;

extern "C" {

gnx_status gnx_judge_open(gnx_deployment* deployment, gnx_time first, const char* types, const char* biases,
                          const double* position_m, gnx_judge** judge) {
  return guarded([&] {
    gnx_judge*& out = required(judge, "judge");
    const gnx::StreamStart start = startOf(first, types, biases, position_m);
    const gnx::Deployment site = with(deployments(), deployment, [](const auto& d) { return d; });
    out = judges().open(std::make_shared<Held<gnx::IntegerJudge>>(site, start));
  });
}

gnx_status gnx_judge_feed_message(gnx_judge* judge, const gnx_message* message, size_t element_size) {
  return guarded([&] {
    const gnx::BroadcastEph eph = messageOf(message, element_size);
    with(judges(), judge, [&](gnx::IntegerJudge& j) { j.take(eph); });
  });
}

gnx_status gnx_judge_feed_biases(gnx_judge* judge, gnx_time tag, const gnx_bias* biases, size_t element_size,
                                 size_t count) {
  return guarded([&] {
    const gnx::CorrectionBatch batch = batchOf(tag, tag, nullptr, 0, 0, biases, element_size, count);
    with(judges(), judge, [&](gnx::IntegerJudge& j) { j.take(batch); });
  });
}

gnx_status gnx_judge_feed_epoch(gnx_judge* judge, gnx_time time, const gnx_observation* observations,
                                size_t element_size, size_t count) {
  return guarded([&] {
    const gnx::ObsEpoch epoch = epochOf(time, observations, element_size, count);
    with(judges(), judge, [&](gnx::IntegerJudge& j) { j.take(epoch); });
  });
}

gnx_status gnx_engine_obey(gnx_engine* engine, gnx_judge* judge, const gnx_correction_facts* facts,
                           char* text, size_t capacity, size_t* needed) {
  return guarded([&] {
    const gnx::CorrectionFacts known = factsOf(facts);
    const auto policy = with(judges(), judge, [&](gnx::IntegerJudge& j) { return j.verdict(known); });
    with(engines(), engine, [&](EngineAndSolution& e) { e.engine.obey(policy); });
    std::string all;
    for (const std::string& remark : policy.remarks) all += (all.empty() ? "" : "\n") + remark;
    copyText(all, text, capacity, needed);
  });
}

gnx_status gnx_judge_close(gnx_judge* judge) {
  return guarded([&] { judges().close(judge); });
}
}
