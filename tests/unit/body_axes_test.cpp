// Body axes of satellites: nominal, in the turns of noon and midnight, geostationary; and the yaw laws of
// Galileo and BeiDou. Yaw angles are those of tests/data/yaw_cases.json: constant beta, circular orbit.

#include <gmock/gmock.h>

#include <cmath>
#include <optional>

#include "Core/Model/Eclipse.h"
#include "Core/Model/YawTurns.h"
#include "support/model_world.h"
#include "support/reference_cases.h"

namespace tarvio {
namespace {

using namespace test;

/// A circular orbit in a tilted plane, the Sun at a height above it.
struct Flight {
  double beta = 0.0, rate = 0.00836;  ///< deg, deg/s
  double radius = 2.656e7;
  Vec node{0.8, 0.6, 0.0}, normal = unit({0.3, -0.4, 0.866});
  Vec third = crossOf(normal, node);

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
    EXPECT_NEAR(norm(x), 1.0, 1e-12);
    EXPECT_NEAR(norm(y), 1.0, 1e-12);
    EXPECT_NEAR(dotOf(x, y), 0.0, 1e-12);
    EXPECT_NEAR(dotOf(crossOf(x, y), z), 1.0, 1e-12);
    EXPECT_NEAR(dotOf(z, f.at(mu)), -1.0, 1e-12);
  }
  /// Angle from the velocity to x, right-handed about z.
  double yaw(const Flight& f, double mu) const {
    const Vec along = f.at(mu + 90.0), across = -1.0 * f.normal;
    return std::atan2(dotOf(x, across), dotOf(x, along)) * kRadToDeg;
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
        const Vec toSun = unit(f.sun() - f.radius * f.at(mu));
        EXPECT_NEAR(dotOf(y, toSun), 0.0, 1e-12);
        EXPECT_GT(side * dotOf(x, toSun), 0.0);
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
        EXPECT_NEAR(dotOf(x, f.at(mu + 90.0)), 1.0, 1e-12) << block << ' ' << mu;
        EXPECT_NEAR(dotOf(y, f.normal), -1.0, 1e-12) << block << ' ' << mu;
      }
}

// Which block flies which law shows near noon; without the Sun aside the axes are those of before.
TEST_F(BodyAxes, TurnWhereTheBlockHasALawAndStayAsTheyWereUnderTheSun) {
  const struct {
    const char *cprn, *block;
    bool turns, reversed;
  } cases[] = {{"G01", "BLOCK IIF", true, false},      {"G01", "BLOCK IIR-A", true, true},
               {"G01", "BLOCK IIR-B", true, true},     {"G01", "BLOCK IIIA", true, true},
               {"E11", "GALILEO-1", true, false},      {"E11", "GALILEO-2", true, false},
               {"C20", "BEIDOU-3M-CAST", true, false}, {"C20", "BEIDOU-3I-CAST", true, false},
               {"C20", "BEIDOU-2I", false, false},     {"C20", "BEIDOU-2M", false, false},
               {"R05", "GLONASS-K", false, false},     {"G01", "NONE", false, false}};
  const Flight f{.beta = 0.5};
  for (const auto& c : cases) {
    double apart = 0.0;
    for (double mu = 170.0; mu <= 190.0; mu += 0.25) {
      fly(f, c.cprn, c.block, mu, mu / f.rate);
      const double nominal = std::atan2(-std::tan(f.beta * kDegToRad), std::sin(mu * kDegToRad)) * kRadToDeg;
      const double turn = std::remainder(yaw(f, mu) - nominal + (c.reversed ? 180.0 : 0.0), 360.0);
      apart = std::fmax(apart, std::fabs(turn));
    }
    EXPECT_TRUE(c.turns ? apart > 10.0 : apart < 1e-6) << c.block << ' ' << apart;
  }
  x = {1, 0, 0}, y = {0, 1, 0}, z = {0, 0, 1};
  testing::internal::CaptureStdout();
  fly(Flight{.beta = 0.0}, "G01", "BLOCK IIF", 180.0, 0.0);
  EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::HasSubstr("previous epoch used"));
  EXPECT_EQ(x, (Vec{1, 0, 0}));
  EXPECT_EQ(z, (Vec{0, 0, 1}));
}

