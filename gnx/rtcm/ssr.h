#pragma once
// Correction messages.

#include <cstdint>
#include <map>
#include <tuple>
#include <utility>

#include "rtcm/bits.h"
#include "rtcm/context.h"
#include "rtcm/ssr_layout.h"

namespace gnx::rtcm {

/// What later messages of a stream refer to: clocks name no issue of data, they belong to the orbit before
/// them; high-rate clocks refine the clock before them.
class SsrMemory {
 public:
  struct Orbit {
    std::int64_t time = 0;  ///< ms
    int issue = 0, iod = 0;
  };
  struct Clock {
    GpsTime reference;
    int issue = 0;
    SsrClock clock;
  };
  /// Of one satellite from one provider.
  struct Satellite {
    std::optional<Orbit> orbit;
    std::optional<Clock> clock;
  };
  Satellite& of(int provider, int solution, const SatName& sat);

 private:
  using Source = std::pair<int, int>;
  std::map<Source, std::map<SatName, Satellite>> m_sources;
};

/// Any correction message, 4076 included.
void decodeSsr(int message, std::span<const std::uint8_t> payload, SsrMemory& memory, Context& context);

/// Payloads, one a system.
std::vector<BitWriter> encodeSsr(const RtcmSsr& ssr);

/// Issue of a BeiDou message, which issueOfData() counts in half hours of the day, from and to the one of
/// corrections: twelve minutes of two days.
int halfHourOfIssue(int issue);
int issueOfHalfHour(int halfHour);

/// Most negative value of a field: out of range.
constexpr std::int64_t outOfRange(int bits) { return -(std::int64_t{1} << (bits - 1)); }

/// A number of a correction.
struct SsrField {
  int bits;
  double scale;
};
inline constexpr SsrField kOrbitFields[] = {{22, 1e-4}, {20, 4e-4}, {20, 4e-4},
                                            {21, 1e-6}, {19, 4e-6}, {19, 4e-6}};
inline constexpr SsrField kClockFields[] = {{22, 1e-4}, {21, 1e-6}, {27, 2e-8}};
inline constexpr SsrField kCodeBias{14, 0.01}, kPhaseBias{20, 1e-4};
inline constexpr SsrField kYaw{9, 180.0 / 256.0}, kYawRate{8, 180.0 / 8192.0};  ///< degrees, degrees/s

}  // namespace gnx::rtcm
