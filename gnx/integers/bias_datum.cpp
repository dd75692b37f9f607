// Weighs the two hypotheses about phase biases by the scatter of the fractions under each.

#include "integers/bias_datum.h"

#include <algorithm>
#include <cmath>

namespace gnx {

namespace {

constexpr double kAgree = 0.25;       ///< cycles
constexpr double kSigma = 0.1;        ///< cycles, of a satellite's mean fraction
constexpr double kSameOffset = 0.05;  ///< cycles; such differences do no harm
const double kLogLikelihood = std::log(90.0);

double wrapped(double cycles) { return cycles - std::round(cycles); }

/// The value with most satellites near it.
double commonValue(const std::vector<double>& values) {
  double best = 0.0, most = -1.0;
  for (const double candidate : values) {
    double near = 0.0, sum = 0.0;
    for (const double v : values) {
      const double d = wrapped(v - candidate), weight = std::max(0.0, 1.0 - d * d / (kAgree * kAgree));
      near += weight;
      sum += weight * d;
    }
    if (near <= most) continue;
    most = near;
    best = candidate + sum / near;
  }
  return best;
}

std::map<char, std::vector<const WideLaneFraction*>> bySystem(const std::vector<WideLaneFraction>& all) {
  std::map<char, std::vector<const WideLaneFraction*>> systems;
  for (const WideLaneFraction& f : all) systems[f.sat[0]].push_back(&f);
  return systems;
}

bool offsetsDiffer(const std::vector<WideLaneFraction>& fractions) {
  for (const auto& [system, own] : bySystem(fractions))
    for (const WideLaneFraction* f : own)
      if (std::fabs(wrapped(f->offsetCycles - own.front()->offsetCycles)) > kSameOffset) return true;
  return false;
}

/// Beyond a quarter of a cycle a satellite fits neither way.
double squares(const Scatter& scatter) {
  double sum = 0.0;
  for (const auto& [sat, residual] : scatter.residuals) sum += std::min(residual * residual, kAgree * kAgree);
  return sum;
}

}  // namespace

Scatter scatterOf(const std::vector<WideLaneFraction>& fractions, bool withOffsets) {
  Scatter scatter;
  double sum = 0.0;
  for (const auto& [system, own] : bySystem(fractions)) {
    std::vector<double> values;
    for (const WideLaneFraction* f : own) values.push_back(f->cycles + (withOffsets ? f->offsetCycles : 0.0));
    const double common = commonValue(values);
    for (std::size_t i = 0; i < own.size(); ++i) {
      const double residual = wrapped(values[i] - common);
      scatter.residuals[own[i]->sat] = residual;
      sum += residual * residual;
    }
  }
  if (!fractions.empty()) scatter.rms = std::sqrt(sum / static_cast<double>(fractions.size()));
  return scatter;
}

DatumEvidence decideDatum(const std::vector<WideLaneFraction>& fractions) {
  DatumEvidence e{BiasDatum::unknown, scatterOf(fractions, true), scatterOf(fractions, false)};
  if (fractions.empty()) return e;
  if (!offsetsDiffer(fractions)) {
    e.datum = BiasDatum::noMatter;
    return e;
  }
  const double forOffsets = (squares(e.without) - squares(e.with)) / (2.0 * kSigma * kSigma);
  // Where both fit, the satellites of the run have nearly the same offsets and either serves.
  const bool both = std::max(e.with.rms, e.without.rms) < kSigma;
  if (both || std::fabs(forOffsets) > kLogLikelihood)
    e.datum = forOffsets > 0.0 ? BiasDatum::withOffsets : BiasDatum::withoutOffsets;
  return e;
}

std::map<std::string, double> scatterByBlock(const Scatter& scatter,
                                             const std::map<SatName, std::string>& blocks) {
  std::map<std::string, std::pair<double, int>> sums;
  for (const auto& [sat, residual] : scatter.residuals) {
    const auto block = blocks.find(sat);
    if (block == blocks.end()) continue;
    sums[block->second].first += residual * residual;
    ++sums[block->second].second;
  }
  std::map<std::string, double> rms;
  for (const auto& [block, sum] : sums) rms[block] = std::sqrt(sum.first / sum.second);
  return rms;
}

}  // namespace gnx
