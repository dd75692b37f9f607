// Body axes of satellites: nominal, in the turns of noon and midnight, geostationary. The yaw angles of the
// turns are those of tests/data/yaw_cases.json.

#include <gmock/gmock.h>

#include <cmath>

#include "Core/Model/Eclipse.h"
#include "support/model_world.h"
#include "support/reference_cases.h"

namespace tarvio {
namespace {

using test::Vec;
using test::operator*;
using test::operator-;
using test::operator+;

/// A circular orbit in a tilted plane, the Sun at a height above it.
struct Flight {
  double beta = 0.0, rate = 0.00836;  ///< deg, deg/s
  double radius = 2.656e7;
  Vec node{0.8, 0.6, 0.0}, normal = test::unit({0.3, -0.4, 0.866});
  Vec third = test::crossOf(normal, node);

  /// Unit vector in the plane, mu from midnight in the sense of motion.
  Vec at(double mu_deg) const {
    return std::cos(mu_deg * kDegToRad) * node + std::sin(mu_deg * kDegToRad) * third;
  }
  Vec sun() const {
    return 1.5e11 * (-std::cos(beta * kDegToRad) * at(0.0) + std::sin(beta * kDegToRad) * normal);
  }
};

struct BodyAxes : gnx_test::TableFixture {
  BodyAxes() {
    for (const char* name : {"G01", "G23", "R05", "E11", "C20"}) add(name);
    Eclipse::s_getInstance().m_reset();
  }
  ~BodyAxes() override { Eclipse::s_getInstance().m_reset(); }

