// Whether and when a run may resolve integers, judged by its products and the wide-lanes of its observations.

#include "integers/integer_policy.h"

#include <gmock/gmock.h>

#include <cmath>
#include <random>

#include "integers/bias_datum.h"
#include "text/printed.h"

namespace gnx {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const GpsTime kMidnight = toGpsTime({2020, 6, 25, 0, 0, 0.0});

/// Galileo satellites of two blocks, whose offsets move wide-lanes by 0.49 and 0.09 cycle.
std::vector<WideLaneFraction> galileo(bool estimatedWithOffsets, double noise = 0.05) {
  std::mt19937 random(5);
  std::normal_distribution<double> normal(0.0, noise);
  std::vector<WideLaneFraction> all;
  for (int n = 1; n <= 12; ++n) {
    const double offset = n < 9 ? 0.49 : 0.09;
    // the receiver's part is where the circle wraps
    all.push_back(
        {printed("E%02d", n), 0.48 - (estimatedWithOffsets ? offset : 0.0) + normal(random), offset, 3600.0});
  }
  return all;
}

TEST(BiasDatum, IsToldByTheFractionsOfSatellitesWithDifferentOffsets) {
  const DatumEvidence with = decideDatum(galileo(true)), without = decideDatum(galileo(false));
  EXPECT_EQ(with.datum, BiasDatum::withOffsets);
  EXPECT_EQ(without.datum, BiasDatum::withoutOffsets);
  EXPECT_LT(with.with.rms, 0.08);
  EXPECT_GT(with.without.rms, 0.15);
  EXPECT_EQ(decideDatum(galileo(true, 0.5)).datum, BiasDatum::unknown) << "fractions all over the circle";
  EXPECT_EQ(decideDatum({}).datum, BiasDatum::unknown);
  auto alike = galileo(true);
  alike.resize(8);
  EXPECT_EQ(decideDatum(alike).datum, BiasDatum::noMatter);
}

TEST(BiasDatum, SurvivesASatelliteThatFitsNeitherWay) {
  auto fractions = galileo(true);
  fractions[3].cycles += 0.4;
  EXPECT_EQ(decideDatum(fractions).datum, BiasDatum::withOffsets);
  const IntegerPolicy policy = decideIntegers({.fractions = fractions, .blocks = {{"E04", "GALILEO-2"}}});
  EXPECT_TRUE(policy.resolved);
  ASSERT_EQ(policy.misfits.size(), 1U);
  EXPECT_NEAR(policy.misfits.at("E04"), 0.4, 0.15);
  EXPECT_NEAR(policy.blocksWith.at("GALILEO-2"), 0.4, 0.15);
  EXPECT_THAT(policy.remarks.back(), HasSubstr("left float"));
}

TEST(IntegerPolicy, StaysFloatWhereTheObservationsDoNotTellUnlessTheHeaderDoes) {
  IntegerPolicy policy = decideIntegers({});
  EXPECT_FALSE(policy.resolved);
  EXPECT_THAT(policy.remarks, ElementsAre(HasSubstr("no satellite has phase biases")));
  policy = decideIntegers({.headerWideLanes = true});
  EXPECT_TRUE(policy.resolved && policy.makeUpForOffsets);
  EXPECT_TRUE(decideIntegers({.massCentre = false}).resolved) << "the model has no offsets then";
  EXPECT_FALSE(decideIntegers({.massCentre = false, .fractions = galileo(false, 0.5)}).resolved)
      << "biases that fit nothing";
}

TEST(IntegerPolicy, SparseClocksServeAtTheirOwnEpochs) {
  PolicyQuestion question{.fractions = galileo(true)};
  question.products.clockInterval_s = 300.0;
  for (int k = 0; k < 3; ++k) question.products.clockEpochs.push_back(kMidnight + 300.0 * k);
  const IntegerPolicy policy = decideIntegers(question);
  EXPECT_THAT(policy.remarks.front(), HasSubstr("300 s apart"));
  for (const auto& [second, resolves] :
       {std::pair{0.0, true}, {0.99, true}, {30.0, false}, {299.1, true}, {300.0, true}, {601.5, false}})
    EXPECT_EQ(policy.resolvesAt(kMidnight + second), resolves) << second;
  question.products.broadcastClocks = true;
  EXPECT_FALSE(decideIntegers(question).resolved);
  question.products.broadcastClocks = false;
  question.densestSparse_s = 300.0;
  EXPECT_TRUE(decideIntegers(question).resolvesAt(kMidnight + 30.0));
}

TEST(IntegerPolicy, RefusesProductsOfDifferentSolutionsUnlessTold) {
  PolicyQuestion question{.fractions = galileo(true)};
  question.products.origins = {
      productOrigin("a/COD0MGXFIN_20190450000_01D_05M_ORB.SP3.gz", "orbits", "AIUB"),
      productOrigin("COD0R03FIN_20190450000_01D_01D_OSB.BIA", "phase biases", "COD")};
  const IntegerPolicy policy = decideIntegers(question);
  EXPECT_FALSE(policy.resolved);
  EXPECT_THAT(policy.remarks.front(), HasSubstr("series 0MGX"));
  question.mixedProducts = true;
  EXPECT_TRUE(decideIntegers(question).resolved);
}

TEST(ProductOrigin, OfNamesAndHeaders) {
  const auto mixed = [](const ProductOrigin& a, const ProductOrigin& b) {
    return !mixedOrigins({a, b}).empty();
  };
  const ProductOrigin longName = productOrigin("GRG0MGXFIN_20201770000_01D_30S_CLK.CLK.gz", "clocks", "CNES");
  EXPECT_EQ(longName.centre + longName.series, "GRG0MGX");
  EXPECT_FALSE(mixed(longName, productOrigin("orbits.sp3", "orbits", "GRGS")))
      << "another name of the centre";
  EXPECT_TRUE(mixed(longName, productOrigin("orbits.sp3", "orbits", "AIUB")));
  EXPECT_FALSE(mixed(longName, productOrigin("orbits.sp3", "orbits", ""))) << "nothing tells";
  EXPECT_TRUE(mixed(longName, productOrigin("WUM0MGXFIN_20201770000_01D_01D_OSB.BIA", "phase biases", "")));
}

}  // namespace
}  // namespace gnx
