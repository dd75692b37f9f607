#pragma once
/// \file deployment.h
/// Writes a complete run directory for the engine: "ppp.json" and every file that it names.

#include <filesystem>
#include <iosfwd>

#include "gnx/deployment.h"

namespace gnx {

/// Checks the choices and writes the deployment; `dir` is made when it does not exist. Files of an
/// earlier deployment in it are replaced. Every stand-in for what is not given is told in a line of `notes`.
/// \throws UsageError for inconsistent choices (a sentence), InputError for unreadable files.
void writeDeployment(const std::filesystem::path& dir, const DeploymentOptions& options, std::ostream& notes);

}  // namespace gnx
