// Hands options to the engine that are for its development.

#include "engine/engine_options.h"

#include "GNX_SDK_ext.h"
#include "gnx/error.h"

namespace gnx {

void setEngineOptions(const std::string& options) {
  const std::string wrong = GNX_EXT::setOutputOptions(options);
  if (!wrong.empty()) throw UsageError(wrong);
}

}  // namespace gnx
