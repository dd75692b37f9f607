#pragma once
/// \file FilterConfig.h
/// How the steps of the filter read the configuration: values stay text and are tested by substring.

#include <cstdlib>
#include <cstring>

#include "Common/ComFreq.h"
#include "Common/ComString.h"
#include "Common/Constants.h"
#include "Config/Configuration.h"

namespace tarvio {

inline bool s_has(const char* text, const char* word) { return s_contains(text, word); }

/// The number behind ':' ("ZTD:7200"), 0.0 when there is none.
inline double s_numberBehindColon(const char* text) {
  const char* colon = std::strchr(text, ':');
  return colon ? std::strtod(colon + 1, nullptr) : 0.0;
}

/// Calls `visit(isys)` for every configured system, in the order of the configuration.
template <typename Visit>
void s_forEachSystem(Visit visit) {
  for (const char* letter = s_config().m_syslist; *letter; ++letter)
    if (const int isys = s_systemIndex(*letter); isys >= 0) visit(isys);
}

/// Whether carrier phases enter the estimate.
inline bool s_usesPhase() {
  const char* used = s_config().m_obsused;
  return s_has(used, "PHASE") || s_has(used, "GRAPHIC");
}

}  // namespace tarvio
