#pragma once
/// \file NoiseSettings.h
/// What is known about the errors of a receiver before its data tell. An extension: without the group "noise"
/// sigmas are those of the station, as if every epoch were independent of the one before.

namespace tarvio {

/// Errors of one kind of observation at 30 degrees of elevation and above: a white part and a slow part
/// (Gauss and Markov), sigmas in metres.
struct NoiseLevel {
  double white = 0.0, slow = 0.0;
};

struct NoiseSettings {
  bool m_on = false;
  double m_correlation_s = 120.0;  ///< time constant of the slow part
  NoiseLevel m_code = {0.3, 0.25};
  NoiseLevel m_phase = {0.003, 0.0015};
  double m_zenithDelay_m = 0.05;          ///< sigma of the a-priori zenith delay
  double m_zenithDelay_mPerRootS = 3e-4;  ///< its noise
  /// Errors of orbits, clocks and troposphere that last for hours, m: no epoch tells of them. They enter
  /// reported covariances by the geometry.
  double m_products = 0.008;
};

}  // namespace tarvio