constexpr double kDeg = 0.017453292519943295;

Json::Value laws() { return gnx_test::referenceCases("yaw_cases.json")["galileo_bds"]; }

double difference(double a, double b) { return std::abs(std::remainder(a - b, 360.0)); }

YawEpoch epochAt(double t, double mu, double beta, double rate) {
  return {t, beta, mu < 0.0 ? mu + 360.0 : mu, rate, -std::cos(beta * kDeg) * std::cos(mu * kDeg)};
}

/// Yaw behind a run through an event by steps of the orbit angle, as a receiver that tracks the satellite.
template <class Block>
double yawAfter(const Block& block, double beta, double rate, double begin, double end, double step) {
  YawTurns turns;
  double yaw = 0.0;
  for (double mu = begin; mu <= end + 1e-9; mu += step)
    yaw = nominalYaw(beta, mu, false) +
          turns.eclips2(block, epochAt(1e5 + mu / rate, mu, beta, rate)).value_or(0.0);
  return yaw;
}

TEST(YawTurns, FollowTheCosineLawsOfGalileoAndBeiDou) {
  const Json::Value series = laws();
  const struct {
    const char* name;
    CosineBlock block;
    double rate;
  } all[] = {{"foc", {4.1, 10.0, 0.0011108884913683852}, 360.0 / 50685.0},
             {"bds_cast_meo", {3.0, 6.0, 0.0020333933032943645}, 360.0 / 46394.0},
             {"bds_cast_igso", {3.0, 6.0, 0.0010946315866166526}, 360.0 / 86164.0}};
  for (const auto& law : all)
    for (const Json::Value& row : series[law.name]) {
      const double beta = row[0].asDouble(), t = row[1].asDouble();  // t from orbit midnight
      const double yaw = yawAfter(law.block, beta, law.rate, (t - std::round(t + 2500.0)) * law.rate,
                                  t * law.rate, law.rate);
      // the planar distance of the records ends a turn up to 2 s early, where the law is up to 1.1 deg
      // away from nominal yaw
      const double centre = std::sqrt(law.block.range * law.block.range - beta * beta) / law.rate;
      EXPECT_LT(difference(yaw, row[4].asDouble()), t > centre - 2.0 ? 1.2 : 0.2)
          << law.name << " beta " << beta << " t " << t;
    }
}

// The turn of CAST satellites opens at an orbit angle of 6 degrees, where the nominal yaw may be far from the
// end of that which the distance to the Sun's line would open.
TEST(YawTurns, OpenAtAnOrbitAngleWhereTheBlockSaysSo) {
  const CosineBlock cast{3.0, 6.0, 0.0020333933032943645, true};
  constexpr double kRate = 360.0 / 46394.0;
  for (const double beta : {-2.5, 0.02, 1.3})
    for (const double event : {0.0, 180.0}) {
      const double start = nominalYaw(beta, event - 6.0, false), middle = std::copysign(90.0, start);
      for (const double off : {-6.5, -5.9, -2.0, 0.0, 4.0, 5.9, 6.5}) {
        const double phase = cast.frequency * (off + 6.0) / kRate;
        const double law = std::abs(off) < 6.0 ? middle + (start - middle) * std::cos(phase)
                                               : nominalYaw(beta, event + off, false);
        const double yaw = yawAfter(cast, beta, kRate, event - 8.0, event + off, kRate);
        EXPECT_LT(difference(yaw, law), 0.2) << "beta " << beta << " mu " << event + off;
      }
    }
}

TEST(YawTurns, KeepTheSunOffThePlaneOfSecmSatellites) {
  const Json::Value rows = laws()["secm_csno"];
  ASSERT_GT(rows.size(), 10U);
  constexpr double kRate = 360.0 / 46394.0;
  for (const Json::Value& row : rows) {
    YawTurns turns;
    const double beta = row[0].asDouble(), mu = row[1].asDouble();
    const YawEpoch epoch = epochAt(0.0, mu, beta, kRate);
    const double turned = turns.frozenBeta(FrozenBetaBlock{}, epoch).value_or(0.0);
    EXPECT_LT(difference(row[2].asDouble() + turned, row[3].asDouble()), 1e-5) << beta << ' ' << mu;
  }
}

