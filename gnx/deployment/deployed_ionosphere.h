#pragma once
/// \file deployed_ionosphere.h
/// What a deployment makes of the ionosphere, and so of maps of it.

#include <filesystem>
#include <optional>
#include <string>

namespace gnx {

struct DeployedIonosphere {
  bool free = false;              ///< the combination of the observations has none
  bool estimated = false;         ///< else it stays in the observations
  std::optional<double> sigma_m;  ///< of a new slant delay, where it is estimated as a walk
};

/// \throws InputError
DeployedIonosphere deployedIonosphere(const std::filesystem::path& deployment);

/// Why maps change nothing or next to nothing, a sentence; "" where they help.
std::string uselessMaps(const DeployedIonosphere& deployed);

}  // namespace gnx
