// Chooses the source of corrections and judges what it carries.

#include "stream/prepared_corrections.h"

#include <utility>

#include "deployment/antex_file.h"
#include "integers/integer_policy.h"
#include "integers/wide_lane_fractions.h"
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
void collectWideLanes(const Preparation& p, const ProductFacts& facts, WideLaneFractions& lanes) {
  constexpr double kAhead_s = 86400.0;
  const auto sets = p.files.ssr.empty() ? decltype(streamBiases({})){} : streamBiases(p.files.ssr);
  std::vector<SatBiases> now;
  std::size_t next = 0;
  ObservationStream observations(p.files.obs, p.options.from, p.options.to);
  std::optional<GpsTime> first, last;
  for (ObsEpoch epoch; observations.next(epoch); last = epoch.time) {
    if (!first) first = epoch.time;
    if (epoch.time - *first > kAhead_s) break;
    if (facts.biases != nullptr && (!last || facts.biases->changes(*last, epoch.time)))
      now = facts.biases->at(epoch.time);
    for (; next < sets.size() && sets[next].first <= epoch.time; ++next) now = sets[next].second;
    lanes.add(epoch, now);
  }
}

/// The deployment's antenna file. Without one the engine refuses to start.
std::vector<AntexBlock> readAntennas(const Deployment& deployment) {
  const std::filesystem::path file = deployment.file("antpcv");
  return std::filesystem::exists(file) ? readAntex(file) : std::vector<AntexBlock>();
}

void judgeIntegers(const Preparation& p, ProductFacts facts, PreparedCorrections& prepared) {
  const Deployment& deployment = *p.options.deployment;
  const std::vector<AntexBlock> antennas = readAntennas(deployment);
  const bool massCentre = deployment.toMassCentre();
  const PhaseCentreHeights heights =
      massCentre ? phaseCentreHeights(antennas, tableTime(p.first)) : PhaseCentreHeights();
  const RunSettings& run = deployment.settings;
  const bool known = !run.headerPosition && run.position_m != Vector3{};
  const SignalPlan signals({deployment.bands(), p.start.header.types, p.start.corrected, run.signals});
  WideLaneFractions lanes(signals, p.timeline, heights, known ? run.position_m : p.start.header.position);
  collectWideLanes(p, facts, lanes);
  PolicyQuestion question;
  question.products = std::move(facts);
  question.densestSparse_s = p.options.sparseClocks_s;
  question.mixedProducts = p.options.mixedProducts;
  question.massCentre = massCentre;
  question.headerWideLanes = p.options.wideLaneBiases;
  question.fractions = lanes.result();
  for (const AntexBlock& block : antennas)
    if (block.isSatellite() && satelliteOf(block).validAt(tableTime(p.first)))
      question.blocks[block.serial] = satelliteOf(block).block;
  prepared.integers = decideIntegers(question);
  if (prepared.integers.makeUpForOffsets)
    prepared.source = makeOffsetFreeSource(std::move(prepared.source), heights);
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
