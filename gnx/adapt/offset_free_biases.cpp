// Moves phase biases so that the engine's antenna offsets leave wide-lanes where they were estimated.

#include <algorithm>
#include <utility>

#include "gnx/adapt.h"
#include "gnx/corrections.h"
#include "gnx/signal.h"

namespace gnx {

namespace {

/// Of the nadir angles under which satellites of these orbits are seen, 0 to 14 degrees.
constexpr double kMeanCosNadir = 0.985;

}  // namespace

double wideLaneOfOffsets(char system, const std::map<char, double>& heights, char first, char second) {
  const auto z1 = heights.find(first), z2 = heights.find(second);
  const auto f1 = carrierFrequency(system, first), f2 = carrierFrequency(system, second);
  if (z1 == heights.end() || z2 == heights.end() || !f1 || !f2 || *f1 == *f2) return 0.0;
  const double metres = 2.0 * *f1 * *f2 / (*f1 * *f1 - *f2 * *f2) * (z1->second - z2->second) * kMeanCosNadir;
  return metres * (*f1 - *f2) / kLightSpeed;
}

void makeUpForOffsets(SatBiases& biases, const std::map<char, double>& heights) {
  if (biases.phase.empty()) return;
  const auto band = [](const SsrBias& b) { return b.signal[0]; };
  const char first = band(biases.phase.front());
  const auto other = std::find_if(biases.phase.begin(), biases.phase.end(),
                                  [&](const SsrBias& b) { return band(b) != first; });
  if (other == biases.phase.end()) return;
  const char second = band(*other), system = biases.sat[0];
  const double cycles = wideLaneOfOffsets(system, heights, first, second);
  if (cycles == 0.0) return;
  // as in phaseBiasesOf, with the opposite sign
  const double f1 = *carrierFrequency(system, first), f2 = *carrierFrequency(system, second);
  const double shift = cycles * kLightSpeed / (f1 - f2);
  for (SsrBias& bias : biases.phase) {
    if (band(bias) == first) bias.value += f2 / f1 * shift;
    if (band(bias) == second) bias.value += f1 / f2 * shift;
  }
}

void makeUpForOffsets(CorrectionBatch& batch, const PhaseCentreHeights& heights) {
  if (!batch.newBiases) return;
  for (SatBiases& biases : batch.biases)
    if (const auto own = heights.find(biases.sat); own != heights.end())
      makeUpForOffsets(biases, own->second);
}

}  // namespace gnx
