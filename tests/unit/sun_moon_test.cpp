// Low-precision Sun and Moon against a separate evaluation of the formulae and against a full theory
// (ERFA epv00 and moon98, turned to the mean equator and equinox of date).

#include <gtest/gtest.h>

#include <cmath>

#include "Core/Model/SunMoon.h"
#include "support/reference_cases.h"

namespace tarvio {
namespace {

double angle_deg(const double* a, const Json::Value& b) {
  double ab = 0.0, aa = 0.0, bb = 0.0;
  for (Json::ArrayIndex k = 0; k < 3; ++k) {
    const double v = b[k].asDouble();
    ab += a[k] * v;
    aa += a[k] * a[k];
    bb += v * v;
  }
  return std::acos(std::fmin(1.0, ab / std::sqrt(aa * bb))) * 57.29577951308232;
}

TEST(SunMoon, AgreesWithFormulaeAndFullTheory) {
  const Json::Value root = gnx_test::referenceCases("sun_moon_cases.json");
  ASSERT_GT(root["cases"].size(), 0u);
  for (const Json::Value& c : root["cases"]) {
    SCOPED_TRACE(c["label"].asString());
    const double seconds = (c["mjd"].asDouble() - 40587.0) * 86400.0;
    const double whole = std::floor(seconds);
    double sun[3], moon[3];
    sunmoonpos_eci({static_cast<std::int64_t>(whole), seconds - whole}, sun, moon);
    for (Json::ArrayIndex k = 0; k < 3; ++k) {
      EXPECT_NEAR(sun[k], c["sun_low_precision_m"][k].asDouble(), 100.0);
      EXPECT_NEAR(moon[k], c["moon_low_precision_delaunay_m"][k].asDouble(), 1.0);
    }
    EXPECT_LT(angle_deg(sun, c["sun_reference_mean_equator_of_date_m"]), 0.02);
    EXPECT_LT(angle_deg(moon, c["moon_reference_mean_equator_of_date_m"]), 0.4);
  }
}

}  // namespace
}  // namespace tarvio
