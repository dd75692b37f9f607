// Finds the bias of a signal under the names that corrections may give it.

#include <algorithm>

#include "gnx/adapt.h"

namespace gnx {

namespace {

const SsrBias* find(const std::vector<SsrBias>& biases, const std::string& signal) {
  const auto found =
      std::find_if(biases.begin(), biases.end(), [&](const SsrBias& b) { return b.signal == signal; });
  return found == biases.end() ? nullptr : &*found;
}

}  // namespace

const SsrBias* codeBiasOf(const PlannedSignal& signal, const SatBiases& biases) {
  return find(biases.code, signal.bias);
}

const SsrBias* phaseBiasOf(char system, const PlannedSignal& signal, const SatBiases& biases) {
  if (const SsrBias* own = find(biases.phase, signal.phase)) return own;
  if (const SsrBias* ofCode = find(biases.phase, signal.bias)) return ofCode;
  const auto family = std::find_if(biases.phase.begin(), biases.phase.end(), [&](const SsrBias& b) {
    return sameSignalFamily(system, b.signal, signal.phase);
  });
  return family == biases.phase.end() ? nullptr : &*family;
}

}  // namespace gnx
