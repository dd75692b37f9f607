// Chooses the source of corrections and judges what it carries.

#include "stream/prepared_corrections.h"

#include <utility>

#include "integers/bias_witness.h"
#include "stream/observation_stream.h"

namespace gnx {

namespace {

std::unique_ptr<CorrectionSource> makeSource(const Preparation& p, ProductFacts& facts) {
  if (p.options.broadcastOnly) return makeZeroSource(p.timeline);
  if (!p.files.ssr.empty()) {
    SsrTextOptions options;
    options.files = p.files.ssr;
    options.availability = p.options.availability;
    return makeSsrTextSource(options, &p.timeline);
  }
  ProductOptions options;
  options.sp3 = p.files.sp3;
  options.clk = p.files.clk;
  options.bia = p.files.bia;
  options.wideLaneBiases = p.options.wideLaneBiases;
  options.from = p.first;
  options.until = p.options.to;
  return makeProductSource(options, p.timeline, &facts);
}

/// Reads observations ahead, with the biases that are valid at each epoch.
void collectWideLanes(const Preparation& p, const ProductFacts& facts, BiasWitness& witness) {
  constexpr double kAhead_s = 86400.0;
  StreamBiases stream(p.files.ssr);
  std::vector<SatBiases> now;
  ObservationStream observations(p.files.obs, p.options.from, p.options.to);
  std::optional<GpsTime> first, last;
  for (ObsEpoch epoch; observations.next(epoch); last = epoch.time) {
    if (!first) first = epoch.time;
    if (epoch.time - *first > kAhead_s) break;
    if (facts.biases != nullptr && (!last || facts.biases->changes(*last, epoch.time)))
      now = facts.biases->at(epoch.time);
    if (const auto* set = stream.until(epoch.time)) now = *set;
    witness.add(epoch, now);
  }
}

void judgeIntegers(const Preparation& p, ProductFacts facts, PreparedCorrections& prepared) {
  BiasWitness witness(*p.options.deployment, p.start, p.first, p.timeline.store());
  collectWideLanes(p, facts, witness);
  PolicyQuestion question;
  question.products = std::move(facts);
  question.densestSparse_s = p.options.sparseClocks_s;
  question.mixedProducts = p.options.mixedProducts;
  question.headerWideLanes = p.options.wideLaneBiases;
  prepared.integers = witness.judge(std::move(question));
  if (prepared.integers.makeUpForOffsets)
    prepared.source = makeOffsetFreeSource(std::move(prepared.source), witness.heights());
  const auto& remarks = prepared.integers.remarks;
  prepared.notes.insert(prepared.notes.end(), remarks.begin(), remarks.end());
}

}  // namespace

PreparedCorrections prepareCorrections(const Preparation& p) {
  PreparedCorrections prepared;
  ProductFacts facts;
  prepared.source = makeSource(p, facts);
  prepared.notes = facts.notes;
  if (p.options.broadcastOnly) return prepared;
  if (p.options.deployment) {
    if (p.options.deployment->resolvesIntegers()) judgeIntegers(p, std::move(facts), prepared);
  } else if (facts.biases != nullptr && !facts.biases->empty()) {
    prepared.integers.resolved = false;
    prepared.notes.emplace_back(
        "integers are not resolved: whether these biases belong to the antenna offsets of the engine is "
        "judged with "
        "its deployment alone; give it in ReadOptions");
  }
  return prepared;
}

}  // namespace gnx