  void fly(const Flight& f, const char* cprn, const char* block, double mu, double t) {
    const Vec r = f.at(mu), v = f.at(mu + 90.0), sun = f.sun();
    const double speed = f.rate * kDegToRad * f.radius;
    const double xv[6] = {f.radius * r[0], f.radius * r[1], f.radius * r[2],
                          speed * v[0],    speed * v[1],    speed * v[2]};
    Eclipse::s_getInstance().rot_scfix2j2000(59025 + static_cast<int>(std::floor(t / 86400.0)),
                                             t - 86400.0 * std::floor(t / 86400.0), cprn, block, xv,
                                             sun.data(), x.data(), y.data(), z.data());
  }
  /// Right-handed unit vectors, z to the Earth.
  void expectFrame(const Flight& f, double mu) const {
    EXPECT_NEAR(test::norm(x), 1.0, 1e-12);
    EXPECT_NEAR(test::norm(y), 1.0, 1e-12);
    EXPECT_NEAR(test::dotOf(x, y), 0.0, 1e-12);
    EXPECT_NEAR(test::dotOf(test::crossOf(x, y), z), 1.0, 1e-12);
    EXPECT_NEAR(test::dotOf(z, f.at(mu)), -1.0, 1e-12);
  }
  /// Angle from the velocity to x, right-handed about z.
  double yaw(const Flight& f, double mu) const {
    const Vec along = f.at(mu + 90.0), across = -1.0 * f.normal;
    return std::atan2(test::dotOf(x, across), test::dotOf(x, along)) * kRadToDeg;
  }
  Vec x{}, y{}, z{};
};

TEST_F(BodyAxes, NominalAxesHaveTheSunInTheirPlaneOfXAndZ) {
  const std::pair<const char*, double> sides[] = {
      {"BLOCK IIA", 1.0},    {"BLOCK IIF", 1.0},      {"BLOCK IIR-A", -1.0}, {"BLOCK IIR-B", -1.0},
      {"BLOCK IIR-M", -1.0}, {"BLOCK IIIA", -1.0},    {"GLONASS-M", 1.0},    {"GALILEO-1", 1.0},
      {"GALILEO-2", 1.0},    {"BEIDOU-3M-CAST", 1.0}, {"BEIDOU-2M", 1.0},    {"QZSS", 1.0}};
  for (const auto& [block, side] : sides)
    for (const double beta : {-50.0, 30.0})
      for (double mu = 5.0; mu < 360.0; mu += 30.0) {
        SCOPED_TRACE(testing::Message() << block << " beta " << beta << " mu " << mu);
        const Flight f{.beta = beta};
        fly(f, "G01", block, mu, mu / f.rate);
        expectFrame(f, mu);
        const Vec toSun = test::unit(f.sun() - f.radius * f.at(mu));
        EXPECT_NEAR(test::dotOf(y, toSun), 0.0, 1e-12);
        EXPECT_GT(side * test::dotOf(x, toSun), 0.0);
      }
}

/// The names under which the blocks of the cases fly here; G01 has the rate of the block IIA cases.
std::pair<const char*, const char*> flownAs(const std::string& block) {
  if (block == "IIA") return {"G01", "BLOCK IIA"};
  if (block == "IIR") return {"G01", "BLOCK IIR-M"};
  if (block == "IIF") return {"G01", "BLOCK IIF"};
  return {"R05", "GLONASS-M"};
}

TEST_F(BodyAxes, TurnByTheYawOfTheManoeuvre) {
  const Json::Value all = gnx_test::referenceCases("yaw_cases.json")["kouba_series"];
  ASSERT_EQ(all.size(), 11U);
  for (const Json::Value& series : all) {
    SCOPED_TRACE(series["name"].asString());
    Eclipse::s_getInstance().m_reset();
    const Flight f{.beta = series["beta_deg"].asDouble(), .rate = series["mu_rate_deg_s"].asDouble()};
    const auto [cprn, block] = flownAs(series["block"].asString());
    double turned = 0.0;
    for (const Json::Value& row : series["rows"]) {
      const double t = row[0].asDouble(), mu = row[1].asDouble();
      fly(f, cprn, block, mu, 50000.0 + t);
      expectFrame(f, mu);
      EXPECT_NEAR(std::remainder(yaw(f, mu) - row[3].asDouble(), 360.0), 0.0, 0.01) << "t " << t;
      turned = std::fmax(turned, std::fabs(std::remainder(row[3].asDouble() - row[2].asDouble(), 360.0)));
    }
    EXPECT_GT(turned, 10.0) << "the case must turn";
  }
}

// Space vehicle G23 of block IIA has its yaw bias the other way, and goes through the shadow backwards.
TEST_F(BodyAxes, G23TurnsTheOtherWayInTheShadow) {
  const Flight f{.beta = 5.0};
  double before = 0.0, sense[2];
  const char* names[] = {"G01", "G23"};
  for (int k : {0, 1}) {
    for (double t = -1500.0; t <= -600.0; t += 100.0) {
      const double mu = 360.0 + t * f.rate;
      fly(f, names[k], "BLOCK IIA", mu, 50000.0 + t);
      sense[k] = std::remainder(yaw(f, mu) - before, 360.0);
      before = yaw(f, mu);
    }
  }
  EXPECT_NEAR(sense[0], 100.0 * 0.1211, 1e-6);
  EXPECT_NEAR(sense[1], -100.0 * 0.114, 1e-6);
}

// Geostationary satellites fly orbit-normal: x along the velocity, whatever the Sun does.
TEST_F(BodyAxes, GeostationaryAxesFollowTheVelocity) {
  for (const char* block : {"BEIDOU-2G", "BEIDOU-3G-SECM", "BEIDOU-3G-CAST"})
    for (const double beta : {0.0, 20.0})
      for (const double mu : {0.0, 100.0, 180.0, 290.0}) {
        const Flight f{.beta = beta, .rate = 360.0 / 86164.0, .radius = 4.2164e7};
        fly(f, "C20", block, mu, 0.0);
        expectFrame(f, mu);
        EXPECT_NEAR(test::dotOf(x, f.at(mu + 90.0)), 1.0, 1e-12) << block << ' ' << mu;
        EXPECT_NEAR(test::dotOf(y, f.normal), -1.0, 1e-12) << block << ' ' << mu;
      }
}

// BDS-2 does not turn here, and without the Sun aside the axes are those of before.
TEST_F(BodyAxes, StayNominalWithoutALawAndAsTheyWereUnderTheSun) {
  for (const char* block : {"BEIDOU-2I", "BEIDOU-2M", "GLONASS-K", "NONE"}) {
    const Flight f{.beta = 1.0};
    for (double mu = 170.0; mu <= 190.0; mu += 1.0) fly(f, "C20", block, mu, mu / f.rate);
    const double nominal = std::atan2(-std::tan(f.beta * kDegToRad), std::sin(190.0 * kDegToRad)) * kRadToDeg;
    EXPECT_NEAR(yaw(f, 190.0), nominal, 1e-6) << block;
  }
  x = {1, 0, 0}, y = {0, 1, 0}, z = {0, 0, 1};
  testing::internal::CaptureStdout();
  fly(Flight{.beta = 0.0}, "G01", "BLOCK IIF", 180.0, 0.0);
  EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::HasSubstr("previous epoch used"));
  EXPECT_EQ(x, (Vec{1, 0, 0}));
  EXPECT_EQ(z, (Vec{0, 0, 1}));
}

}  // namespace
}  // namespace tarvio
