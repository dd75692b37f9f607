// Broadcast messages of GLONASS, both ways.

#include <cmath>

#include "rtcm/ephemerides.h"
#include "rtcm/ephemeris_layouts.h"

namespace gnx::rtcm {

namespace {

using G = GlonassElement;

constexpr int kChannelZero = 7, kLastSlot = 24, kLastChannel = 13;
constexpr std::int64_t kQuarterHour_ms = 900000, kHalfMinute_ms = 30000;
constexpr double kLeastRadius = 2e7, kLargestRadius = 3.2e7;  // m

constexpr std::array<G, 3> kPosition = {G::x, G::y, G::z}, kVelocity = {G::vx, G::vy, G::vz},
                           kAcceleration = {G::ax, G::ay, G::az};

/// Reading of the clock of Moscow.
GpsTime moscow(const GpsTime& t) {
  const GpsTime utc = t + -static_cast<double>(leapSecondsAtUtc(t));
  return utc + 3 * 3600.0;
}

}  // namespace

void decodeGlonassEphemeris(BitReader bits, Context& context) {
  Content<G> content;
  content.read(bits, glonassLayout());
  if (bits.overrun()) return context.drop(RtcmDrop::tooShort);
  GlonassEph eph;
  const int slot = content.integer(G::slot), channel = content.integer(G::channel);
  if (slot < 1 || slot > kLastSlot) return context.drop(RtcmDrop::unknownSatellite);
  eph.sat = satelliteName('R', slot);
  const auto toe = context.time.ofMoscowDay(content.number(G::tb) * kQuarterHour_ms);
  const auto frame =
      context.time.ofMoscowDay((content.number(G::frameHour) * 120 + content.number(G::frameMinute) * 2 +
                                content.number(G::frameHalf)) *
                               kHalfMinute_ms);
  if (!toe || content.number(G::tb) == 0) return context.dropTime();
  eph.toe = *toe;
  eph.frame = frame.value_or(*toe);
  // The clock value has the sign opposite to what is sent.
  eph.tau = -content.value(G::tau), eph.gamma = content.value(G::gamma);
  for (std::size_t i = 0; i < 3; ++i) {
    eph.position[i] = content.value(kPosition[i]);
    eph.velocity[i] = content.value(kVelocity[i]);
    eph.acceleration[i] = content.value(kAcceleration[i]);
  }
  eph.health = content.integer(G::health) | content.integer(G::lineHealth);
  eph.channel = channel - kChannelZero, eph.age = content.integer(G::age);
  const double radius = std::hypot(eph.position[0], eph.position[1], eph.position[2]);
  if (!(radius > kLeastRadius && radius < kLargestRadius) || channel > kLastChannel)
    return context.drop(RtcmDrop::impossibleValue);
  context.learn(eph);
  context.give(std::move(eph));
}

BitWriter encodeGlonassEphemeris(const GlonassEph& eph) {
  std::array<double, static_cast<std::size_t>(G::count)> values{};
  const auto set = [&](G element, double value) { values[static_cast<std::size_t>(element)] = value; };
  set(G::message, 1020), set(G::slot, std::stoi(eph.sat.substr(1))),
      set(G::channel, eph.channel + kChannelZero);
  const double frame = secondsOfDay(moscow(eph.frame));
  set(G::frameHour, std::floor(frame / 3600.0));
  set(G::frameMinute, std::floor(std::fmod(frame, 3600.0) / 60.0));
  set(G::frameHalf, std::floor(std::fmod(frame, 60.0) / 30.0));
  set(G::health, eph.health != 0 ? 1 : 0), set(G::tb, secondsOfDay(moscow(eph.toe)) / 900.0);
  for (std::size_t i = 0; i < 3; ++i) {
    set(kPosition[i], eph.position[i]);
    set(kVelocity[i], eph.velocity[i]);
    set(kAcceleration[i], eph.acceleration[i]);
  }
  set(G::tau, -eph.tau), set(G::gamma, eph.gamma), set(G::age, eph.age);
  // The day of the four-year period from 1 January of a leap year, and the count of these periods.
  const int day = modifiedJulianDay(moscow(eph.toe)) - modifiedJulianDay(toGpsTime({1996, 1, 1, 0, 0, 0.0}));
  const auto fourYears = day / 1461 + 1;
  set(G::day, day % 1461 + 1), set(G::additional, 1), set(G::fourYears, fourYears);
  set(G::type, 1), set(G::almanacHealth, 1), set(G::almanacGiven, 1);
  BitWriter bits;
  Content<G>::write(bits, glonassLayout(), values);
  return bits;
}

}  // namespace gnx::rtcm
