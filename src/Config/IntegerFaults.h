#pragma once
/// \file IntegerFaults.h
/// Settings under which integers are resolved wrongly or never. A host may ask before it starts the engine.

#include "Config/Deploy.h"
#include "GNX_SDK_ext.h"

namespace tarvio {

/// The rules, by the words of the configuration files.
std::vector<GNX_EXT::IntegerFault> s_integerFaults(const GNX_EXT::IntegerSettings& settings);
/// What a loaded configuration says of its integers.
GNX_EXT::IntegerSettings s_integerSettings(const Deploy& deploy);

}  // namespace tarvio
