// Yaw laws against series computed from the published steps: constant beta, circular orbit.

#include <gtest/gtest.h>

#include <cmath>
#include <optional>

#include "Core/Model/YawTurns.h"
#include "support/reference_cases.h"

namespace tarvio {
namespace {

constexpr double kDeg = 0.017453292519943295;

Json::Value cases() { return gnx_test::referenceCases("yaw_cases.json"); }

double difference(double a, double b) { return std::abs(std::remainder(a - b, 360.0)); }

YawEpoch epochAt(double t, double mu, double beta, double rate) {
  return {t, beta, mu < 0.0 ? mu + 360.0 : mu, rate, -std::cos(beta * kDeg) * std::cos(mu * kDeg)};
}

KoubaKind kindOf(const std::string& block) {
  if (block.find("IIR") != std::string::npos) return KoubaKind::iir;
  if (block.find("IIF") != std::string::npos) return KoubaKind::iif;
  return block.find("GLO") != std::string::npos ? KoubaKind::glonass : KoubaKind::iia;
}

TEST(YawTurns, FollowThePublishedSeries) {
  const Json::Value all = cases()["kouba_series"];
  ASSERT_EQ(all.size(), 11U);
  for (const Json::Value& series : all) {
    const KoubaBlock block{kindOf(series["block"].asString()), series["hardware_rate_deg_s"].asDouble(),
                           series["night_limit_deg"].asDouble(), series["yaw_bias_deg"].asDouble()};
    const double beta = series["beta_deg"].asDouble(), rate = series["mu_rate_deg_s"].asDouble();
    YawTurns turns;
    for (const Json::Value& row : series["rows"]) {
      const double t = row[0].asDouble(), mu = row[1].asDouble();
      const bool reversed = block.kind == KoubaKind::iir;
      const std::optional<double> turn = turns.eclips(block, epochAt(t, mu, beta, rate));
      EXPECT_EQ(turn.has_value(), row[4].asInt() != 0) << series["name"] << " t " << t;
      EXPECT_LT(difference(nominalYaw(beta, mu, reversed) + turn.value_or(0.0), row[3].asDouble()), 1e-4)
          << series["name"] << " t " << t;
    }
    ASSERT_EQ(turns.count(), static_cast<int>(series["records"].size())) << series["name"];
    for (int i = 0; i < turns.count(); ++i) {
      EXPECT_NEAR(turns.turn(i).start, series["records"][i][0].asDouble(), 1e-3) << series["name"];
      EXPECT_NEAR(turns.turn(i).end, series["records"][i][1].asDouble(), 1e-3) << series["name"];
    }
  }
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
  const Json::Value laws = cases()["galileo_bds"];
  const struct {
    const char* name;
    CosineBlock block;
    double rate;
  } all[] = {{"foc", {4.1, 10.0, 0.0011108884913683852}, 360.0 / 50685.0},
             {"bds_cast_meo", {3.0, 6.0, 0.0020333933032943645}, 360.0 / 46394.0},
             {"bds_cast_igso", {3.0, 6.0, 0.0010946315866166526}, 360.0 / 86164.0}};
  for (const auto& law : all)
    for (const Json::Value& row : laws[law.name]) {
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

TEST(YawTurns, FollowTheSmoothedSunOfGalileoIov) {
  constexpr double kRate = 360.0 / 50685.0;
  const Json::Value rows = cases()["galileo_bds"]["iov"];
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
