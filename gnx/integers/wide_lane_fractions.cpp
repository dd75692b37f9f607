// Averages Melbourne-Wuebbena fractions satellite by satellite.

#include "integers/wide_lane_fractions.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "gnx/adapt.h"
#include "gnx/corrections.h"
#include "gnx/signal.h"

namespace gnx {

namespace {

constexpr double kPace_s = 29.5;      ///< epochs closer together bring little: multipath lasts for minutes
constexpr double kLongest_s = 300.0;  ///< a step that is longer is a gap
constexpr double kShortest_s = 600.0;
constexpr double kGap_s = 120.0;
constexpr double kJump_m = 0.1;  ///< of the geometry-free phase in a step; single cycles are 0.19 m and more
const double kLowest = std::sin(20.0 * std::numbers::pi / 180.0);  ///< below, codes are too noisy

/// Code and phase of a planned signal, biases applied, in metres.
struct Ranges {
  double code = 0.0, phase = 0.0, frequency = 0.0;
};

std::optional<Ranges> rangesOf(const SatObs& sat, const PlannedSignal& signal, const SatBiases& biases) {
  const auto find = [&](const std::string& name) {
    return std::find_if(sat.signals.begin(), sat.signals.end(),
                        [&](const SignalObs& s) { return name == s.code.data(); });
  };
  const auto code = find(signal.code), phase = find(signal.phase);
  const SsrBias* phaseBias = phaseBiasOf(sat.sat[0], signal, biases);
  const auto frequency = carrierFrequency(sat.sat[0], signal.code[0]);
  if (code == sat.signals.end() || phase == sat.signals.end() || code->range == 0.0 || phase->phase == 0.0 ||
      phaseBias == nullptr || !frequency)
    return std::nullopt;
  const SsrBias* codeBias = codeBiasOf(signal, biases);
  return Ranges{code->range + (codeBias == nullptr ? 0.0 : codeBias->value),
                phase->phase * kLightSpeed / *frequency + phaseBias->value, *frequency};
}

/// Wide-lane ambiguity, cycles.
double melbourneWuebbena(const Ranges& a, const Ranges& b) {
  const double difference = a.frequency - b.frequency, sum = a.frequency + b.frequency;
  const double phase = (a.frequency * a.phase - b.frequency * b.phase) / difference;
  const double code = (a.frequency * a.code + b.frequency * b.code) / sum;
  return (phase - code) * difference / kLightSpeed;
}

std::complex<double> direction(double cycles) { return std::polar(1.0, 2.0 * std::numbers::pi * cycles); }

}  // namespace

WideLaneFractions::WideLaneFractions(SignalPlan signals, const MessageStore& messages,
                                     PhaseCentreHeights heights, const std::array<double, 3>& position)
    : m_signals(std::move(signals)),
      m_messages(messages),
      m_heights(std::move(heights)),
      m_position(position) {}

/// By the sine of the elevation, geocentric; nothing for satellites that are too low.
std::optional<double> WideLaneFractions::weight(const SatName& sat, const GpsTime& t) const {
  const double radius = std::hypot(m_position[0], m_position[1], m_position[2]);
  const BroadcastEph* eph = m_messages.pick(sat, t);
  if (radius == 0.0 || eph == nullptr) return 1.0;
  const Vector3 there = evaluateBroadcast(*eph, t).position;
  double distance = 0.0, up = 0.0;
  for (std::size_t i = 0; i < 3; ++i) {
    const double d = there[i] - m_position[i];
    distance += d * d;
    up += d * m_position[i] / radius;
  }
  const double sine = up / std::sqrt(distance);
  if (sine < kLowest) return std::nullopt;
  return sine * sine;
}

void WideLaneFractions::add(const ObsEpoch& epoch, const std::vector<SatBiases>& biases) {
  const double step = m_last ? epoch.time - *m_last : 0.0;
  if (m_last && step < kPace_s) return;
  m_last = epoch.time;
  for (const SatObs& sat : epoch.sats) {
    const auto& planned = m_signals.of(sat.sat[0]);
    const auto own =
        std::find_if(biases.begin(), biases.end(), [&](const SatBiases& b) { return b.sat == sat.sat; });
    if (planned.size() < 2 || own == biases.end()) continue;
    const auto a = rangesOf(sat, planned[0], *own), b = rangesOf(sat, planned[1], *own);
    if (!a || !b || a->frequency == b->frequency) continue;
    const auto w = weight(sat.sat, epoch.time);
    if (!w) continue;
    Sum& sum = m_sums[sat.sat];
    const double geometryFree = a->phase - b->phase;
    if (sum.arcWeight > 0.0 &&
        (epoch.time - sum.last > kGap_s || std::fabs(geometryFree - sum.geometryFree) > kJump_m)) {
      sum.direction += meanOfArc(sum);
      sum.arcSum = sum.arcWeight = 0.0;
    }
    sum.last = epoch.time;
    sum.geometryFree = geometryFree;
    sum.arcSum += *w * melbourneWuebbena(*a, *b);
    sum.arcWeight += *w;
    sum.seconds += step < kLongest_s ? step : 0.0;
    const auto heights = m_heights.find(sat.sat);
    if (heights != m_heights.end())
      sum.offset = wideLaneOfOffsets(sat.sat[0], heights->second, planned[0].code[0], planned[1].code[0]);
  }
}

/// As long as the arc's weight.
std::complex<double> WideLaneFractions::meanOfArc(const Sum& sum) {
  return sum.arcWeight > 0.0 ? sum.arcWeight * direction(sum.arcSum / sum.arcWeight) : 0.0;
}

std::vector<WideLaneFraction> WideLaneFractions::result() const {
  std::vector<WideLaneFraction> all;
  for (const auto& [sat, sum] : m_sums)
    if (sum.seconds >= kShortest_s)
      all.push_back({sat, std::arg(sum.direction + meanOfArc(sum)) / (2.0 * std::numbers::pi), sum.offset,
                     sum.seconds});
  return all;
}

}  // namespace gnx
