#pragma once
/// \file fleet_deployments.h
/// Deployments of a fleet: stations with the same choices share one, and with it the files that the machine
/// keeps in its memory.

#include <filesystem>
#include <map>
#include <string>

#include "live/live_options.h"

namespace gnx {

class FleetDeployments {
 public:
  /// \param directory  where those are made that nobody named
  FleetDeployments(std::filesystem::path directory, const GpsTime& date)
      : m_directory(std::move(directory)), m_date(date) {}

  /// \throws UsageError, InputError
  std::filesystem::path of(const LiveRunOptions& options) {
    if (!options.deployment.empty()) return std::filesystem::absolute(options.deployment);
    const DeploymentOptions& d = options.deploy;
    const std::string choices = d.systems + '\n' + d.freqobs + '\n' + d.freqused + '\n' + d.antex.string() +
                                '\n' + d.refpoint + '\n' + (d.resolution ? "integers" : "");
    std::filesystem::path& made = m_made[choices];
    if (!made.empty()) return made;
    DeploymentOptions given = d;
    given.date = m_date;
    const auto path = m_directory / std::to_string(m_made.size());
    Deployment::make(path, given);
    return made = path;
  }

 private:
  std::filesystem::path m_directory;
  GpsTime m_date;
  std::map<std::string, std::filesystem::path> m_made;  ///< by the choices
};

}  // namespace gnx
