// Phase wind-up, and the code bias of BDS-2 by elevation.
//
// Wind-up is the turn of the received field against the receiver's antenna. Here it is the angle of the two
// right-handed circular waves in a basis across the line of sight, an arc tangent; the engine takes an arc
// cosine and a sign (Wu et al. 1993).

#include <gmock/gmock.h>

#include <cmath>
#include <numbers>
#include <optional>

#include "Common/ComGeometry.h"
#include "Common/Constants.h"
#include "Core/Model/PhaseWindup.h"
#include "support/exit_message.h"
#include "support/model_world.h"

namespace tarvio {
namespace {

using namespace test;

/// A receiver whose axes may be turned about the vertical, and a satellite turned about its own z axis.
struct Link {
  double latitude = 0.6, longitude = 1.9;
  Vec direction{};  ///< to the satellite in east, north, up
  int first = 1;
  double prev = 0.0, wu = 0.0;

  explicit Link(double azimuth_deg, double elevation_deg) {
    const double a = azimuth_deg * kDegToRad, e = elevation_deg * kDegToRad;
    direction = {std::cos(e) * std::sin(a), std::cos(e) * std::cos(a), std::sin(e)};
  }

  /// Columns east, north, up of a receiver that is turned clockwise, seen from above.
  void frame(double heading_deg, double (&rot)[3][3]) const {
    double level[3][3];
    rot_enu2xyz(latitude, longitude, level);
    const double c = std::cos(heading_deg * kDegToRad), s = std::sin(heading_deg * kDegToRad);
    for (int i = 0; i < 3; ++i) {
      rot[i][0] = c * level[i][0] - s * level[i][1];
      rot[i][1] = s * level[i][0] + c * level[i][1];
      rot[i][2] = level[i][2];
    }
  }
  static Vec apply(const double (&rot)[3][3], const Vec& v) {
    return {dot(3, rot[0], v.data()), dot(3, rot[1], v.data()), dot(3, rot[2], v.data())};
  }
  Vec toSatellite() const {
    double level[3][3];
    frame(0.0, level);
    return apply(level, direction);
  }
  /// Body axes of a satellite that points 10 degrees past the receiver; x turned right-handed about z.
  void body(double turn_deg, Vec& x, Vec& y, Vec& z) const {
    const Vec k = -1.0 * toSatellite(), side = unit(crossOf(k, {0.3, -0.2, 0.93}));
    z = std::cos(10.0 * kDegToRad) * k + std::sin(10.0 * kDegToRad) * side;
    const Vec x0 = unit(crossOf({0.1, 0.9, 0.4}, z)), y0 = crossOf(z, x0);
    const double c = std::cos(turn_deg * kDegToRad), s = std::sin(turn_deg * kDegToRad);
    x = c * x0 + s * y0;
    y = crossOf(z, x);
  }

  double operator()(double heading_deg, double turn_deg) {
    double rot[3][3], none[3][3] = {};
    Vec x, y, z;
    frame(heading_deg, rot);
    body(turn_deg, x, y, z);
    const Vec los = 2.2e7 * toSatellite();
    phase_windup_itrs(&first, none, rot, x.data(), y.data(), z.data(), los.data(), &prev, &wu);
    EXPECT_EQ(first, 0);
    EXPECT_EQ(wu, prev);
    return wu;
  }

