// Builds streets and follows rays through them.

#include "simulate/skyline.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace gnx {

namespace {

constexpr double kMargin = 600.0;           // m of street before the start and beyond the end
constexpr double kVehicleDistance = 3.0;    // m from the antenna to the side of a vehicle
constexpr double kVehicleHeight = 2.0;      // m above the antenna
constexpr double kVehicleHalfLength = 6.0;  // m
constexpr double kVehiclesPerHour = 40.0;
constexpr double kEmptyLots = 0.15;                  // share: junctions, gardens
constexpr double kLowestSine = 1e-6;                 // a ray along the street meets no wall
constexpr double kMirrors = 0.33;                    // share of the lots
constexpr std::array kDistricts = {2.0, 6.0, 12.0};  // mean heights, m

}  // namespace

Skyline::Skyline(double hours, double speed, std::uint64_t seed) {
  Random random(seed, "skyline");
  build(speed * hours * 3600.0, random);
  for (double t = 0.0; t < hours * 3600.0;) {
    t -= std::log(1.0 - random.uniform()) * 3600.0 / kVehiclesPerHour;
    const double stay = 3.0 * std::pow(20.0, random.uniform());
    m_vehicles.push_back({t, t + stay, random.uniform() < 0.5 ? left : right});
  }
}

Skyline::Skyline(std::vector<Lot> leftLots, std::vector<Lot> rightLots, std::vector<Vehicle> vehicles)
    : m_lots{std::move(leftLots), std::move(rightLots)}, m_vehicles(std::move(vehicles)) {}

void Skyline::build(double length, Random& random) {
  double end = kMargin;
  std::int64_t district = random.integer(1, 2);  // the start is in a town
  for (double begin = -kMargin; begin < length + kMargin; begin = end, end += random.uniform(500.0, 2500.0)) {
    const double mean = kDistricts[static_cast<std::size_t>(district)];
    for (const Side side : {left, right})
      for (double at = begin; at < end; at += random.uniform(12.0, 45.0)) {
        const bool empty = random.uniform() < kEmptyLots;
        m_lots[side].push_back(
            {at, empty ? 0.0 : mean * random.uniform(0.4, 1.6), random.uniform() < kMirrors});
      }
    district = random.integer(0, 2);
  }
}

Skyline::Lot Skyline::lotAt(Side side, double along) const {
  const auto& lots = m_lots[side];
  const auto next = std::ranges::upper_bound(lots, along, {}, &Lot::from);
  return next == lots.begin() ? Lot{} : *std::prev(next);
}

bool Skyline::behindVehicle(Side side, double sine, double cosine, double tangent, double seconds) const {
  if (kVehicleDistance * tangent > kVehicleHeight * sine) return false;
  if (kVehicleDistance * std::abs(cosine) > kVehicleHalfLength * sine) return false;
  return std::ranges::any_of(
      m_vehicles, [&](const Vehicle& v) { return v.side == side && seconds >= v.from && seconds <= v.to; });
}

Sight Skyline::look(double azimuth, double elevation, double along, double seconds) const {
  const Side near = std::sin(azimuth) >= 0.0 ? right : left, far = near == right ? left : right;
  const double sine = std::max(kLowestSine, std::abs(std::sin(azimuth))), cosine = std::cos(azimuth);
  const double tangent = std::tan(elevation);
  // Height and place of the ray where it is k street halves to the side of the receiver, or of its image.
  const auto rayHeight = [&](double k) { return k * kWall / sine * tangent; };
  const auto rayPlace = [&](double k) { return along + k * kWall / sine * cosine; };

  Sight sight;
  sight.direct = lotAt(near, rayPlace(1.0)).height <= rayHeight(1.0) &&
                 !behindVehicle(near, sine, cosine, tangent, seconds);
  const Lot opposite = lotAt(far, rayPlace(1.0));
  if (opposite.mirror && opposite.height >= rayHeight(1.0) &&
      lotAt(near, rayPlace(3.0)).height <= rayHeight(3.0))
    sight.detour = 2.0 * kWall * sine * std::cos(elevation);
  return sight;
}

}  // namespace gnx
