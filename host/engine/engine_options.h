#pragma once
/// \file engine_options.h
/// Development options that the boundary does not offer.

#include <string>

namespace gnx {

/// Sets the engine's output options ("-outres", "-oution", "-outztd", "-outclk", "-outfix", "-outint",
/// "-outambstat",
/// "-outobsstat", "-outflag", "-outaccount", "-gensig", and "-float": no integers) after GNX_initialize, also
/// between epochs. The fixed argument vector of the engine holds none.
void setEngineOptions(const std::string& options);

}  // namespace gnx
