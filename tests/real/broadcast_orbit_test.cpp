// Broadcast orbits and clocks of a whole day against final products: a wrong sign, time scale or
// constant anywhere between the boundary and the evaluation shows as metres to kilometres.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <vector>

#include "Adapter/BrdOrbitClkAdapter.h"
#include "GNX_SDK.h"
#include "geometry/vector3.h"
#include "gnx/adapt.h"
#include "gnx/read.h"
#include "support/files.h"
#include "support/table_fixture.h"

namespace {

class BroadcastOrbit : public gnx_test::TableFixture {
 protected:
  BroadcastOrbit() { GNX_isInitialize = 1; }
  ~BroadcastOrbit() override { GNX_isInitialize = 0; }

  /// Feeds the messages of one satellite around an epoch, as a host would have by then.
  void feed(const gnx::NavData& nav, const std::string& sat, const gnx::GpsTime& now) {
    gnx::LinkedBoundary boundary;
    gnx::ProductFeed host(boundary, numbers, plan, {}, {}, false);
    for (const gnx::BroadcastEph& m : nav.keplerian) {
      const bool fnav = sat[0] != 'E' || (m.code & 2) != 0;
      if (m.sat == sat && m.health == 0 && fnav && m.toe - now <= 0.0 && now - m.toe <= 7200.0) host.feed(m);
    }
    for (const gnx::GlonassEph& m : nav.glonass)
      if (m.sat == sat && m.health == 0 && std::fabs(m.toe - now) <= 900.0) host.feed(m);
  }

  const gnx::BoundaryNumbers numbers;
  const gnx::SignalPlan plan{{}};
};

double percentile95(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() * 95 / 100];
}

TEST_F(BroadcastOrbit, AgreesWithFinalProductsOfADay) {
  GNX_REQUIRE_DATA("esbc_2020177");
  const gnx::NavData nav =
      gnx::readRinexNav({support::realFile("esbc_2020177/ESBC00DNK_R_20201770000_01D_MN.rnx.gz")});
  const gnx::Sp3Product sp3 =
      gnx::readSp3({support::realFile("esbc_2020177/COD0MGXFIN_20201770000_01D_05M_ORB.SP3.gz")});
  for (const auto& [sat, points] : sp3.orbits)
    if (std::strchr("GRECJ", sat[0]) != nullptr && deploy().m_nsat < tarvio::kMaxSat) add(sat);
  deploy().m_lpost = true;

  std::map<char, std::vector<double>> errors, clockErrors;
  for (const auto& [sat, points] : sp3.orbits) {
    if (std::strchr("GRECJ", sat[0]) == nullptr) continue;
    const auto clocks = sp3.clocks.find(sat);
    for (std::size_t k = 4; k + 1 < points.size(); k += 7) {
      const gnx::GpsTime& now = points[k].time;
      const int mjd = deploy().m_curMjd = gnx::modifiedJulianDay(now);
      const double sod = deploy().m_curSod = gnx::secondsOfDay(now);
      tarvio::BrdOrbitClkAdapter store;
      controller().m_orbclk = &store;
      feed(nav, sat, now);
      double xv[6], clk = 0.0;
      if (store.v_readOrbit(sat.c_str(), mjd, sod, xv) == 0) continue;
      errors[sat[0]].push_back(gnx::length(gnx::minus({xv[0], xv[1], xv[2]}, points[k].position)));
      if (clocks == sp3.clocks.end()) continue;
      for (const gnx::ClockPoint& point : clocks->second)
        if (point.time == now && store.v_readClk(sat.c_str(), mjd, sod, &clk) == 1)
          clockErrors[sat[0]].push_back((clk - point.bias) * 299792458.0);
    }
  }
  // Signal-in-space errors of 2020 (m, 95 %) plus the antenna offset of up to 3 m: products refer to
  // the centre of mass, messages to the antenna.
  const std::map<char, double> orbitLimit = {{'G', 6.0}, {'E', 3.0}, {'C', 12.0}, {'R', 12.0}, {'J', 8.0}};
  for (const auto& [system, limit] : orbitLimit) {
    if (errors[system].size() < 20) continue;
    EXPECT_LT(percentile95(errors[system]), limit) << system << " of " << errors[system].size();
  }
  for (const auto& [system, least] : {std::pair{'G', 300U}, {'E', 200U}, {'C', 150U}})
    EXPECT_GT(errors[system].size(), least) << system;
  // Clocks up to one offset a system.
  for (auto& [system, values] : clockErrors) {
    if (values.size() < 20) continue;
    std::sort(values.begin(), values.end());
    const double median = values[values.size() / 2];
    std::vector<double> deviations;
    for (const double v : values) deviations.push_back(std::fabs(v - median));
    EXPECT_LT(percentile95(deviations), system == 'R' || system == 'C' ? 12.0 : 3.0) << system;
  }
}

}  // namespace