  /// In cycles, between -1/2 and 1/2: angle between the waves x + i y of either antenna in a basis (u, k x
  /// u).
  double closedForm(double heading_deg, double turn_deg) const {
    double rot[3][3];
    Vec x, y, z;
    frame(heading_deg, rot);
    body(turn_deg, x, y, z);
    const Vec k = -1.0 * toSatellite(), u = unit(crossOf(k, {0.5, 0.5, 0.1})), v = crossOf(k, u);
    const auto angle = [&](const Vec& a, const Vec& b) {  // b follows a in the sense of the wave
      return std::atan2(dotOf(a, v) - dotOf(b, u), dotOf(a, u) + dotOf(b, v));
    };
    const Vec north = apply(rot, {0, 1, 0}), east = apply(rot, {1, 0, 0});
    return std::remainder(angle(north, east) - angle(x, y), 2.0 * std::numbers::pi) /
           (2.0 * std::numbers::pi);
  }
};

TEST(PhaseWindup, IsTheAngleBetweenTheTwoCircularWaves) {
  for (const double elevation : {5.0, 40.0, 85.0})
    for (double azimuth = 0.0; azimuth < 360.0; azimuth += 40.0)
      for (double turn = 0.0; turn < 360.0; turn += 35.0) {
        Link link(azimuth, elevation);
        const double value = link(20.0, turn);
        ASSERT_NEAR(std::remainder(value - link.closedForm(20.0, turn), 1.0), 0.0, 1e-9)
            << azimuth << ' ' << elevation << ' ' << turn;
        ASSERT_LE(std::fabs(value), 0.5) << "the first value is within half a cycle";
      }
}

// A turn is a cycle, whatever the direction of the signal; back again takes it away.
TEST(PhaseWindup, CountsWholeTurnsOfEitherEnd) {
  for (const double elevation : {15.0, 60.0}) {
    Link satellite(110.0, elevation), receiver(110.0, elevation);
    const double begin = satellite(0.0, 0.0);
    ASSERT_EQ(receiver(0.0, 0.0), begin);
    double before = begin;
    for (double turn = 10.0; turn <= 1080.0; turn += 10.0) {
      const double now = satellite(0.0, turn);
      ASSERT_LT(std::fabs(now - before), 0.06) << "no leap at half a cycle, turn " << turn;
      ASSERT_NEAR(std::remainder(now - satellite.closedForm(0.0, turn), 1.0), 0.0, 1e-9);
      before = now;
      receiver(turn, 0.0);
    }
    EXPECT_NEAR(satellite.wu - begin, -3.0, 1e-9) << "right-handed about the axis to the Earth";
    EXPECT_NEAR(receiver.wu - begin, 3.0, 1e-9) << "clockwise, seen from above";
    for (double turn = 1080.0; turn >= -720.0; turn -= 10.0) satellite(0.0, turn);
    EXPECT_NEAR(satellite.wu - begin, 2.0, 1e-9);
  }
}

// An arc goes on from its last value over a gap; only the first value of all stands alone.
TEST(PhaseWindup, GoesOnFromTheLastValue) {
  Link link(200.0, 50.0);
  const double fraction = link(0.0, 0.0);
  for (const double last : {7.3, 0.45, -0.45, -3.6, 1000.2, -1000.2}) {
    link.prev = last;
    const double value = link(0.0, 0.0);
    EXPECT_NEAR(std::remainder(value - fraction, 1.0), 0.0, 1e-9) << last;
    EXPECT_LE(std::fabs(value - last), 0.5 + 1e-9) << last;
  }
  link.first = 1;
  EXPECT_NEAR(link(0.0, 0.0), fraction, 1e-12);
}

// In the inertial frame the receiver's axes alone are still terrestrial.
TEST(PhaseWindup, InertialFormTurnsTheReceiverAlone) {
  Link link(70.0, 30.0);
  const double expected = link(0.0, 50.0);
  double R[3][3] = {{0.6, -0.8, 0.0}, {0.8, 0.6, 0.0}, {0.0, 0.0, 1.0}}, rot[3][3];
  Vec x, y, z;
  link.frame(0.0, rot);
  link.body(50.0, x, y, z);
  x = Link::apply(R, x), y = Link::apply(R, y), z = Link::apply(R, z);
  const Vec los = Link::apply(R, link.toSatellite());
  int first = 1;
  double prev = 0.0, wu = 0.0;
  phase_windup(&first, R, rot, x.data(), y.data(), z.data(), los.data(), &prev, &wu);
  EXPECT_NEAR(wu, expected, 1e-9);
}

/// Code of BDS-2 satellites by orbit and band, metres at 0, 10, ..., 90 degrees.
struct CodeBias {
  const char *block, *band;
  double nodes[10];
};
constexpr CodeBias kCodeBias[] = {
    {"BEIDOU-2I", "L2", {-0.11, -0.11, -0.09, -0.07, -0.02, -0.08, 0.13, 0.24, 0.25, 0.33}},
    {"BEIDOU-2I", "L7", {-0.06, -0.11, -0.07, -0.05, -0.01, 0.06, 0.11, 0.19, 0.26, 0.28}},
    {"BEIDOU-2I", "L6", {-0.27, -0.23, -0.21, -0.15, -0.11, -0.04, 0.05, 0.14, 0.19, 0.32}},
    {"BEIDOU-2M", "L2", {-0.13, -0.2, -0.17, -0.12, -0.04, 0.1, 0.32, 0.61, 0.82, 0.92}},
    {"BEIDOU-2M", "L7", {-0.12, -0.16, -0.12, -0.09, -0.01, 0.1, 0.25, 0.42, 0.56, 0.64}},
    {"BEIDOU-2M", "L6", {-0.22, -0.15, -0.13, -0.1, -0.04, 0.05, 0.14, 0.27, 0.36, 0.47}}};

double codeBias(const char* block, const char* band, double elevation_deg) {
  char tags[3][4] = {"L1", "", "L1"};  // an unknown band counts as the first
  s_copyText(tags[1], band);
  double out[7] = {};
  bds_code_cor(block, 3, tags, elevation_deg, out);
  return out[1];
}

TEST(BdsCodeBias, IsLinearBetweenTheNodesOfItsOrbitAndBand) {
  for (const CodeBias& row : kCodeBias) {
    SCOPED_TRACE(std::string(row.block) + " " + row.band);
    for (int k = 0; k < 9; ++k)
      for (const double s : {0.0, 0.25})
        EXPECT_NEAR(codeBias(row.block, row.band, 10.0 * (k + s)),
                    std::lerp(row.nodes[k], row.nodes[k + 1], s), 1e-12);
    EXPECT_EQ(codeBias(row.block, row.band, -5.0), row.nodes[0]);
    EXPECT_EQ(codeBias(row.block, row.band, 90.0), row.nodes[9]);
  }
  for (const char* other : {"BEIDOU-2G", "BEIDOU-3M-CAST", "BEIDOU-3I", "GALILEO-2"})
    EXPECT_EQ(codeBias(other, "L2", 70.0), 0.0) << other;
}

struct BdsRows : gnx_test::TableFixture {
  BdsRows() {
    frequencies('B', 2, {"L2", "L7", "L6"});
    frequencies('G', 2, {"L1", "L2", "L5"});
    frequencies('C', 2, {"L2", "L6"});
    for (const auto& [sysname, block] : {std::pair{"B06", "BEIDOU-2I"},
                                         {"B11", "BEIDOU-2M"},
                                         {"B03", "BEIDOU-2G"},
                                         {"C20", "BEIDOU-3M-CAST"},
                                         {"G05", "BLOCK IIR-M"}})
      satellite(add(sysname[0] == 'B' ? 'C' + std::string(sysname + 1) : sysname, sysname)).m_block = block;
  }
  static std::vector<double> corrected(int row, double elevation_deg) {
    double obs[8] = {1.0, 2.0, 3.0, 4.0, 100.0, 200.0, 300.0, 400.0};
    cor_BDScodebias(row, obs, elevation_deg * kDegToRad);
    for (int i = 0; i < 8; ++i) obs[i] -= i < 4 ? i + 1.0 : 100.0 * (i - 3);
    return {obs, obs + 8};
  }
};

TEST_F(BdsRows, AreAddedToTheCodesOfBds2Alone) {
  const auto near = [](std::vector<double> codes) {
    std::vector<double> all = {0.0, 0.0, 0.0, 0.0};
    all.insert(all.end(), codes.begin(), codes.end());
    return testing::Pointwise(testing::DoubleNear(1e-9), all);
  };
  EXPECT_THAT(corrected(0, 75.0), near({0.245, 0.225, 0.165, 0.0}));
  EXPECT_THAT(corrected(1, 75.0), near({0.715, 0.49, 0.315, 0.0}));
  for (const int row : {2, 3, 4}) EXPECT_THAT(corrected(row, 75.0), near({0.0, 0.0, 0.0, 0.0})) << row;
  double absent[8] = {};
  cor_BDScodebias(0, absent, 1.0);
  EXPECT_THAT(absent, testing::Each(0.0)) << "a code that was not observed stays absent";
}

TEST_F(BdsRows, FourFrequenciesEndTheProcess) {
  frequencies('B', 2, {"L2", "L7", "L6", "L5"});
  EXPECT_EXIT_MESSAGE(corrected(0, 75.0), "bds_code_cor.:the number of frequency is more than 3!");
}

}  // namespace
}  // namespace tarvio
