// Start, end and angle of yaw turns by block, and the turns that are still flown.

#include "Core/Model/YawTurns.h"

#include <algorithm>
#include <cmath>

#include "Common/Constants.h"

namespace tarvio {

namespace {

constexpr double kBetweenTurns_s = 7200.0;  ///< a new record is opened no earlier after the last one
constexpr double kRecovery_s = 1800.0;      ///< a turn may need this long behind its record's end
constexpr double kOppositeBeta_deg = 0.9;   ///< the yaw bias decides the sense of a noon turn below this

double tand(double deg) { return std::tan(deg * kDegToRad); }
double sind(double deg) { return std::sin(deg * kDegToRad); }
double cosd(double deg) { return std::cos(deg * kDegToRad); }
double atan2d(double y, double x) { return std::atan2(y, x) * kRadToDeg; }
double root(double x) { return std::sqrt(std::max(x, 0.0)); }
/// +1 for zero.
double signOf(double x) { return x < 0.0 ? -1.0 : 1.0; }
double wrap180(double deg) { return std::remainder(deg, 360.0); }

/// Angle of the satellite from the centre of the turn along the orbit, deg; negative when passed.
/// Planar: sqrt(distance^2 - beta^2), as in the published routine.
double toCentre(const YawEpoch& e) {
  const double fromNoon = std::acos(std::clamp(e.cosine, -1.0, 1.0)) * kRadToDeg;
  const bool night = e.cosine < 0.0;
  const double distance =
      root((night ? 180.0 - fromNoon : fromNoon) * (night ? 180.0 - fromNoon : fromNoon) - e.beta * e.beta);
  const bool passed = night ? e.mu < 180.0 : e.mu > 180.0;
  return passed ? -distance : distance;
}

/// Orbit angle from noon or midnight, whichever is nearer, deg; negative before it.
double fromCentre(const YawEpoch& e) { return std::remainder(e.mu, 180.0); }

/// Orbit angle from the centre at which a noon turn starts.
double noonLimit(const KoubaBlock& block, const YawEpoch& e) {
  const double limit = std::atan(e.rate / block.maxRate) * kRadToDeg;
  if (block.kind != KoubaKind::glonass || std::abs(e.beta) >= limit) return limit;
  double yaw = 75.0;  // three rounds of the published iteration (Dilssner et al. 2011)
  for (int i = 0; i < 3; ++i) {
    const double x = e.rate * yaw / block.maxRate;
    yaw = std::abs(atan2d(-tand(e.beta), sind(180.0 - x)) - atan2d(-tand(e.beta), sind(180.0 + x))) / 2.0;
  }
  return e.rate * yaw / block.maxRate;
}

/// Half length of a turn, s; nothing when the satellite makes none at this beta.
std::optional<double> halfLength(const KoubaBlock& block, const YawEpoch& e, bool night, double limit) {
  const double beta = std::abs(e.beta);
  if (night && block.kind != KoubaKind::iir) {
    const double shadow = block.nightLimit - 180.0;
    if (beta >= shadow) return std::nullopt;
    return root(shadow * shadow - beta * beta) / e.rate;
  }
  if (!night && block.kind == KoubaKind::glonass) {
    if (beta >= limit) return std::nullopt;
    return limit / e.rate;
  }
  // the nominal rate reaches the maximum where |beta| (limit/|beta| - 1)^(1/2) is left to the centre
  if (beta >= limit) return std::nullopt;
  return beta > 0.0 ? beta * root(limit / beta - 1.0) / e.rate : 0.0;
}

/// Yaw inside a turn and the nominal one; nothing when the turn is over.
struct TurnState {
  const KoubaBlock& block;
  const YawEpoch& e;
  double start, end;
  double w;        ///< half width in orbit angle, deg
  double nominal;  ///< deg

