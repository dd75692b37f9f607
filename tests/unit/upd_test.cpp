#include <gmock/gmock.h>

#include <cmath>
#include <random>
#include <vector>

#include "Common/ComTime.h"
#include "support/table_fixture.h"

namespace {

using tarvio::Upd_bias;
using tarvio::Upd_comb;
using tarvio::UpdAdapter;

constexpr int kDay = 59025;

class Upd : public gnx_test::TableFixture {
 protected:
  Upd() {
    frequencies('G', 2, {"L1", "L2"});
    add("G01");
    add("G02");
  }
  /// A set whose only value tells it apart.
  static Upd_comb comb(int mjd, double sod, double value) {
    Upd_comb set;
    set.m_mjd = mjd;
    set.m_sod = sod;
    set.m_value[1] = value;
    set.m_time[1] = mjd + sod / 86400.0;
    return set;
  }
  /// The value that serves an epoch, 999 when there is none.
  double inquire(int mjd, double sod) {
    Upd_comb out;
    store.m_inquireComb(mjd, sod, "comb", "wl", out);
    return out.m_value[1];
  }
  void input(const Upd_comb& set) { store.v_inputComb("comb", "wl", set); }

  UpdAdapter store;
};

TEST_F(Upd, SetsComeBackWhole) {
  Upd_comb in = comb(kDay, 30.0, 0.25);
  in.m_sig[1] = 0.01;
  in.m_value[159] = -3.5;
  in.m_time[7] = 1.0;  // a time without a value
  in.m_sysRef[2] = 4;
  input(in);
  Upd_comb out = comb(1, 2.0, 3.0);
  out.m_value[0] = 77.0;
  store.m_inquireComb(kDay, 0.0, "comb", "wl", out);
  EXPECT_EQ(out.m_mjd, kDay);
  EXPECT_EQ(out.m_sod, 30.0);
  EXPECT_EQ(out.m_type, 1);
  EXPECT_EQ(out.m_sysRef[2], 4);
  for (int i = 0; i < tarvio::kMaxSat; ++i) {
    EXPECT_EQ(out.m_value[i], in.m_value[i]) << i;
    EXPECT_EQ(out.m_sig[i], in.m_sig[i]) << i;
    EXPECT_EQ(out.m_time[i], in.m_time[i]) << i;
  }
  EXPECT_TRUE(out.v_checkSatellite("G02", "L1"));
  EXPECT_FALSE(out.v_checkSatellite("G01", "L1"));
  EXPECT_FALSE(out.v_checkSatellite("G33", "L1"));
  EXPECT_TRUE(out.m_validComb('G'));
  EXPECT_FALSE(out.m_validComb('E'));

  Upd_bias bias;
  bias.m_mjd = kDay;
  bias.m_value[1][1] = 0.5;
  bias.m_time2[1] = 9.0;
  store.v_inputBias(bias);
  Upd_bias back;
  store.m_inquireBias(kDay, 0.0, back);
  EXPECT_EQ(back.m_type, 2);
  EXPECT_EQ(back.m_value[1][1], 0.5);
  EXPECT_EQ(back.m_value[1][0], tarvio::kNone);
  EXPECT_EQ(back.m_time2[1], 9.0);
  EXPECT_TRUE(back.v_checkSatellite("G02", "L2"));
  EXPECT_FALSE(back.v_checkSatellite("G02", "L1"));
  EXPECT_FALSE(back.v_checkSatellite("G02", "L5"));
}

TEST_F(Upd, InquiryOfAnEmptyStoreChangesNothing) {
  Upd_comb out = comb(1, 2.0, 3.0);
  store.m_inquireComb(kDay, 0.0, "comb", "wl", out);
  EXPECT_EQ(out.m_value[1], 3.0);
  input(comb(kDay, 0.0, 1.0));
  store.m_inquireComb(kDay, 0.0, "comb", "ewl", out);
  store.m_inquireComb(kDay, 0.0, "snx", "wl", out);
  EXPECT_EQ(out.m_value[1], 3.0);
}

TEST_F(Upd, NearestInTimeAndTheOlderOfATie) {
  for (int k = 0; k < 4; ++k)
    input(comb(kDay, 86400.0 - 60.0 + 30.0 * k - (k >= 2 ? 86400.0 : 0.0) + 0.0, 10.0 + k));
  // 86340, 86370 of one day, then 0 and 30 of the same day: out of order on purpose.
  EXPECT_EQ(inquire(kDay, 86340.0), 10.0);
  EXPECT_EQ(inquire(kDay, 86355.0), 10.0);
  EXPECT_EQ(inquire(kDay, 16.0), 13.0);
  EXPECT_EQ(inquire(kDay, 15.0), 12.0);
  // Of two sets of one time the first counts, however late the second came.
  input(comb(kDay, 0.0, 99.0));
  EXPECT_EQ(inquire(kDay, 0.0), 12.0);
}

TEST_F(Upd, HistoryOfSeventyTwoHours) {
  input(comb(kDay, 0.0, 1.0));
  input(comb(kDay + 3, 0.0, 2.0));  // exactly 72 h: stays
  EXPECT_EQ(inquire(kDay, 0.0), 1.0);
  input(comb(kDay + 3, 1.0, 3.0));
  EXPECT_EQ(inquire(kDay, 0.0), 2.0);
  // The only set stays at any age, until there are two.
  UpdAdapter fresh;
  fresh.v_inputComb("comb", "n1", comb(kDay, 0.0, 1.0));
  fresh.v_inputComb("comb", "n1", comb(kDay + 30, 0.0, 2.0));
  Upd_comb out;
  fresh.m_inquireComb(kDay, 0.0, "comb", "n1", out);
  EXPECT_EQ(out.m_value[1], 1.0);
  fresh.v_inputComb("comb", "n1", comb(kDay + 30, 30.0, 3.0));
  fresh.m_inquireComb(kDay, 0.0, "comb", "n1", out);
  EXPECT_EQ(out.m_value[1], 2.0);
  // Sets of signals know no such exception.
  Upd_bias bias, back;
  bias.m_mjd = kDay;
  fresh.v_inputBias(bias);
  bias.m_mjd = kDay + 4;
  fresh.v_inputBias(bias);
  fresh.m_inquireBias(kDay, 0.0, back);
  EXPECT_EQ(back.m_mjd, kDay + 4);
}

/// The same rules by a plain walk over a plain list.
class PlainStore {
 public:
  void input(int mjd, double sod, double value) {
    for (auto it = m_sets.begin(); it != m_sets.end();) {
      const bool old = tarvio::timdif(mjd, sod, it->mjd, it->sod) > 259200.0;
      it = old && m_sets.size() > 1 ? m_sets.erase(it) : it + 1;
    }
    m_sets.push_back({mjd, sod, value});
  }
  double inquire(int mjd, double sod) const {
    double best = 9e9, value = 999.0;
    for (const Set& set : m_sets) {
      const double d = std::fabs(tarvio::timdif(mjd, sod, set.mjd, set.sod));
      if (d < best) {
        best = d;
        value = set.value;
      }
    }
    return value;
  }

