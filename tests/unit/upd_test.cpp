#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <utility>
#include <vector>

#include "support/table_fixture.h"

namespace {

using tarvio::Upd_comb;
using tarvio::UpdAdapter;

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
    UpdAdapter fast;
    std::vector<std::pair<long, int>> plain;
    for (int k = 0; k < 400; ++k) {
      // Multiples of 600 s make ties and repeated times frequent.
      const long t =
          k * 1200L + static_cast<long>(random() % static_cast<unsigned>(disorder_s + 1)) / 600 * 600;
      fast.v_inputComb("comb", "wl", comb(t, k));
      for (auto it = plain.begin(); it != plain.end();)
        it = t - it->first > 259200 && plain.size() > 1 ? plain.erase(it) : it + 1;
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
