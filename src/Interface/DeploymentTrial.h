#pragma once
/// \file DeploymentTrial.h
/// Tries a configuration where its faults end nothing that matters: in a child process.

#include <string>

#include "GNX_SDK_ext.h"

namespace tarvio {

/// \param check  receives the notes  \return what is wrong, "" for a deployment that can be used
std::string s_checkDeployment(const std::string& directory, GNX_EXT::DeploymentCheck& check);

}  // namespace tarvio
