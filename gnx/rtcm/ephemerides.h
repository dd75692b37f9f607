#pragma once
// Broadcast messages: 1019, 1042, 1044, 1045, 1046 with Keplerian elements, 1020 of GLONASS.

#include "rtcm/bits.h"
#include "rtcm/context.h"

namespace gnx::rtcm {

void decodeKepler(int message, BitReader bits, Context& context);
void decodeGlonassEphemeris(BitReader bits, Context& context);

/// Payloads.
BitWriter encodeKepler(const BroadcastEph& eph);
BitWriter encodeGlonassEphemeris(const GlonassEph& eph);

}  // namespace gnx::rtcm
