#include <gmock/gmock.h>

#include "support/table_fixture.h"

namespace {

using tarvio::Rnxobs;
using ::testing::Each;

struct CodeBias : gnx_test::TableFixture {
  CodeBias() {
    frequencies('G', 2, {"L1", "L2", "L5"});
    frequencies('E', 2, {"L1", "L5"});
  }
  static void observe(Rnxobs& rnx, int isat, int slot, const char* code, double range) {
    rnx.m_obs[isat][slot] = 1.0e8;
    rnx.m_obs[isat][4 + slot] = range;
    tarvio::s_copyText(rnx.m_type[isat][4 + slot], code);
  }
  /// The value for a signal, substitutes allowed; 999 when there is none.
  double inquire(const char* cprn, const char* code) {
    double value = 999.0;
    bias.m_inquireCodeBias(true, cprn, code, &value);
    return value;
  }

  tarvio::CodeBiasAdapter bias;
  const int gps = add("G05"), gal = add("E11");
};

TEST_F(CodeBias, SignalWithoutBiasTakesTheWholeSatelliteOut) {
  bias.v_inputCodeBias("G05", "1C", 1.0);
  Rnxobs rnx;
  observe(rnx, gps, 0, "C1C", 2.0e7);
  observe(rnx, gps, 1, "C2W", 2.0e7);
  observe(rnx, gal, 0, "C1C", 2.4e7);  // nothing was ever received for E11
  bias.m_corrCodeBias(59025, 0.0, &rnx);
  EXPECT_THAT(rnx.m_obs[gps], Each(0.0));
  EXPECT_THAT(rnx.m_flag[gps], Each(tarvio::kFlagNoBias));
  EXPECT_THAT(rnx.m_obs[gal], Each(0.0));
}

TEST_F(CodeBias, SubstitutesByBandAndBandsThatNoProductCoversHaveNone) {
  for (const char* code : {"1W", "2W", "5X"}) bias.v_inputCodeBias("G05", code, code[0] - '0');
  bias.v_inputCodeBias("E11", "5Q", 55.0);
  bias.v_inputCodeBias("C06", "2I", 22.0);
  EXPECT_EQ(inquire("G05", "1L"), 1.0);
  EXPECT_EQ(inquire("G05", "1C"), 999.0);  // 1C and 1W differ by metres on a receiver that tracks both
  EXPECT_EQ(inquire("G05", "2L"), 2.0);
  EXPECT_EQ(inquire("G05", "5Q"), 5.0);
  EXPECT_EQ(inquire("G05", "7Q"), 999.0);
  EXPECT_EQ(inquire("E11", "5X"), 55.0);
  EXPECT_EQ(inquire("E11", "1X"), 999.0);  // the substitute 1C has no value either
  EXPECT_EQ(inquire("C06", "2X"), 22.0);
  EXPECT_FALSE(bias.m_inquireCodeBias(false, "G05", "1L", nullptr));
  EXPECT_TRUE(bias.m_inquireCodeBias(true, "G05", "1L", nullptr));

  bias.v_inputCodeBias("J01", "1X", 1.0);
  EXPECT_EQ(inquire("J01", "6X"), 999.0);
  bias.v_inputCodeBias("S20", "5X", 1.0);
  EXPECT_EQ(inquire("S20", "1C"), 999.0);
}

}  // namespace
