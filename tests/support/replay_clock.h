#pragma once
/// \file replay_clock.h
/// The wall clock as the engine sees it. The engine refuses broadcast messages more than six hours
/// from the wall clock, so a replay moves the clock: this program defines and exports time(), and the
/// engine reads the clock through nothing else.

#include <cstdint>

namespace gnx {

/// From now on time() answers these Unix seconds (UTC); deterministic for every thread.
void setReplayClock(std::int64_t utcSeconds);

}  // namespace gnx
