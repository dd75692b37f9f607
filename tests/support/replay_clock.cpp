// Stands in for the C library's clock while a replay is on.

#include "support/replay_clock.h"

#include <sys/time.h>
#include <time.h>

#include <atomic>

namespace {
constexpr std::int64_t kRealClock = -1;
std::atomic<std::int64_t> replaySeconds{kRealClock};
}  // namespace

namespace gnx {

void setReplayClock(std::int64_t utcSeconds) { replaySeconds = utcSeconds; }

}  // namespace gnx

/// Takes the place of the C library's time() for this program and every library that it loads.
extern "C" time_t time(time_t* out) noexcept {
  const std::int64_t replay = replaySeconds.load(std::memory_order_relaxed);
  timespec now{};
  if (replay == kRealClock) clock_gettime(CLOCK_REALTIME, &now);
  const time_t result = replay == kRealClock ? now.tv_sec : static_cast<time_t>(replay);
  if (out != nullptr) *out = result;
  return result;
}
