#pragma once
/// \file deployed_antenna.h
/// Whether the engine finds a receiver's antenna in a deployment. It takes an unknown one for none, offsets
/// zero, and goes on.

#include <string>

#include "gnx/deployment.h"

namespace gnx {

/// A sentence, with the nearest name that is known, about an antenna that the engine will not find; "" when
/// it will, or when no antenna is named.
/// \param antenna  type and radome as the engine is told of them
std::string unknownAntenna(const Deployment& deployment, const std::string& antenna);

}  // namespace gnx
