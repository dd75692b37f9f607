#pragma once
// What messages tell of a reference station: position, equipment, biases, date.

#include "rtcm/bits.h"
#include "rtcm/context.h"

namespace gnx::rtcm {

void decodePosition(int message, BitReader bits, Context& context);   // 1005, 1006
void decodeEquipment(int message, BitReader bits, Context& context);  // 1007, 1008, 1033
void decodeGlonassBias(BitReader bits, Context& context);             // 1230
/// System parameters (1013) and text (1029): their date alone.
void decodeDate(BitReader bits, Context& context);

BitWriter encodePosition(const RtcmPosition& position);

}  // namespace gnx::rtcm
