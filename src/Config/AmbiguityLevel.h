#pragma once
/// \file AmbiguityLevel.h
/// The levels of the integer resolution and all that follows from being one: order, names, codes.

#include <iterator>
#include <string_view>

#include "GNX_SDK_ext.h"
#include "Records/SolutionState.h"

namespace tarvio {

/// In the order of the resolution. The number is a level's place in Deploy::m_ambconfig.
using GNX_EXT::Level;

struct LevelTraits {
  Level level;
  const char* tag;          ///< in the configuration, the stores of biases and the record of fixes
  const char* smoothedTag;  ///< in the record of fixes, from smoothed wide-lanes alone; null: there are none
  int fixedState;           ///< of a fixed satellite in the record of fixes
  SolutionState solution;   ///< with the level's integers in the solution
};

inline constexpr LevelTraits kLevels[] = {
    {Level::extraWideLane, "ewl", "ewl_mw", 2, kStateExtraWideLane},
    {Level::wideLane, "wl", "wl_mw", 3, kStateWideLane},
    {Level::last, "n1", nullptr, 5, kStateFixed},
};
inline constexpr int kLevelCount = std::size(kLevels);

constexpr int s_place(Level level) { return static_cast<int>(level); }
constexpr const LevelTraits& s_traits(Level level) { return kLevels[s_place(level)]; }

/// The level before, null for the first.
constexpr const LevelTraits* s_levelBefore(Level level) {
  return level == Level::extraWideLane ? nullptr : &kLevels[s_place(level) - 1];
}

/// The level of a tag, the last for any other text.
constexpr Level s_levelOf(std::string_view tag) {
  for (const LevelTraits& traits : kLevels)
    if (tag == traits.tag) return traits.level;
  return Level::last;
}

}  // namespace tarvio