// Beta changes its sign behind noon, where the yaw is large: the side waits for the other half of the orbit,
// and changes there at 0.055 deg/s.
TEST(YawTurns, ChangeTheSideOfSecmSatellitesAtSmallYaw) {
  constexpr double kRate = 360.0 / 46394.0, kStep = 10.0;
  YawTurns turns;
  double before = 0.0, largest = 0.0, first = 0.0, last = 0.0;
  for (double t = 0.0; t < 60000.0; t += kStep) {
    const double mu = std::fmod(t * kRate, 360.0), beta = 1e-6 * (200.0 / kRate - t);
    const double yaw = nominalYaw(beta, mu, false) +
                       turns.frozenBeta(FrozenBetaBlock{}, epochAt(t, mu, beta, kRate)).value();
    if (t > 0.0) largest = std::fmax(largest, difference(yaw, before));
    const bool old = difference(yaw, nominalYaw(3.0, mu, false)) < 1e-9;
    if (!old && first == 0.0) first = t;
    if (difference(yaw, nominalYaw(-3.0, mu, false)) > 1e-9) last = t;
    before = yaw;
  }
  EXPECT_LT(largest, 2.0) << "the law itself turns by 1.5 degrees in 10 s at noon";
  EXPECT_NEAR(first * kRate, 360.0 + 36.8, 0.2) << "the yaw of a Sun at 3 degrees is 5 degrees";
  EXPECT_NEAR(last - first, 10.0 / 0.055, 3.0 * kStep);
}

TEST(YawTurns, FollowTheSmoothedSunOfGalileoIov) {
  constexpr double kRate = 360.0 / 50685.0;
  const Json::Value rows = laws()["iov"];
  ASSERT_GT(rows.size(), 10U);
  for (const Json::Value& row : rows) {
    const double beta = row[0].asDouble(), target = row[1].asDouble();
    const double begin = std::min(target > 90.0 ? 160.0 : -20.0, target);  // well before the turn
    const double yaw = yawAfter(IovBlock{}, beta, kRate, begin, target, 0.01);
    EXPECT_LT(difference(yaw, row[3].asDouble()), 0.5) << "beta " << beta << " mu " << target;
  }
}

/// Two turns a day: after two months the newest turn is found as on the first day.
TEST(YawTurns, KeepTheNewestWhenTheListIsFull) {
  const KoubaBlock iif{KoubaKind::iif, 0.11, 193.25, -0.5};
  constexpr double kRate = 360.0 / 43080.0;
  YawTurns turns;
  for (int event = 0; event < 150; ++event) {
    const double t = 21540.0 * event;
    EXPECT_TRUE(turns.eclips(iif, epochAt(t, 180.0 * (event % 2) + 0.5, 2.0, kRate))) << "event " << event;
  }
  EXPECT_EQ(turns.count(), 120);
  EXPECT_NEAR(turns.turn(119).start, 21540.0 * 149, 2000.0);
}

TEST(YawTurns, StayNominalWithoutAnEventAndForgetOnReset) {
  YawTurns turns;
  const KoubaBlock iif{KoubaKind::iif, 0.11, 193.25, -0.5};
  EXPECT_FALSE(turns.eclips(iif, epochAt(0.0, 90.0, 5.0, 0.00836)));
  EXPECT_FALSE(turns.eclips(iif, epochAt(0.0, 0.0, 40.0, 0.00836)));
  EXPECT_EQ(turns.count(), 0);
  EXPECT_TRUE(turns.eclips(iif, epochAt(0.0, 1.0, 5.0, 0.00836)));
  EXPECT_TRUE(turns.eclips(iif, epochAt(0.0, 1.0, 5.0, 0.00836))) << "a second pass of the same epoch";
  EXPECT_EQ(turns.count(), 1);
  turns.reset();
  EXPECT_EQ(turns.count(), 0);
}

}  // namespace
}  // namespace tarvio
