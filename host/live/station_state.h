#pragma once
/// \file station_state.h
/// What a station of a live run knows, for the run that goes on.

#include <optional>
#include <string>

#include "gnx/time.h"

namespace gnx {

struct StationState {
  std::string identity;  ///< of sources and deployment; another one's state is of no use
  GpsTime epoch;         ///< last one of it
  std::string engine;    ///< Engine::state()
  std::string memory;    ///< LiveAssembler::memory()
};

std::string bytesOf(const StationState& state);
/// Nothing for bytes that are no state.
std::optional<StationState> stationStateOf(const std::string& bytes);

}  // namespace gnx
