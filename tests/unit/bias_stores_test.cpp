// Stores of satellite biases: code by signal, sets for the ambiguity resolution.

#include <gmock/gmock.h>

#include <cstdlib>
#include <random>

#include "support/table_fixture.h"

namespace {

using tarvio::Rnxobs;
using tarvio::Upd_comb;
using tarvio::UpdAdapter;
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
  // 1C and 1W differ by metres on a receiver that tracks both; 1C, the substitute of E11, has no value
  // either.
  for (const auto& [cprn, code, value] : {std::tuple{"G05", "1L", 1.0},
                                          {"G05", "1C", 999.0},
                                          {"G05", "2L", 2.0},
                                          {"G05", "5Q", 5.0},
                                          {"G05", "7Q", 999.0},
                                          {"E11", "5X", 55.0},
                                          {"E11", "1X", 999.0},
                                          {"C06", "2X", 22.0}})
    EXPECT_EQ(inquire(cprn, code), value) << cprn << code;
  EXPECT_FALSE(bias.m_inquireCodeBias(false, "G05", "1L", nullptr));
  EXPECT_TRUE(bias.m_inquireCodeBias(true, "G05", "1L", nullptr));

  bias.v_inputCodeBias("J01", "1X", 1.0);
  EXPECT_EQ(inquire("J01", "6X"), 999.0);
  bias.v_inputCodeBias("S20", "5X", 1.0);
  EXPECT_EQ(inquire("S20", "1C"), 999.0);
}

constexpr int kDay = 59025;

struct Upd : gnx_test::TableFixture {
  static int mjd(long t) { return kDay + static_cast<int>(t / 86400); }
  static double sod(long t) { return static_cast<double>(t % 86400); }
  /// A set of `t` seconds after the begin of the day, whose only value tells it apart.
  static Upd_comb comb(long t, double value) {
    Upd_comb set;
    set.m_mjd = mjd(t);
    set.m_sod = sod(t);
    set.m_value[1] = value;
    set.m_time[1] = set.m_mjd + set.m_sod / 86400.0;
    return set;
  }
};

TEST_F(Upd, SetsComeBackWhole) {
  Upd_comb in = comb(30, 0.25);
  in.m_sig[1] = 0.01;
  in.m_value[159] = -3.5;
  in.m_time[7] = 1.0;  // a time without a value
  UpdAdapter store;
  store.v_inputComb("comb", "wl", in);
  Upd_comb out = comb(2, 3.0);
  out.m_value[0] = 77.0;
  store.m_inquireComb(kDay, 0.0, "comb", "wl", out);
  EXPECT_EQ(out.m_sod, 30.0);
  EXPECT_TRUE(std::ranges::equal(out.m_value, in.m_value));
  EXPECT_TRUE(std::ranges::equal(out.m_sig, in.m_sig));
  EXPECT_TRUE(std::ranges::equal(out.m_time, in.m_time));
}

// The same rules by a plain walk over a plain list of times and values.
TEST_F(Upd, AnyOrderOfArrivalServesLikeAPlainWalk) {
  std::mt19937 random(7);
  for (const int disorder_s : {0, 7200, 400000}) {
    const double kept_s = disorder_s == 7200 ? 3600.0 : UpdAdapter::kHistory_s;
    UpdAdapter fast;
    fast.m_keepFor(kept_s);
    std::vector<std::pair<long, int>> plain;
    for (int k = 0; k < 400; ++k) {
      // Multiples of 600 s make ties and repeated times frequent.
      const long t =
          k * 1200L + static_cast<long>(random() % static_cast<unsigned>(disorder_s + 1)) / 600 * 600;
      fast.v_inputComb("comb", "wl", comb(t, k));
      for (auto it = plain.begin(); it != plain.end();)
        it = static_cast<double>(t - it->first) > kept_s && plain.size() > 1 ? plain.erase(it) : it + 1;
      plain.emplace_back(t, k);

      const long q = k * 1200L - static_cast<long>(random() % 300000) / 300 * 300 + 300000;
      Upd_comb out;
      fast.m_inquireComb(mjd(q), sod(q), "comb", "wl", out);
      const auto nearest =
          std::ranges::min_element(plain, {}, [q](const auto& p) { return std::abs(q - p.first); });
      ASSERT_EQ(out.m_value[1], nearest->second) << "disorder " << disorder_s << " set " << k;
    }
  }
}

}  // namespace
