#pragma once
// What the tests of the simulator share: a quarter of an hour at a Danish site.

#include <gtest/gtest.h>

#include <numbers>

#include "simulate/simulation.h"
#include "support/files.h"

namespace gnx {

constexpr double kC = 299792458.0;
constexpr double kDegrees = 180.0 / std::numbers::pi;
inline const GpsTime kStart = toGpsTime({2026, 11, 21, 0, 0, 0.0});

inline SimulationOptions quickOptions() {
  SimulationOptions o;
  o.sky.start = kStart + 3.5 * 3600.0;
  o.sky.hours = 0.25;
  o.sky.seed = 7;
  o.observer.site = {3582104.7625, 532590.1800, 5232755.1407};
  return o;
}

/// No random errors in the observations; the receiver's biases stay.
inline SimulationOptions quietOptions() {
  SimulationOptions o = quickOptions();
  o.observer.codeSigma = o.observer.phaseSigma = o.observer.codeMultipath = o.observer.phaseMultipath = 0.0;
  return o;
}

}  // namespace gnx
