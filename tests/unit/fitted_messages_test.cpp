// Broadcast messages fitted to orbits: held against orbits that are messages themselves.

#include "corrections/fitted_messages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "gnx/corrections.h"
#include "gnx/signal.h"

namespace gnx {
namespace {

const GpsTime kStart = toGpsTime({2019, 2, 14, 0, 0, 0.0});

/// An orbit of ten hours, every quarter of an hour, and its clock.
Sp3Product orbitOf(const BroadcastEph& truth) {
  Sp3Product product;
  product.interval = 900.0;
  for (int k = 0; k <= 40; ++k) {
    const GpsTime t = kStart + 900.0 * k;
    product.orbits[truth.sat].push_back({t, evaluateBroadcast(truth, t).position});
    product.clocks[truth.sat].push_back({t, 1e-4 + 1e-11 * 900.0 * k});
  }
  return product;
}

struct Orbit {
  const char* sat;
  double sqrtA, e, inclination;
};

TEST(FittedMessages, FollowOrbitsOfEverySystemToCentimetres) {
  for (const Orbit& o : {Orbit{"G05", 5153.6, 0.0121, 55.0},
                         {"E11", 5440.6, 1.0e-4, 56.0},
                         {"E14", 5289.0, 0.162, 50.0},
                         {"C06", 6493.0, 0.004, 55.0},
                         {"C20", 5282.6, 6.0e-4, 55.0},
                         {"J02", 6493.3, 0.075, 41.0}}) {
    SCOPED_TRACE(o.sat);
    BroadcastEph truth;
    truth.sat = o.sat;
    truth.toe = truth.toc = kStart + 5.0 * 3600.0;
    truth.sqrtA = o.sqrtA;
    truth.e = o.e;
    truth.i0 = o.inclination * std::numbers::pi / 180.0;
    truth.m0 = 1.1;
    truth.omega = -0.7;
    truth.omega0 = 2.2;
    truth.omegaDot = -8e-9;
    truth.deltaN = 4.5e-9;
    truth.crc = 210.0;
    truth.cus = 6e-6;
    const Sp3Product product = orbitOf(truth);
    const NavData data = fitMessages(product, product.clocks);
    ASSERT_GE(data.keplerian.size(), 4U);
    for (const BroadcastEph& eph : data.keplerian)
      for (const double beside : {-5400.0, 0.0, 1234.0, 5400.0}) {
        const GpsTime t = eph.toe + beside;
        if (t < kStart || kStart + 36000.0 < t) continue;
        const SatState got = evaluateBroadcast(eph, t), want = evaluateBroadcast(truth, t);
        for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(got.position[i], want.position[i], 0.05) << beside;
        EXPECT_NEAR(got.clock, 1e-4 + 1e-11 * (t - kStart), 1e-12);
      }
  }
}

TEST(FittedMessages, LeaveOutWhatTheyCannotServe) {
  BroadcastEph truth;
  truth.sat = "C01";  // geostationary
  truth.sqrtA = 6493.0;
  truth.toe = truth.toc = kStart;
  Sp3Product product = orbitOf(truth);
  product.orbits["G01"] = product.orbits["C01"];  // without a clock
  EXPECT_TRUE(fitMessages(product, product.clocks).keplerian.empty());
}

}  // namespace
}  // namespace gnx
