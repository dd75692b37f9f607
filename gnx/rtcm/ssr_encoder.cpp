// Writes correction messages.

#include <algorithm>
#include <cmath>
#include <iterator>

#include "gnx/error.h"
#include "gnx/write.h"
#include "rtcm/ssr.h"
#include "rtcm/stream_time.h"

namespace gnx::rtcm {

namespace {

constexpr std::size_t kMostSatellites = 28;  ///< in a message, so that it stays below 1023 bytes
constexpr std::size_t kMostBiases = 31;

void put(BitWriter& bits, double value, const SsrField& field) {
  const double number = std::round(value / field.scale);
  if (!(std::fabs(number) < std::ldexp(1.0, field.bits - 1)))
    throw UsageError("a correction of " + std::to_string(value) + " does not fit its field");
  bits.i(static_cast<std::int64_t>(number), field.bits);
}

void put(BitWriter& bits, const SsrOrbit& orbit, const SsrLayout& layout) {
  bits.number(0, layout.leadBits);
  bits.number(layout.system == 'C' ? issueOfHalfHour(orbit.iod) : orbit.iod, layout.issueBits);
  for (std::size_t i = 0; i < 3; ++i) put(bits, orbit.delta[i], kOrbitFields[i]);
  for (std::size_t i = 0; i < 3; ++i) put(bits, orbit.rate[i], kOrbitFields[3 + i]);
}

void put(BitWriter& bits, const SsrClock& clock, const SsrLayout&) {
  for (std::size_t i = 0; i < 3; ++i) put(bits, clock.c[i], kClockFields[i]);
}

void put(BitWriter& bits, const SsrSatBias& sat, const SsrLayout& layout) {
  const bool phase = layout.part == SsrPart::phaseBias;
  std::vector<std::pair<int, const SsrBias*>> sent;
  for (const SsrBias& bias : sat.biases) {
    const auto indicator = ssrIndicator(layout.system, bias.signal);
    if (indicator && sent.size() < kMostBiases) sent.emplace_back(*indicator, &bias);
  }
  bits.number(static_cast<int>(sent.size()), 5);
  if (phase) {
    const double turns = sat.yaw / 360.0;
    bits.i(std::llround((turns - std::floor(turns)) * 512.0) % 512, kYaw.bits);
    put(bits, sat.yawRate, kYawRate);
  }
  for (const auto& [indicator, bias] : sent) {
    bits.number(indicator, 5);
    if (phase) {
      bits.number(bias->integerIndicator, 1);
      bits.number(bias->wideLaneIndicator, 2);
      bits.number(std::max(bias->discontinuity, 0) % 16, 4);
    }
    put(bits, bias->value, phase ? kPhaseBias : kCodeBias);
  }
}

SsrPart partOf(SsrKind kind) {
  switch (kind) {
    case SsrKind::orbit:
      return SsrPart::orbit;
    case SsrKind::clock:
      return SsrPart::clock;
    case SsrKind::codeBias:
      return SsrPart::codeBias;
    default:
      return SsrPart::phaseBias;
  }
}

BitWriter head(const RtcmSsr& ssr, const SsrLayout& layout, bool more, std::size_t satellites) {
  const GpsTime& time = ssr.block.time;
  const std::int64_t epoch = layout.system == 'R'   ? moscowDayMilliseconds(time)
                             : layout.system == 'C' ? beidouWeekMilliseconds(time)
                                                    : weekMilliseconds(time);
  BitWriter bits;
  bits.number(layout.message, 12);
  bits.i(epoch / 1000, layout.epochBits);
  bits.number(updateIntervalIndicator(ssr.block.interval), 4);
  bits.number(more ? 1 : 0, 1);
  if (layout.hasOrbit()) bits.number(ssr.regional ? 1 : 0, 1);
  bits.number(ssr.issue, 4);
  bits.number(ssr.provider, 16);
  bits.number(ssr.solution, 4);
  if (layout.part == SsrPart::phaseBias) {
    bits.number(ssr.dispersive ? 1 : 0, 1);
    bits.number(ssr.wideLane ? 1 : 0, 1);
  }
  bits.number(static_cast<int>(satellites), layout.countBits);
  return bits;
}

/// The satellites of one system, in as many messages as they need.
template <typename Entry>
void encodeSystem(const RtcmSsr& ssr, const std::vector<const Entry*>& entries,
                  std::vector<BitWriter>& payloads) {
  const auto layout = ssrLayout(entries.front()->sat[0], partOf(ssr.block.kind));
  if (!layout) throw UsageError("there is no message for corrections of " + entries.front()->sat);
  for (std::size_t from = 0; from < entries.size(); from += kMostSatellites) {
    const std::size_t until = std::min(entries.size(), from + kMostSatellites);
    BitWriter bits = head(ssr, *layout, ssr.more || until < entries.size(), until - from);
    for (std::size_t i = from; i < until; ++i) {
      bits.number(std::stoi(entries[i]->sat.substr(1)) - layout->satelliteOffset, layout->satelliteBits);
      put(bits, *entries[i], *layout);
    }
    payloads.push_back(std::move(bits));
  }
}

template <typename Entry>
void encodeAll(const RtcmSsr& ssr, const std::vector<Entry>& entries, std::vector<BitWriter>& payloads) {
  std::map<char, std::vector<const Entry*>> systems;
  for (const Entry& entry : entries) systems[entry.sat.at(0)].push_back(&entry);
  for (const auto& [letter, part] : systems) encodeSystem(ssr, part, payloads);
}

}  // namespace

std::vector<BitWriter> encodeSsr(const RtcmSsr& ssr) {
  std::vector<BitWriter> payloads;
  encodeAll(ssr, ssr.block.orbits, payloads);
  encodeAll(ssr, ssr.block.clocks, payloads);
  encodeAll(ssr, ssr.block.biases, payloads);
  return payloads;
}

}  // namespace gnx::rtcm
