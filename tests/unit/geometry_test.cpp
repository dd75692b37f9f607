#include <erfa.h>
#include <erfam.h>
#include <gtest/gtest.h>

#include <cmath>

#include "Common/ComGeometry.h"
#include "Common/Constants.h"

namespace {

using namespace tarvio;

TEST(Geodetic, AgreesWithErfaFromTheCoreToGeostationaryOrbit) {
  for (const double lat : {-90.0, -89.9999, -33.0, 0.0, 12.5, 45.0, 89.0, 90.0}) {
    for (const double lon : {-179.9, -60.0, 0.0, 77.7, 180.0}) {
      for (const double height : {-5000.0, 0.0, 8848.0, 2.0e7, 3.6e7}) {
        const double blh[3] = {lat * kDegToRad, lon * kDegToRad, height};
        double xyz[3], want[3], back[3];
        blhxyz(blh, 0.0, 0.0, xyz);
        ASSERT_EQ(eraGd2gc(ERFA_WGS84, blh[1], blh[0], height, want), 0);
        for (int i = 0; i < 3; ++i) ASSERT_NEAR(xyz[i], want[i], 1.0e-7);
        xyzblh(xyz, 1.0, 0.0, 0.0, 0.0, 0.0, 0.0, back);
        ASSERT_NEAR(back[0], blh[0], 1.0e-12) << lat << " " << height;
        ASSERT_NEAR(back[2], height, 1.0e-6) << lat << " " << height;
        if (std::fabs(lat) < 89.9) {
          ASSERT_NEAR(std::remainder(back[1] - blh[1], 2 * kPi), 0.0, 1.0e-12);
        }
      }
    }
  }
}

TEST(Geodetic, EllipsoidForms) {
  const double blh[3] = {0.7, 0.3, 100.0};
  double byFlattening[3], byAxis[3], back[3];
  const double a = 6378388.0, f = 297.0;  // International 1924
  blhxyz(blh, a, f, byFlattening);
  blhxyz(blh, a, a * (1.0 - 1.0 / f), byAxis);
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(byFlattening[i], byAxis[i], 1.0e-6);
  const double km[3] = {byAxis[0] / 1000.0, byAxis[1] / 1000.0, byAxis[2] / 1000.0};
  xyzblh(km, 1000.0, a, f, 0.0, 0.0, 0.0, back);
  EXPECT_NEAR(back[2], 100.0, 1.0e-5);
  const double centre[3] = {0.0, 0.0, 0.0};
  xyzblh(centre, 1.0, 0.0, 0.0, 0.0, 0.0, 0.0, back);  // must end
  EXPECT_TRUE(std::isfinite(back[0]) && std::isfinite(back[2]));
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
  double product[3][3], turned[3][3];
  transpose(&rot[0][0], &turned[0][0], 3, 3);
  matmpy(&rot[0][0], &turned[0][0], &product[0][0], 3, 3, 3);
  for (int i = 0; i < 9; ++i) EXPECT_NEAR((&product[0][0])[i], i % 4 == 0 ? 1.0 : 0.0, 1.0e-15);
}

TEST(Vectors, InPlaceUseIsAllowed) {
  double a[6] = {1, 2, 3, 4, 5, 6};  // 2 x 3, row-major
  const double b[9] = {1, 0, 1, 0, 2, 0, 1, 0, 1};
  matmpy(a, b, a, 2, 3, 3);
  const double want[6] = {4, 4, 4, 10, 10, 10};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(a[i], want[i]);
  double t[6] = {1, 2, 3, 4, 5, 6};
  transpose(t, t, 2, 3);
  const double turned[6] = {1, 4, 2, 5, 3, 6};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(t[i], turned[i]);
  double v[3] = {0, 3, 4}, length = 0.0;
  unit_vector(3, v, v, &length);
  EXPECT_EQ(length, 5.0);
  EXPECT_DOUBLE_EQ(v[2], 0.8);
  double zero[3] = {};
  unit_vector(3, zero, zero, nullptr);
  EXPECT_EQ(zero[0], 0.0) << "no direction, but no NaN either";
}

TEST(Orbit, AxesAndAnglesAgainstTheSun) {
  // Circular orbit in the x-y plane; the Sun in the plane on +x.
  const double sun[3] = {1.5e11, 0.0, 0.0};
  for (int degrees = 0; degrees < 360; degrees += 15) {
    const double w = degrees * kDegToRad, r = 2.6e7, speed = 3900.0;
    const double xv[6] = {r * std::cos(w),      r * std::sin(w),     0.0,
                          -speed * std::sin(w), speed * std::cos(w), 0.0};
    double beta = 1.0, mu = 0.0, radial[3], along[3], cross_track[3];
    betau(xv, sun, &beta, &mu);
    EXPECT_NEAR(beta, 0.0, 1.0e-12);
    // Noon is at +x, midnight opposite; the angle grows with the motion.
    EXPECT_NEAR(std::remainder(mu - (w - kPi), 2.0 * kPi), 0.0, 1.0e-7) << degrees;
    EXPECT_TRUE(mu >= 0.0 && mu < 2.0 * kPi);
    xyz2rtn(xv, radial, along, cross_track);
    EXPECT_NEAR(dot(3, along, xv + 3), speed, 1.0e-9);
    EXPECT_NEAR(cross_track[2], 1.0, 1.0e-15);
    EXPECT_NEAR(dot(3, radial, xv), r, 1.0e-6);
  }
  const double xv[6] = {2.6e7, 0.0, 0.0, 0.0, 3900.0, 0.0}, high[3] = {0.0, 0.0, 1.5e11};
  double beta = 0.0, mu = 0.0;
  betau(xv, high, &beta, &mu);
  EXPECT_NEAR(beta, kPi / 2.0, 1.0e-7);
  EXPECT_TRUE(std::isfinite(mu)) << "the orbit angle is undefined there, but must stay a number";
}

TEST(Projection, MeridianArcAndConformity) {
  EXPECT_NEAR(GetX(kPi / 2.0), 10001965.729, 1.0e-3);  // meridian quadrant of WGS 84
  double x = 0.0, y = 0.0;
  bl2Gaussxy(0.6, 1.0, 1.0, &x, &y);
  EXPECT_DOUBLE_EQ(x, GetX(0.6));
  EXPECT_EQ(y, 0.0);
  // Equal scale to east and north, at a right angle (Cauchy-Riemann), two degrees off the meridian.
  const double lat = 0.6, lon = 1.0 + 2.0 * kDegToRad, h = 1.0e-6;
  double xn = 0.0, yn = 0.0, xe = 0.0, ye = 0.0;
  bl2Gaussxy(lat, lon, 1.0, &x, &y);
  const double e2 = 0.006694379990141316, s2 = std::sin(lat) * std::sin(lat);
  const double meridian = (1.0 - e2) / (1.0 - e2 * s2);  // M/N
  bl2Gaussxy(lat + h, lon, 1.0, &xn, &yn);
  bl2Gaussxy(lat, lon + h * meridian / std::cos(lat), 1.0, &xe, &ye);
  EXPECT_NEAR((xn - x) / (ye - y), 1.0, 1.0e-5);
  EXPECT_NEAR((yn - y) / (xe - x), -1.0, 1.0e-3);
}

}  // namespace
