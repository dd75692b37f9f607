// Attitudes of a product: the file, and what lies between its epochs.

#include <cmath>

#include "geometry/vector3.h"
#include "gnx/read.h"
#include "support/host_files.h"

namespace gnx::test {
namespace {

constexpr const char* kSample =
    "%=ORBEX  0.09\r\n%%\n*comment\n"
    "+FILE/DESCRIPTION\n TIME_SYSTEM         UTC\n EPOCH_INTERVAL      IRREGULAR\n"
    " FRAME_TYPE          ECEF\n-FILE/DESCRIPTION\n"
    "+SATELLITE/ID_AND_DESCRIPTION\n G01\n-SATELLITE/ID_AND_DESCRIPTION\n"
    "+EPHEMERIS/DATA\n"
    "## 2021 07 29 00 00  0.000000000000 2\n"
    " ATT G01              4  0.1961293486178373  0.2190406670962120 -0.8923297663338255  "
    "0.3424938727676941\n"
    " POS G01              3  1.0 2.0 3.0\n"
    " ATT E05 EP           4  0.0 0.6 0.8 0.0\n"
    " ATT ABMF             4  1.0 0.0 0.0 0.0\n"
    "## 2021 07 29 00 00 30.000000000000 1\n"
    " ATT G01              4 -0.1961293486178373 -0.2190406670962120  0.8923297663338255 "
    "-0.3424938727676941\n"
    "-EPHEMERIS/DATA\n%END_ORBEX\n";

struct Orbex : testing::Test {
  AttitudeProduct read(const std::string& content) {
    return readOrbex({directory.write("day.obx", content)});
  }
  std::string refusalWith(const std::string& before, const std::string& behind) {
    std::string content = kSample;
    content.replace(content.find(before), before.size(), behind);
    return inputError([&] { read(content); });
  }
  const TempDir directory;
};

TEST_F(Orbex, AttitudesAreReadWhateverStandsBesideThem) {
  const AttitudeProduct product = read(kSample);
  ASSERT_EQ(product.attitudes.size(), 2u);
  EXPECT_EQ(product.interval, 30.0) << "the shortest between epochs where the file names none";
  const auto& points = product.attitudes.at("G01");
  ASSERT_EQ(points.size(), 2u);
  EXPECT_EQ(formatTime(points[0].time), "2021-07-29 00:00:18") << "from UTC";
  const BodyAxes axes = axesOf(points[0].attitude);
  // Rows of the matrix are the body axes: z to the Earth from a satellite in the north-west.
  EXPECT_NEAR(axes.z[0], 0.5001, 1e-3);
  EXPECT_NEAR(axes.z[1], -0.5253, 1e-3);
  EXPECT_NEAR(length(minus(cross(axes.x, axes.y), axes.z)), 0.0, 1e-12);
  EXPECT_LT(angleBetween(points[0].attitude, points[1].attitude), 1e-9) << "q and -q are the same";
  EXPECT_LT(angleBetween(quaternionOf(axes), points[0].attitude), 1e-9);
}

TEST_F(Orbex, DamagedFilesAreRefusedWithTheLine) {
  EXPECT_THAT(refusalWith("%=ORBEX", "%=ORBIT"), HasSubstr("day.obx:1: is not an ORBEX file"));
  EXPECT_THAT(refusalWith("ECEF", "ECI "), HasSubstr("day.obx:7: FRAME_TYPE: 'ECI' is not read"));
  EXPECT_THAT(refusalWith("UTC", "UTX"), HasSubstr("TIME_SYSTEM: 'UTX' is unknown"));
  EXPECT_THAT(refusalWith("-0.8923297663338255", "-0.892329766333825x"),
              HasSubstr("day.obx:14: G01: '-0.892329766333825x' is not a number"));
  EXPECT_THAT(refusalWith("0.6 0.8 0.0", "0.6 0.9 0.0"), HasSubstr("day.obx:16: E05: is no quaternion"));
  EXPECT_THAT(refusalWith("0.6 0.8 0.0", "0.6 0.8"), HasSubstr("quaternion of four expected"));
  EXPECT_THAT(refusalWith("00 30.000000000000", "00  0.000000000000"), HasSubstr("not later than"));
  EXPECT_THAT(refusalWith("%END_ORBEX", ""), HasSubstr("truncated, fetch it again"));
  EXPECT_THAT(refusalWith("## 2021 07 29 00 00  0.000000000000 2\n", ""),
              HasSubstr("before the first epoch"));
  EXPECT_THAT(inputError([&] { read("%=ORBEX  0.09\n%%\n%END_ORBEX\n"); }), HasSubstr("holds no attitudes"));
}

/// A circular orbit of twelve hours under a Sun two degrees above its plane: yaw flips in two minutes at
/// noon.
ReferenceAttitudes reference(const GpsTime& t) {
  constexpr double kRadius = 2.656e7, kRate = 1.4585e-4, kEarthRate = 7.2921151467e-5;
  const double u = kRate * (t - GpsTime{});
  SatState s;
  s.position = {kRadius * std::cos(u), kRadius * std::sin(u), 0.0};
  s.velocity = {-kRadius * (kRate - kEarthRate) * std::sin(u), kRadius * (kRate - kEarthRate) * std::cos(u),
                0.0};
  const Vector3 sun = {1.5e11 * std::cos(0.035), 0.0, 1.5e11 * std::sin(0.035)};
  return {quaternionOf(*nominalYawAxes(s, sun)), quaternionOf(orbitNormalAxes(s))};
}

/// A satellite that is turned about z against nominal yaw, or against its orbit.
AttitudeProduct productOf(double interval, double first, double last, Quaternion ReferenceAttitudes::*to,
                          double yaw) {
  AttitudeProduct product;
  product.interval = interval;
  const Quaternion turn = {std::cos(yaw / 2.0), 0.0, 0.0, std::sin(yaw / 2.0)};
  double sign = 1.0;  // writers change it as they like
  for (double at = first; at <= last; at += interval, sign = -sign) {
    const GpsTime t = GpsTime{} + at;
    Quaternion q = compose(turn, reference(t).*to);
    for (double& component : q) component *= sign;
    product.attitudes["G01"].push_back({t, q});
  }
  return product;
}

TEST(Attitudes, FollowTheModelAtAnyIntervalAndTheOrbitThroughItsFlips) {
  // from an hour before noon to an hour behind it
  const auto coarse = productOf(900.0, -3600.0, 3600.0, &ReferenceAttitudes::model, 0.3);
  const auto fine = productOf(30.0, -3600.0, 3600.0, &ReferenceAttitudes::orbital, 0.3);
  const Quaternion turn = {std::cos(0.15), 0.0, 0.0, std::sin(0.15)};
  for (double at = -3590.0; at < 3600.0; at += 7.0) {
    const GpsTime t = GpsTime{} + at;
    EXPECT_LT(angleBetween(*attitudeAt(coarse, "G01", t, reference), compose(turn, reference(t).model)),
              1e-7);
    EXPECT_LT(angleBetween(*attitudeAt(fine, "G01", t, reference), compose(turn, reference(t).orbital)),
              2e-3);
  }
  EXPECT_GT(angleBetween(reference(GpsTime{} + 30.0).model, reference(GpsTime{} + -30.0).model), 0.2);
}

TEST(Attitudes, AreHeldBesideTheModelForAnIntervalAndNoLonger) {
  auto product = productOf(300.0, 3600.0, 7200.0, &ReferenceAttitudes::model, 1.0);
  const Quaternion turn = {std::cos(0.5), 0.0, 0.0, std::sin(0.5)};
  for (const double at : {3310.0, 7490.0})
    EXPECT_LT(angleBetween(*attitudeAt(product, "G01", GpsTime{} + at, reference),
                           compose(turn, reference(GpsTime{} + at).model)),
              1e-7);
  for (const double at : {3290.0, 7510.0})
    EXPECT_FALSE(attitudeAt(product, "G01", GpsTime{} + at, reference)) << at;
  auto& points = product.attitudes["G01"];
  points.erase(points.begin() + 3, points.begin() + 6);  // 20 minutes are missing
  EXPECT_TRUE(attitudeAt(product, "G01", GpsTime{} + 4499.0, reference));
  EXPECT_FALSE(attitudeAt(product, "G01", GpsTime{} + 4800.0, reference));
  EXPECT_FALSE(attitudeAt(product, "G02", GpsTime{} + 4800.0, reference));
}

}  // namespace
}  // namespace gnx::test
