// Messages about a reference station.

#include "rtcm/station.h"

#include <algorithm>
#include <cmath>

#include "gnx/error.h"

namespace gnx::rtcm {

namespace {

constexpr double kCoordinate = 1e-4, kBias = 0.02;  // m
constexpr int kCoordinateBits = 38;
constexpr double kFarthest = 1e7;  ///< m from the centre of the Earth
constexpr std::int64_t kNoBias = -(1 << 15);
constexpr int kEpochDay = 40587;  ///< modified Julian day of 1 January 1970

std::int64_t coordinate(double value) {
  if (!(std::fabs(value) < kFarthest)) throw UsageError("a station's coordinates lie far from the Earth");
  return std::llround(value / kCoordinate);
}

}  // namespace

void decodePosition(int message, BitReader bits, Context& context) {
  bits.u(12);
  RtcmPosition record;
  record.station = bits.number(12);
  bits.u(10);  // realisation of the frame, systems, kind of station
  for (double& axis : record.position) {
    axis = static_cast<double>(bits.i(kCoordinateBits)) * kCoordinate;
    if (&axis != &record.position.back()) bits.u(2);  // oscillator, quarter cycles
  }
  if (message == 1006) record.height = static_cast<double>(bits.u(16)) * kCoordinate;
  if (bits.overrun()) return context.drop(RtcmDrop::tooShort);
  const Vector3& p = record.position;
  if (std::hypot(p[0], p[1], p[2]) > kFarthest) return context.drop(RtcmDrop::impossibleValue);
  context.give(record);
}

void decodeEquipment(int message, BitReader bits, Context& context) {
  bits.u(12);
  RtcmEquipment record;
  record.station = bits.number(12);
  record.antenna = bits.text(bits.number(8));
  record.setup = bits.number(8);
  if (message != 1007) record.antennaSerial = bits.text(bits.number(8));
  if (message == 1033) {
    for (std::string* text : {&record.receiver, &record.firmware, &record.receiverSerial})
      *text = bits.text(bits.number(8));
  }
  if (bits.overrun()) return context.drop(RtcmDrop::tooShort);
  context.give(std::move(record));
}

void decodeGlonassBias(BitReader bits, Context& context) {
  bits.u(12);
  RtcmGlonassBias record;
  record.station = bits.number(12);
  record.aligned = bits.flag();
  bits.u(3);
  const int mask = bits.number(4);
  const char* const signals[] = {"1C", "1P", "2C", "2P"};
  for (int i = 0; i < 4; ++i) {
    if ((mask >> (3 - i) & 1) == 0) continue;
    const std::int64_t value = bits.i(16);
    if (value != kNoBias) record.bias[signals[i]] = static_cast<double>(value) * kBias;
  }
  if (bits.overrun()) return context.drop(RtcmDrop::tooShort);
  context.give(std::move(record));
}

void decodeDate(BitReader bits, Context& context) {
  bits.u(24);
  const std::int64_t day = bits.number(16), second = bits.number(17);
  if (bits.overrun()) return context.drop(RtcmDrop::tooShort);
  const GpsTime utc{(day - kEpochDay) * 86400 + second, 0.0};
  if (second > 86400 || toCalendar(utc).year < 2000) return context.drop(RtcmDrop::impossibleTime);
  context.time.learn(utc + leapSecondsAtUtc(utc));
}

BitWriter encodePosition(const RtcmPosition& record) {
  BitWriter bits;
  bits.number(1006, 12);
  bits.number(record.station, 12);
  bits.number(0, 6);
  bits.number(0xF - 1, 4);  // serves GPS, GLONASS and Galileo from a real station
  for (const double axis : record.position) {
    bits.i(coordinate(axis), kCoordinateBits);
    if (&axis != &record.position.back()) bits.number(0, 2);
  }
  bits.number(static_cast<int>(std::lround(std::clamp(record.height, 0.0, 6.5535) / kCoordinate)), 16);
  return bits;
}

}  // namespace gnx::rtcm
