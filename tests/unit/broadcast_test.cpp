#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <numbers>

#include "Adapter/BroadcastEphUtils.h"
#include "support/broadcast_messages.h"
#include "support/table_fixture.h"

namespace {

using namespace gnx_test;
using tarvio::GLSEPH;
using tarvio::GPSEPH;
using Vector = std::array<double, 3>;

double distance(const double* a, const Vector& b) {
  return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

Vector rotateX(const Vector& v, double angle) {
  const double c = std::cos(angle), s = std::sin(angle);
  return {v[0], c * v[1] + s * v[2], -s * v[1] + c * v[2]};
}
Vector rotateZ(const Vector& v, double angle) {
  const double c = std::cos(angle), s = std::sin(angle);
  return {c * v[0] + s * v[1], -s * v[0] + c * v[1], v[2]};
}

/// The user algorithm of the interface documents, step by step, with rotation matrices and Newton's
/// method: IS-GPS-200 table 20-IV; for the geostationary satellites BDS-SIS-ICD B1I 5.2.4.12.
Vector evaluate(const GPSEPH& m, double gm, double omega, double tk, bool geo) {
  const double a = m.m_roota * m.m_roota;
  const double mean = m.m_M0 + (std::sqrt(gm / std::pow(a, 3)) + m.m_dn) * tk;
  double e = mean;
  for (int i = 0; i < 30; ++i) e -= (e - m.m_e * std::sin(e) - mean) / (1.0 - m.m_e * std::cos(e));
  const double v = 2.0 * std::atan(std::sqrt((1.0 + m.m_e) / (1.0 - m.m_e)) * std::tan(e / 2.0));
  const double phi = v + m.m_omega;
  const double u = phi + m.m_cus * std::sin(2 * phi) + m.m_cuc * std::cos(2 * phi);
  const double r =
      a * (1.0 - m.m_e * std::cos(e)) + m.m_crs * std::sin(2 * phi) + m.m_crc * std::cos(2 * phi);
  const double i = m.m_i0 + m.m_cis * std::sin(2 * phi) + m.m_cic * std::cos(2 * phi) + m.m_idot * tk;
  const Vector orbit = rotateX({r * std::cos(u), r * std::sin(u), 0.0}, -i);
  if (geo) {
    const double node = m.m_OMEGA0 + m.m_OMEGADOT * tk - omega * m.m_toe;
    const double five = 5.0 * std::numbers::pi / 180.0;
    return rotateZ(rotateX(rotateZ(orbit, -node), -five), omega * tk);
  }
  return rotateZ(orbit, -(m.m_OMEGA0 + (m.m_OMEGADOT - omega) * tk - omega * m.m_toe));
}

const struct {
  const char* cprn;
  double roota, inclination, gm, omega;
  bool geo;
} kOrbits[] = {
    {"G05", 5153.65, 0.965, 3.986005e14, 7.2921151467e-5, false},
    {"E11", 5440.60, 0.977, 3.986004418e14, 7.2921151467e-5, false},
    {"C21", 5282.62, 0.961, 3.986004418e14, 7.292115e-5, false},
    {"C08", 6493.40, 0.967, 3.986004418e14, 7.292115e-5, false},  // inclined geosynchronous
    {"C03", 6493.39, 0.090, 3.986004418e14, 7.292115e-5, true},
    {"C60", 6493.39, 0.090, 3.986004418e14, 7.292115e-5, false},  // geostationary of the third generation
    {"J02", 6493.20, 0.710, 3.986005e14, 7.292115e-5, false},
};

struct Kepler : TableFixture {
  Kepler() {
    for (const auto& orbit : kOrbits) add(orbit.cprn);
  }
  std::array<double, 6> state(const GPSEPH& eph, double tk, const char* flag = "yyy") {
    tarvio::BroadcastEphUtils utils;
    std::array<double, 6> xv{};
    utils.m_geph2xyz(&eph, flag, kWeek, kToe + tk, xv.data(), &clk);
    return xv;
  }
  double clk = 0.0;
};

TEST_F(Kepler, PositionsFollowTheInterfaceDocumentsAndVelocitiesArePositionsDerived) {
  for (const auto& orbit : kOrbits) {
    const GPSEPH eph = message(orbit.cprn, orbit.roota, orbit.inclination);
    GPSEPH plain = eph;
    // These enter the velocity as broadcast corrections expect them, which is not the strict derivative.
    plain.m_cic = plain.m_cis = 0.0;
    constexpr double h = 0.2;
    for (double tk = -7200.0; tk <= 7200.0; tk += 911.0) {
      const auto xv = state(eph, tk);
      // 1e-5 m: rounding of angles of hundreds of radians at 42000 km.
      EXPECT_LT(distance(xv.data(), evaluate(eph, orbit.gm, orbit.omega, tk, orbit.geo)), 1e-5)
          << orbit.cprn << " tk " << tk;
      const auto at = state(plain, tk), before = state(plain, tk - h), after = state(plain, tk + h);
      for (std::size_t k = 0; k < 3; ++k)
        EXPECT_NEAR(at[k + 3], (after[k] - before[k]) / (2 * h), 2e-5) << orbit.cprn << " tk " << tk;
    }
  }
}

TEST_F(Kepler, BeidouClockRefersToItsPair) {
  // B3I to the ionosphere-free pair B1I/B3I: f1^2/(f1^2 - f3^2) times TGD1, the carriers being
  // 763 and 620 times 2.046 MHz.
  state(message("C21"), 0.0, "ynn");
  EXPECT_NEAR(clk, 1.23e-4 - 763.0 * 763.0 / (763.0 * 763.0 - 620.0 * 620.0) * 5.0e-9, 1e-19);
}

TEST_F(Kepler, SelectionByIssueDistanceAndAge) {
  tarvio::BroadcastEphUtils utils;
  for (const auto& [iode, toe] : {std::pair{1, kToe + 7200.0}, {2, kToe}}) {
    GPSEPH eph = message("G05");
    eph.m_iode = iode;
    eph.m_toe = toe;
    eph.m_sod = toe - 345600.0;
    utils.m_gnssEph["G05"].push_back(eph);
  }
  const auto pick = [&](int iode, double sow, const char* cprn = "G05") {
    double xv[6], tgd = 0.0, dtmin = 0.0;
    return utils.m_brd2xyz("yyy", cprn, kWeek, sow, xv, &clk, &dtmin, &tgd, &iode) == 1 ? iode : -99;
  };
  EXPECT_EQ(pick(1, kToe + 7200.0 + 8 * 3600.0), -99);  // 8 h: the window is open
  EXPECT_EQ(pick(1, kToe + 7200.0 + 8 * 3600.0 - 1.0), 1);
  EXPECT_EQ(pick(3, kToe), -99);
  EXPECT_EQ(pick(-1, kToe + 3600.0), 2);  // a tie: the later in the list
  EXPECT_EQ(pick(-1, kToe + 3601.0), 1);
  EXPECT_EQ(pick(-2, kToe + 600.0), 1);  // the newest within two hours
  EXPECT_EQ(pick(-2, kToe - 600.0), 2);
  EXPECT_EQ(pick(-7, kToe), -99);
  EXPECT_EQ(pick(-1, kToe, "G06"), -99);
  // Of two at equal distance the earlier in the list is the current one.
  EXPECT_EQ(utils.m_getCurrentGpsEph(kMjd + (kToeSod + 3600.0) / 86400.0).at("G05").m_iode, 1);
}

GLSEPH glonass() {
  GLSEPH eph;
  tarvio::s_copyText(eph.m_cprn, "R05");
  eph.m_mjd = kMjd;
  eph.m_sod = kToeSod;
  eph.m_iode = 20;
  eph.m_tau = -3.0e-5;
  // GLONASS ICD, example of appendix 3
  std::ranges::copy(Vector{7003.008789, -12206.626953, 21280.765625}, eph.m_pos);
  std::ranges::copy(Vector{0.7835417, 2.8042530, 1.3525150}, eph.m_vel);
  std::ranges::copy(Vector{0.0, 1.7e-9, -5.41e-9}, eph.m_acc);
  return eph;
}

struct Glonass : TableFixture {
  Glonass() {
    add("R05");
    utils.m_glsEph["R05"].push_back(glonass());
  }
  int read(double sow, int iode = -1, int week = kWeek) {
    double dtmin = 0.0;
    return utils.m_gls2xyz("yyy", "R05", week, sow, xv, &clk, &dtmin, &iode);
  }
  tarvio::BroadcastEphUtils utils;
  double xv[6] = {}, clk = 0.0;
};

// The orbit is that of real/broadcast_orbit_test.cpp; here the integration must come back to its start.
TEST_F(Glonass, IntegrationIsReversible) {
  ASSERT_EQ(read(kToe), 1);
  EXPECT_DOUBLE_EQ(xv[0], 7003008.789 + 0.008);  // origin shift of PZ-90.02 to WGS 84
  EXPECT_DOUBLE_EQ(xv[3], 783.5417);
  EXPECT_EQ(clk, -3.0e-5);
  ASSERT_EQ(read(kToe + 754.3), 1);
  GLSEPH later = glonass();
  later.m_sod += 754.3;
  for (int i = 0; i < 3; ++i) {
    later.m_pos[i] = (xv[i] - (i == 0 ? 0.008 : 0.001)) / 1000.0;
    later.m_vel[i] = xv[i + 3] / 1000.0;
  }
  utils.m_glsEph["R05"] = {later};
  ASSERT_EQ(read(kToe), 1);
  EXPECT_LT(distance(xv, {7003008.789 + 0.008, -12206626.953 + 0.001, 21280765.625 + 0.001}), 2e-3);
}

TEST_F(Glonass, AnIssueMatchesAtAnyDistanceThatMakesSense) {
  EXPECT_EQ(read(kToe + 9 * 3600.0, 20), 1);
  EXPECT_EQ(read(kToe + 13 * 3600.0, -1), 0);
  EXPECT_EQ(read(kToe + 13 * 3600.0, 20), 1);
  EXPECT_EQ(read(kToe, 21), 0);
  EXPECT_EQ(read(kToe, 20, kWeek + 500), 0) << "years away the integration would not end";
}

TEST_F(Glonass, IssueOfDataIsTheQuarterHourOfTheMoscowDay) {
  // 2020-06-25 00:15:00 UTC = 00:15:18 GPS time = 03:15 in Moscow: the 13th quarter of an hour.
  EXPECT_EQ(tarvio::genAode('R', kMjd, 918.0, 0.0, 77, nullptr), 13);
  EXPECT_EQ(tarvio::genAode('R', kMjd, 21.0 * 3600.0 + 18.0, 0.0, 77, nullptr), 0);
  EXPECT_EQ(tarvio::genAode('C', kMjd, 0.0, 345600.0 + 2700.0, 77, nullptr), 3);  // 1.5 rounds up
  EXPECT_EQ(tarvio::genAode('E', kMjd, 0.0, 0.0, 77, nullptr), 77);
  EXPECT_EQ(tarvio::genAode('S', kMjd, 0.0, 0.0, 77, nullptr), -1);
}

TEST(BroadcastIdentity, Crc24qOfAKnownTextAndOfTheContentOfABeidouMessageBitByBit) {
  const auto crc = [](const std::vector<unsigned char>& bytes) {
    return tarvio::CRC24(static_cast<long>(bytes.size()), bytes.data());
  };
  EXPECT_EQ(crc({'1', '2', '3', '4', '5', '6', '7', '8', '9'}), 0xCDE703);  // check value of the catalogues
  // A message of zeros hashes to zero; a single field sets single bits of the 52 bytes.
  const auto withBit = [&crc](int bit) {
    std::vector<unsigned char> bytes(52);
    bytes[static_cast<std::size_t>(bit / 8)] = static_cast<unsigned char>(0x80 >> bit % 8);
    return crc(bytes);
  };
  GPSEPH first, last;
  EXPECT_EQ(tarvio::getbdsiode(first), 0);
  first.m_idot = std::numbers::pi * std::exp2(-43);  // the last of its 14 bits
  EXPECT_EQ(tarvio::getbdsiode(first), withBit(13));
  last.m_OMEGADOT = std::numbers::pi * std::exp2(-43);  // the last of all 411 bits
  EXPECT_EQ(tarvio::getbdsiode(last), withBit(410));
}

}  // namespace