  double S(double x) const { return atan2d(-tand(e.beta), sind(x)); }
  double reversedS(double x) const { return atan2d(tand(e.beta), -sind(x)); }
};

std::optional<double> nightIia(const TurnState& s) {
  const double direction = signOf(s.block.bias), rate = s.block.maxRate;
  if (s.e.t <= s.end) return wrap180(s.S(-s.w) + direction * rate * (s.e.t - s.start));
  const double exit = s.S(-s.w) + direction * rate * (s.end - s.start);
  const double gap = wrap180(s.nominal - exit);
  const double yaw = exit + signOf(gap) * rate * (s.e.t - s.end);
  const double left = wrap180(s.nominal - yaw);
  if (std::abs(left) > std::abs(gap) || left * gap < 0.0) return std::nullopt;
  return wrap180(yaw);
}

std::optional<double> nightIif(const TurnState& s) {
  if (s.e.t > s.end) return std::nullopt;
  const double rate = (s.S(s.w) - s.S(-s.w)) / (s.end - s.start);
  return s.S(-s.w) + rate * (s.e.t - s.start);
}

std::optional<double> nightGlonass(const TurnState& s) {
  if (s.e.t > s.end) return std::nullopt;
  const double yaw = s.S(-s.w) + signOf(s.e.beta) * s.block.maxRate * (s.e.t - s.start);
  const double exit = s.S(s.w);
  return exit / yaw >= 1.0 || yaw / exit < 0.0 ? exit : yaw;
}

std::optional<double> nightIir(const TurnState& s) {
  const double yaw = s.reversedS(-s.w) + signOf(s.e.beta) * s.block.maxRate * (s.e.t - s.start);
  if (yaw / s.nominal >= 1.0 || yaw / s.nominal < 0.0) return std::nullopt;
  return yaw;
}

std::optional<double> noonIir(const TurnState& s) {
  const double yaw = s.reversedS(180.0 - s.w) - signOf(s.e.beta) * s.block.maxRate * (s.e.t - s.start);
  if (s.nominal / yaw >= 1.0 || yaw / s.nominal < 0.0) return std::nullopt;
  return yaw;
}

std::optional<double> noonOthers(const TurnState& s) {
  const bool gps = s.block.kind != KoubaKind::glonass;
  const double direction = signOf(s.block.bias);
  const double turned = s.block.maxRate * (s.e.t - s.start);
  if (gps && s.block.bias * s.e.beta > 0.0 && std::abs(s.e.beta) <= kOppositeBeta_deg) {
    const double yaw = s.S(180.0 - s.w) + direction * turned;  // the bias turns the other way round
    if ((yaw - direction * 360.0) / s.nominal <= 1.0) return std::nullopt;
    return wrap180(yaw);
  }
  const double yaw = s.S(180.0 - s.w) - signOf(s.e.beta) * turned;
  const bool over = gps ? yaw / s.nominal >= 1.0 || yaw / s.nominal < 0.0 : s.e.t > s.end;
  if (over) return std::nullopt;
  return yaw;
}

}  // namespace

double nominalYaw(double beta, double mu, bool reversed) {
  return reversed ? atan2d(tand(beta), -sind(mu)) : atan2d(-tand(beta), sind(mu));
}

bool YawTurns::mayOpen(double t) const {
  if (m_count == 0) return true;
  const Turn& last = m_turns[static_cast<std::size_t>(m_count - 1)];
  return std::abs(t - last.end) > kBetweenTurns_s && !(t >= last.start && t <= last.end);
}

void YawTurns::open(const YawEpoch& epoch, double angleToCentre, double half) {
  const double centre = epoch.t + angleToCentre / epoch.rate;
  if (m_count == kMaxTurns) {  // a month of turns: the oldest makes room
    std::move(m_turns.begin() + 1, m_turns.end(), m_turns.begin());
    --m_count;
  }
  m_turns[static_cast<std::size_t>(m_count++)] = {centre - half, centre + half, epoch.beta};
}

const YawTurns::Turn* YawTurns::inForce(double t, double after) const {
  for (int i = m_count - 1; i >= 0; --i) {
    const Turn& turn = m_turns[static_cast<std::size_t>(i)];
    if (t >= turn.start && t <= turn.end + after) return &turn;
  }
  return nullptr;
}

std::optional<double> YawTurns::eclips(const KoubaBlock& block, const YawEpoch& epoch) {
  const double limit = noonLimit(block, epoch);
  const double nightThreshold = cosd(block.kind == KoubaKind::iir ? 180.0 + limit : block.nightLimit);
  const bool night = epoch.cosine < nightThreshold;
  const bool noon = epoch.cosine > cosd(limit);
  if ((night || noon) && mayOpen(epoch.t)) {
    if (const auto half = halfLength(block, epoch, night, limit)) open(epoch, toCentre(epoch), *half);
  }
  const Turn* turn = inForce(epoch.t, kRecovery_s);
  if (turn == nullptr || turn->end <= turn->start) return std::nullopt;
  const TurnState s{block,
                    epoch,
                    turn->start,
                    turn->end,
                    epoch.rate * (turn->end - turn->start) / 2.0,
                    nominalYaw(epoch.beta, epoch.mu, block.kind == KoubaKind::iir)};
  std::optional<double> yaw;
  if (epoch.cosine < 0.0) {
    switch (block.kind) {
      case KoubaKind::iia:
        yaw = nightIia(s);
        break;
      case KoubaKind::iif:
        yaw = nightIif(s);
        break;
      case KoubaKind::iir:
        yaw = nightIir(s);
        break;
      case KoubaKind::glonass:
        yaw = nightGlonass(s);
        break;
    }
  } else {
    yaw = block.kind == KoubaKind::iir ? noonIir(s) : noonOthers(s);
  }
  if (!yaw) return std::nullopt;
  return *yaw - s.nominal;
}

std::optional<double> YawTurns::eclips2(const CosineBlock& block, const YawEpoch& epoch) {
  const bool near = block.byOrbitAngle ? std::abs(fromCentre(epoch)) < block.range
                                       : std::abs(epoch.cosine) > cosd(block.range);
  if (std::abs(epoch.beta) <= block.betaLimit && near && mayOpen(epoch.t)) {
    if (block.byOrbitAngle) open(epoch, -fromCentre(epoch), block.range / epoch.rate);
    else open(epoch, toCentre(epoch), root(block.range * block.range - epoch.beta * epoch.beta) / epoch.rate);
  }
  const Turn* turn = inForce(epoch.t, 0.0);
  if (turn == nullptr) return std::nullopt;
  const double w = epoch.rate * (turn->end - turn->start) / 2.0;
  const double start = nominalYaw(turn->beta, epoch.cosine < 0.0 ? -w : 180.0 - w, false);
  const double target = 90.0 * signOf(start);
  const double yaw = target + (start - target) * std::cos(block.frequency * (epoch.t - turn->start));
  return yaw - nominalYaw(epoch.beta, epoch.mu, false);
}

std::optional<double> YawTurns::eclips2(const IovBlock& block, const YawEpoch& epoch) {
  constexpr double kSin15 = 0.25881904510252074, kSin2 = 0.03489949670250097;
  if (std::abs(epoch.beta) <= block.betaLimit && std::abs(epoch.cosine) > cosd(block.range) &&
      mayOpen(epoch.t)) {
    open(epoch, toCentre(epoch), block.range / epoch.rate);
  }
  const Turn* turn = inForce(epoch.t, 0.0);
  if (turn == nullptr) return std::nullopt;
  // Sun in orbital axes; the border value keeps the sign of the entry through a change of beta's sign.
  const double sx = cosd(epoch.beta) * sind(epoch.mu), sy = -sind(epoch.beta);
  if (std::abs(sx) >= kSin15 || std::abs(sy) >= kSin2) return std::nullopt;
  const double border = -signOf(turn->beta) * kSin2;
  const double profile = (border + sy) / 2.0 + (border - sy) / 2.0 * std::cos(kPi * std::abs(sx) / kSin15);
  return atan2d(profile, sx) - nominalYaw(epoch.beta, epoch.mu, false);
}

std::optional<double> YawTurns::frozenBeta(const FrozenBetaBlock& block, const YawEpoch& epoch) {
  if (std::abs(epoch.beta) >= block.betaLimit) {
    m_side = 0.0;
    return std::nullopt;
  }
  const auto yawOn = [&](double side) { return nominalYaw(side * block.betaLimit, epoch.mu, false); };
  const double sun = signOf(epoch.beta);
  if (m_side == 0.0) m_side = sun;
  if (m_side != sun && std::abs(yawOn(m_side)) < block.changeYaw) {
    m_side = sun;
    m_changed = epoch.t;
  }
  double yaw = yawOn(m_side);
  const double swing = wrap180(yaw - yawOn(-m_side)), done = block.changeRate * (epoch.t - m_changed);
  if (done >= 0.0 && done < std::abs(swing)) yaw += std::copysign(done, swing) - swing;
  return yaw - nominalYaw(epoch.beta, epoch.mu, false);
}

}  // namespace tarvio
