#pragma once
/// \file SolutionState.h
/// How good the solution of an epoch is (SrifFilter::m_solstat, the state of a solution line).

namespace tarvio {

enum SolutionState : int {
  kStateNone = 0,           ///< no observation reached the estimate
  kStateCode = 1,           ///< codes only
  kStateFloat = 2,          ///< phases with real-valued ambiguities
  kStateExtraWideLane = 3,  ///< with fixed extra-wide-lanes
  kStateWideLane = 4,       ///< with fixed wide-lanes
  kStateFixed = 5,          ///< with fixed ambiguities
};

}  // namespace tarvio
