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
  void input(const Upd_comb& set) { store.v_inputComb("comb", "wl", set); }

  UpdAdapter store;
};

TEST_F(Upd, SetsComeBackWhole) {
  Upd_comb in = comb(kDay, 30.0, 0.25);
  in.m_sig[1] = 0.01;
  in.m_value[159] = -3.5;
  in.m_time[7] = 1.0;  // a time without a value
  input(in);
  Upd_comb out = comb(1, 2.0, 3.0);
  out.m_value[0] = 77.0;
  store.m_inquireComb(kDay, 0.0, "comb", "wl", out);
  EXPECT_EQ(out.m_sod, 30.0);
  for (int i = 0; i < tarvio::kMaxSat; ++i)
    EXPECT_TRUE(out.m_value[i] == in.m_value[i] && out.m_sig[i] == in.m_sig[i] &&
                out.m_time[i] == in.m_time[i])
        << i;
  EXPECT_TRUE(out.v_checkSatellite("G02", "L1"));
  EXPECT_FALSE(out.v_checkSatellite("G01", "L1") || out.v_checkSatellite("G33", "L1"));
  EXPECT_TRUE(out.m_validComb('G'));
  EXPECT_FALSE(out.m_validComb('E'));

  Upd_bias bias, back;
  bias.m_mjd = kDay;
  bias.m_value[1][1] = 0.5;
  store.v_inputBias(bias);
  store.m_inquireBias(kDay, 0.0, back);
  EXPECT_TRUE(back.v_checkSatellite("G02", "L2"));
  EXPECT_FALSE(back.v_checkSatellite("G02", "L1") || back.v_checkSatellite("G02", "L5"));
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
