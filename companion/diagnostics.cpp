/// \file diagnostics.cpp
/// The engine keeps its own logs; what it also hands to the host's tracing is dropped here.

#include "GNX_IO.h"

namespace GNX_IO {

void trace(int /*level*/, const char* /*format*/, ...) {}

}  // namespace GNX_IO
