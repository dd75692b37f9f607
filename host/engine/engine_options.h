#pragma once
/// \file engine_options.h
/// Development options that the boundary does not offer.

#include <string>

namespace gnx {

/// Sets the engine's output options ("-outres", "-oution", "-outztd", "-outambstat", "-outobsstat",
/// "-outflag", "-gensig") after GNX_initialize. The fixed argument vector of the engine holds none.
void setEngineOptions(const std::string& options);

}  // namespace gnx
