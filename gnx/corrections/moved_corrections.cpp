// Corrections moved to another time and to another broadcast message.

#include "gnx/corrections.h"
#include "gnx/signal.h"

namespace gnx {

OrbitClockCorrection carriedTo(const GpsTime& tag, const SsrOrbit& orbit, const GpsTime& orbitReference,
                               const SsrClock& clock, const GpsTime& clockReference) {
  OrbitClockCorrection c;
  c.sat = clock.sat;
  c.iod = clock.iod;
  const double orbitAge = tag - orbitReference;
  for (std::size_t k = 0; k < 3; ++k) c.deph[k] = orbit.delta[k] + orbitAge * orbit.rate[k];
  c.ddeph = orbit.rate;
  // The polynomial about the tag. Its rates stay: a batch is never used before its delivery, so
  // that the absolute age of the engine is the age.
  const auto& [c0, c1, c2] = clock.c;
  const double x = tag - clockReference;
  c.dclk = {c0 + (c1 + c2 * x) * x, c1 + 2.0 * c2 * x, c2};
  return c;
}

void moveToMessage(OrbitClockCorrection& c, const BroadcastEph& from, const BroadcastEph& to,
                   const GpsTime& tag) {
  const SatState corrected = applyCorrection(evaluateBroadcast(from, tag), c, 0.0);
  const SatState base = evaluateBroadcast(to, tag);
  Vector3 position{}, velocity{};
  for (std::size_t k = 0; k < 3; ++k) {
    position[k] = base.position[k] - corrected.position[k];
    velocity[k] = base.velocity[k] - corrected.velocity[k];
  }
  const auto axes = orbitAxes(base);
  c.iod = issueOfData(to);
  c.deph = toAxes(axes, position);
  c.ddeph = toAxes(axes, velocity);
  c.dclk[0] = kLightSpeed * (corrected.clock - base.clock);
  c.dclk[1] += kLightSpeed * (from.af[1] - to.af[1]);
}

}  // namespace gnx
