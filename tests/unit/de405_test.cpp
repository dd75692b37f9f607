// Reader of the JPL ephemeris against a file with random Chebyshev coefficients, evaluated by cosines.

#include "Core/Model/De405.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <random>

#include "Interface/Controller.h"
#include "support/files.h"

namespace tarvio {
namespace {

constexpr double kStart = 2458992.5, kSpan = 32.0;
constexpr int kRecords = 3;
constexpr std::size_t kDistance = 8144;  ///< of records
constexpr double kEmrat = 81.30056;
/// First coefficient, coefficients, sub-intervals: the layout of DE405.
constexpr int kLayout[13][3] = {{3, 14, 4},   {171, 10, 2}, {231, 13, 2}, {309, 11, 1}, {342, 8, 1},
                                {366, 7, 1},  {387, 6, 1},  {405, 6, 1},  {423, 6, 1},  {441, 13, 8},
                                {753, 11, 2}, {819, 10, 4}, {899, 10, 4}};

struct Ephemeris : testing::Test {
  Ephemeris() {
    std::mt19937 random(405);
    std::uniform_real_distribution<> draw(-1.0, 1.0);
    std::string file(kDistance * (2 + kRecords), '\0');
    const auto put = [&](std::size_t at, const auto& value) {
      std::memcpy(file.data() + at, &value, sizeof value);
    };
    put(2652, kStart);
    put(2660, kStart + kRecords * kSpan);
    put(2668, kSpan);
    put(2680, 149597870.691);
    put(2688, kEmrat);
    for (std::size_t i = 0; i < 13; ++i)
      for (std::size_t k = 0; k < 3; ++k) put((i < 12 ? 2696 + 12 * i : 2844) + 4 * k, kLayout[i][k]);
    put(2840, 405);
    for (std::size_t r = 0; r < kRecords; ++r) {
      data[r].resize(1018);
      for (std::size_t i = 2; i < 1018; ++i) data[r][i] = draw(random) * 1.0e6;
      data[r][0] = kStart + static_cast<double>(r) * kSpan;
      data[r][1] = data[r][0] + kSpan;
      std::memcpy(file.data() + kDistance * (2 + r), data[r].data(), 8144);
    }
    path = directory.write("jpleph", file);
  }

  /// Position (km) and velocity (km/s) of a series by T_n(x) = cos(n acos x), T_n' = n sin(n a)/sin a.
  std::array<double, 6> series(int body, double jd, int components = 3) const {
    std::array<double, 6> out{};
    const int* layout = kLayout[body];
    const auto record = static_cast<std::size_t>((jd - kStart) / kSpan);
    const double position = (jd - data[record][0]) / kSpan * layout[2];
    const int granule = static_cast<int>(position);
    const double angle = std::acos(2.0 * (position - granule) - 1.0);
    for (int c = 0; c < components; ++c)
      for (int n = 0; n < layout[1]; ++n) {
        const int place = layout[0] - 1 + (granule * components + c) * layout[1] + n;
        const double a = data[record][static_cast<std::size_t>(place)];
        const double slope = a * n * std::sin(n * angle) / std::sin(angle);
        out[static_cast<std::size_t>(c)] += a * std::cos(n * angle);
        out[static_cast<std::size_t>(components + c)] += slope * 2.0 * layout[2] / (kSpan * 86400.0);
      }
    return out;
  }

  const support::TemporaryDirectory directory;
  std::string path;
  std::vector<double> data[kRecords];
};

TEST_F(Ephemeris, StatesFollowTheCoefficients) {
  De405 reader(path);
  for (double jd : {kStart + 0.3, kStart + 31.7, kStart + 32.4, kStart + 50.123456, kStart + 95.9}) {
    SCOPED_TRACE(jd);
    double got[6];
    const auto sun = series(10, jd), emb = series(2, jd), moon = series(9, jd), mars = series(3, jd),
               nut = series(11, jd, 2), lib = series(12, jd);
    const auto expect = [&](int target, int centre, std::size_t n, auto want) {
      SCOPED_TRACE(testing::Message() << target << " from " << centre);
      ASSERT_TRUE(reader.pleph(jd, target, centre, got));
      for (std::size_t k = 0; k < n; ++k) EXPECT_NEAR(got[k], want(k), k < n / 2 ? 0.05 : 1e-6) << k;
    };
    expect(11, 3, 6, [&](std::size_t k) { return sun[k] - (emb[k] - moon[k] / (1.0 + kEmrat)); });
    expect(10, 3, 6, [&](std::size_t k) { return moon[k]; });
    expect(3, 10, 6, [&](std::size_t k) { return -moon[k]; });
    expect(4, 11, 6, [&](std::size_t k) { return mars[k] - sun[k]; });
    expect(13, 12, 6, [&](std::size_t k) { return emb[k]; });
    expect(10, 12, 6, [&](std::size_t k) { return emb[k] + moon[k] * kEmrat / (1.0 + kEmrat); });
    expect(14, 0, 4, [&](std::size_t k) { return nut[k]; });
    expect(15, 0, 6, [&](std::size_t k) { return lib[k]; });
  }
}

TEST_F(Ephemeris, StaysWithinItsSpanAndRefusesWhatIsNoEphemeris) {
  double state[6];
  De405 reader(path);
  const double end = kStart + kRecords * kSpan;
  for (const double jd : {kStart - 0.001, end + 0.001, std::nan("")})
    EXPECT_FALSE(reader.pleph(jd, 11, 3, state)) << jd;
  EXPECT_FALSE(reader.pleph(kStart + 1.0, 16, 3, state)) << "no such body";
  for (const double jd : {kStart, kStart + 1.0, end}) EXPECT_TRUE(reader.pleph(jd, 11, 3, state)) << jd;

  EXPECT_FALSE(De405("/nonexistent/jpleph").pleph(kStart, 11, 3, state));
  EXPECT_EQ(state[0], 0.0) << "nothing of the last body stays";
  const std::string garbage = directory.write("garbage", std::string(100000, 'x'));
  EXPECT_FALSE(De405(garbage).pleph(kStart, 11, 3, state));
  Controller::s_getInstance()->m_deploy.m_fileTable.erase("jpleph");
  EXPECT_FALSE(De405().pleph(kStart, 11, 3, state));
}

}  // namespace
}  // namespace tarvio
