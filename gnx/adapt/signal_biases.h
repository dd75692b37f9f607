#pragma once
/// \file signal_biases.h
/// The biases of corrections that serve a planned signal.

#include "adapt/signal_plan.h"
#include "corrections/correction_source.h"

namespace gnx {

/// Null when there is none.
const SsrBias* codeBiasOf(const PlannedSignal& signal, const SatBiases& biases);
/// That of the phase's own signal, else of the code's, else of a signal that shares its components.
const SsrBias* phaseBiasOf(char system, const PlannedSignal& signal, const SatBiases& biases);

}  // namespace gnx