 private:
  struct Set {
    int mjd;
    double sod, value;
  };
  std::vector<Set> m_sets;
};

TEST_F(Upd, AnyOrderOfArrivalServesLikeAPlainWalk) {
  std::mt19937 random(7);
  for (const int disorder_s : {0, 7200, 400000}) {
    UpdAdapter fast;
    PlainStore plain;
    for (int k = 0; k < 400; ++k) {
      // Multiples of 600 s make ties and repeated times frequent.
      const long t =
          k * 1200L + static_cast<long>(random() % static_cast<unsigned>(disorder_s + 1)) / 600 * 600;
      const int mjd = kDay + static_cast<int>(t / 86400);
      const double sod = static_cast<double>(t % 86400);
      fast.v_inputComb("comb", "wl", comb(mjd, sod, k));
      plain.input(mjd, sod, k);
      const long q = k * 1200L - static_cast<long>(random() % 300000) / 300 * 300 + 300000;
      Upd_comb out;
      fast.m_inquireComb(kDay + static_cast<int>(q / 86400), static_cast<double>(q % 86400), "comb", "wl",
                         out);
      ASSERT_EQ(out.m_value[1],
                plain.inquire(kDay + static_cast<int>(q / 86400), static_cast<double>(q % 86400)))
          << "disorder " << disorder_s << " set " << k;
    }
  }
}

}  // namespace
