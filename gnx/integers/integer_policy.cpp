// Rules under which integers may be resolved, and how they are told.

#include "integers/integer_policy.h"

#include <algorithm>
#include <cmath>

#include "integers/bias_datum.h"
#include "text/json_file.h"
#include "text/printed.h"

namespace gnx {

namespace {

constexpr double kClockEpoch_s = 1.0;  ///< receivers tag epochs some milliseconds off the full second
constexpr double kMisfit = 0.25;       ///< cycles
constexpr double kUsable = 0.2;        ///< cycles, RMS of a set of biases that serve

const char* nameOf(BiasDatum datum) {
  switch (datum) {
    case BiasDatum::withOffsets:
      return "with satellite antenna offsets";
    case BiasDatum::withoutOffsets:
      return "without satellite antenna offsets";
    case BiasDatum::noMatter:
      return "offsets do not matter";
    case BiasDatum::unknown:
      break;
  }
  return "unknown";
}

void refuse(IntegerPolicy& policy, const std::string& reason) {
  policy.resolved = false;
  policy.remarks.push_back("integers are not resolved: " + reason);
}

void judgeOrigins(const PolicyQuestion& q, IntegerPolicy& policy) {
  const std::string mixed = mixedOrigins(q.products.origins);
  if (mixed.empty()) return;
  if (q.mixedProducts)
    policy.remarks.push_back(mixed + "; integers are resolved because --mixed-products asks for it");
  else refuse(policy, mixed + "; give files of one solution, or --mixed-products if they do fit");
}

void judgeClocks(const PolicyQuestion& q, IntegerPolicy& policy) {
  if (q.products.broadcastClocks)
    return refuse(
        policy,
        "the header of the orbits says that their clocks are broadcast clocks (CLK:BRD); give the clock "
        "file of the product with --clk");
  if (q.products.clockInterval_s <= q.densestSparse_s) return;
  policy.clockInterval_s = q.products.clockInterval_s;
  policy.clockEpochs = q.products.clockEpochs;
  policy.remarks.push_back(printed(
      "clocks are %.0f s apart and centimetres off in between: integers are resolved at the epochs of the "
      "clocks alone (--fix-clocks %.0f)",
      policy.clockInterval_s, q.densestSparse_s));
}

void judgeDatum(const PolicyQuestion& q, IntegerPolicy& policy) {
  if (!q.massCentre) return;  // the engine's model has no offsets, nor have biases that come with such orbits
  DatumEvidence& e = policy.evidence;
  policy.blocksWith = scatterByBlock(e.with, q.blocks);
  policy.blocksWithout = scatterByBlock(e.without, q.blocks);
  const bool fallBack = e.datum == BiasDatum::unknown && q.headerWideLanes;
  if (fallBack) e.datum = BiasDatum::withoutOffsets;
  policy.makeUpForOffsets = e.datum == BiasDatum::withoutOffsets;
  const std::string scatter = printed(
      "wide-lane fractions of %zu satellites scatter by %.2f cycle with satellite antenna offsets, by %.2f "
      "without",
      q.fractions.size(), e.with.rms, e.without.rms);
  if (e.datum == BiasDatum::unknown)
    refuse(policy,
           q.fractions.empty()
               ? "no satellite has phase biases and ten minutes of observations that would tell whether the "
                 "biases were estimated with satellite antenna offsets"
               : scatter + ", which does not tell how the biases were estimated");
  else if (e.datum != BiasDatum::noMatter)
    policy.remarks.push_back(scatter + ": biases are taken as estimated " + nameOf(e.datum) +
                             (fallBack ? ", as those of clock headers are" : ""));
}

/// The hypothesis that holds in the run.
const Scatter& ownScatter(const PolicyQuestion& q, const IntegerPolicy& policy) {
  return !q.massCentre || policy.makeUpForOffsets ? policy.evidence.without : policy.evidence.with;
}

void judgeSatellites(const PolicyQuestion& q, IntegerPolicy& policy) {
  const Scatter& scatter = ownScatter(q, policy);
  std::string named;
  for (const auto& [sat, residual] : scatter.residuals) {
    if (std::fabs(residual) <= kMisfit) continue;
    policy.misfits[sat] = residual;
    named += printed("%s%s (%+.2f cycle)", named.empty() ? "" : ", ", sat.c_str(), residual);
  }
  if (!named.empty())
    policy.remarks.push_back("left float, for their wide-lanes do not fit those of the other satellites: " +
                             named);
}

void judgeScatter(const PolicyQuestion& q, IntegerPolicy& policy) {
  const Scatter& scatter = ownScatter(q, policy);
  if (scatter.rms > kUsable)
    refuse(policy,
           printed(
               "wide-lane fractions of %zu satellites scatter by %.2f cycle, so the phase biases do not "
               "fit these observations; check their sign, and the signals and satellites that they belong to",
               scatter.residuals.size(), scatter.rms));
}

Json::Value toJson(const std::map<std::string, double>& values) {
  Json::Value object(Json::objectValue);
  for (const auto& [name, value] : values) object[name] = std::round(value * 1e3) / 1e3;
  return object;
}

}  // namespace

bool IntegerPolicy::resolvesAt(const GpsTime& t) const {
  if (!resolved || clockInterval_s == 0.0) return resolved;
  const auto next = std::lower_bound(clockEpochs.begin(), clockEpochs.end(), t + -kClockEpoch_s);
  return next != clockEpochs.end() && *next - t <= kClockEpoch_s;
}

IntegerPolicy decideIntegers(const PolicyQuestion& question) {
  IntegerPolicy policy;
  policy.evidence = decideDatum(question.fractions);
  judgeOrigins(question, policy);
  judgeClocks(question, policy);
  judgeDatum(question, policy);
  judgeScatter(question, policy);
  if (policy.resolved) judgeSatellites(question, policy);
  return policy;
}

void writeIntegerPolicy(const std::filesystem::path& file, const IntegerPolicy& policy) {
  Json::Value root(Json::objectValue);
  root["resolved"] = !policy.resolved               ? "no"
                     : policy.clockInterval_s > 0.0 ? "at epochs of the clocks"
                                                    : "yes";
  if (policy.clockInterval_s > 0.0) root["clock_interval_s"] = policy.clockInterval_s;
  Json::Value& biases = root["biases"];
  biases["estimated"] = nameOf(policy.evidence.datum);
  biases["satellites"] = static_cast<int>(policy.evidence.with.residuals.size());
  biases["scatter_with_offsets_cycles"] = std::round(policy.evidence.with.rms * 1e3) / 1e3;
  biases["scatter_without_offsets_cycles"] = std::round(policy.evidence.without.rms * 1e3) / 1e3;
  biases["by_block_with_offsets_cycles"] = toJson(policy.blocksWith);
  biases["by_block_without_offsets_cycles"] = toJson(policy.blocksWithout);
  root["left_float_cycles"] = toJson(policy.misfits);
  root["remarks"] = Json::Value(Json::arrayValue);
  for (const std::string& remark : policy.remarks) root["remarks"].append(remark);
  writeJsonFile(file, root);
}

}  // namespace gnx
