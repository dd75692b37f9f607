#include <erfa.h>
#include <erfam.h>
#include <gmock/gmock.h>

#include <cmath>

#include "Common/ComGeometry.h"
#include "Common/Constants.h"
#include "GNX_IO.h"
#include "gnx/geodesy.h"

namespace {

using namespace tarvio;

// The engine's, the companion's and the program's conversions.
TEST(Geodetic, AgreesWithErfaFromTheCoreToGeostationaryOrbit) {
  for (const double lat : {-90.0, -89.9999, -33.0, 0.0, 1e-9, 12.5, 45.0, 89.0, 90.0})
    for (const double lon : {-179.9, -60.0, 0.0, 77.7, 180.0})
      for (const double height : {-5000.0, 0.0, 8848.0, 2.0e7, 3.6e7}) {
        SCOPED_TRACE(testing::Message() << lat << " " << lon << " " << height);
        const double blh[3] = {lat * kDegToRad, lon * kDegToRad, height};
        double want[3], xyz[3], engine[3], companion[3];
        ASSERT_EQ(eraGd2gc(ERFA_WGS84, blh[1], blh[0], height, want), 0);
        const auto near = testing::Pointwise(testing::DoubleNear(1.0e-7), want);
        blhxyz(blh, 0.0, 0.0, xyz);
        ASSERT_THAT(xyz, near);
        GNX_IO::pos2ecef(blh, xyz);
        ASSERT_THAT(xyz, near);
        ASSERT_THAT(gnx::toEarthFixed({blh[0], blh[1], height}), near);

        xyzblh(want, 1.0, 0.0, 0.0, 0.0, 0.0, 0.0, engine);
        GNX_IO::ecef2pos(want, companion);
        const gnx::Geodetic host = gnx::toGeodetic({want[0], want[1], want[2]});
        for (const auto& [b, l, h] : {std::tuple{engine[0], engine[1], engine[2]},
                                      {companion[0], companion[1], companion[2]},
                                      {host.latitude, host.longitude, host.height}}) {
          ASSERT_NEAR(b, blh[0], 1.0e-12);
          ASSERT_NEAR(h, height, 1.0e-6);
          if (std::fabs(lat) < 89.9) {
            ASSERT_NEAR(std::remainder(l - blh[1], 2 * kPi), 0.0, 1.0e-12);
          }
        }
      }
  // The centre of the Earth must end.
  double engine[3], companion[3];
  const double centre[3] = {};
  xyzblh(centre, 1.0, 0.0, 0.0, 0.0, 0.0, 0.0, engine);
  GNX_IO::ecef2pos(centre, companion);
  EXPECT_TRUE(std::isfinite(engine[0] + engine[2] + companion[0] + companion[2]));
  EXPECT_NEAR(gnx::toGeodetic({0.0, 0.0, 0.0}).height, -6378137.0, 1e-9);
}

TEST(LocalFrame, ColumnsAreTheDerivativesOfPosition) {
  const double blh[3] = {-0.6, 2.1, 50.0}, step = 1.0e-6;
  double rot[3][3], at[3];
  rot_enu2xyz(blh[0], blh[1], rot);
  blhxyz(blh, 0.0, 0.0, at);
  const int axis[3] = {1, 0, 2};  // east by longitude, north by latitude, up by height
  for (int k = 0; k < 3; ++k) {
    double moved[3] = {blh[0], blh[1], blh[2]}, xyz[3], d[3], unit[3];
    moved[axis[k]] += k == 2 ? 1.0 : step;
    blhxyz(moved, 0.0, 0.0, xyz);
    for (int i = 0; i < 3; ++i) d[i] = xyz[i] - at[i];
    unit_vector(3, d, unit, nullptr);
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(rot[i][k], unit[i], 1.0e-6);
  }
}

TEST(Orbit, AnglesAgainstTheSun) {
  // Circular orbit in the x-y plane; the Sun in the plane on +x.
  const double sun[3] = {1.5e11, 0.0, 0.0};
  for (int degrees = 0; degrees < 360; degrees += 15) {
    const double w = degrees * kDegToRad, r = 2.6e7, speed = 3900.0;
    const double xv[6] = {r * std::cos(w),      r * std::sin(w),     0.0,
                          -speed * std::sin(w), speed * std::cos(w), 0.0};
    double beta = 1.0, mu = 0.0;
    betau(xv, sun, &beta, &mu);
    EXPECT_NEAR(beta, 0.0, 1.0e-12);
    // Noon is at +x, midnight opposite; the angle grows with the motion.
    EXPECT_NEAR(std::remainder(mu - (w - kPi), 2.0 * kPi), 0.0, 1.0e-7) << degrees;
    EXPECT_TRUE(mu >= 0.0 && mu < 2.0 * kPi);
  }
  const double xv[6] = {2.6e7, 0.0, 0.0, 0.0, 3900.0, 0.0}, high[3] = {0.0, 0.0, 1.5e11};
  double beta = 0.0, mu = 0.0;
  betau(xv, high, &beta, &mu);
  EXPECT_NEAR(beta, kPi / 2.0, 1.0e-7);
  EXPECT_TRUE(std::isfinite(mu)) << "the orbit angle is undefined there, but must stay a number";
}

// Equal scale to east and north, at a right angle (Cauchy-Riemann), two degrees off the meridian.
TEST(Projection, MeridianArcAndConformity) {
  EXPECT_NEAR(GetX(kPi / 2.0), 10001965.729, 1.0e-3);  // meridian quadrant of WGS 84
  const double lat = 0.6, lon = 1.0 + 2.0 * kDegToRad, h = 1.0e-6;
  double x = 0.0, y = 0.0, xn = 0.0, yn = 0.0, xe = 0.0, ye = 0.0;
  const double e2 = 0.006694379990141316, meridian = (1.0 - e2) / (1.0 - e2 * std::pow(std::sin(lat), 2));
  bl2Gaussxy(lat, lon, 1.0, &x, &y);
  bl2Gaussxy(lat + h, lon, 1.0, &xn, &yn);
  bl2Gaussxy(lat, lon + h * meridian / std::cos(lat), 1.0, &xe, &ye);
  EXPECT_NEAR((xn - x) / (ye - y), 1.0, 1.0e-5);
  EXPECT_NEAR((yn - y) / (xe - x), -1.0, 1.0e-3);
}

}  // namespace
