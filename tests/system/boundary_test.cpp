// The entry points as a host meets them: each case is a host of its own in a child process, so that a
// crash or an exit is a result and not the end of the tests.

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <clocale>
#include <cmath>
#include <cstring>
#include <ctime>
#include <random>

#include "Common/ComFreq.h"
#include "Config/SatelliteTable.h"
#include "Core/Filter/SrifFilter.h"
#include "GNX_SDK.h"
#include "Interface/Controller.h"
#include "gnx/adapt.h"
#include "support/deployment.h"

namespace {

using namespace GNX_IO;
using ::testing::HasSubstr;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

/// Ends the child with the words.
void expect(bool holds, const std::string& what) {
  if (!holds) throw std::runtime_error(what);
}

std::int64_t today() { return std::time(nullptr) / 86400 * 86400; }

/// Tiny biases for every signal of every satellite, so that no satellite is wiped for lack of one.
void feedNeutralCodeBiases() {
  std::vector<ssr_t> ssr(kMaxSatellite);
  for (ssr_t& e : ssr) {
    e.mark_orb = e.mark_clk = e.mark_pbias = e.mark_ifpb = -999;
    for (float& bias : e.cbias) bias = 1e-9F;
  }
  GNX_inputSsrBias(ssr.data());
}

obs_entry_t observation(const char* sat, const std::vector<const char*>& codes) {
  static const gnx::BoundaryNumbers numbers;
  obs_entry_t entry{};
  entry.sat = static_cast<std::uint8_t>(numbers.satellite(sat));
  for (std::size_t i = 0; i < codes.size(); ++i) {
    entry.code[i] = static_cast<std::uint8_t>(numbers.code(codes[i]));
    entry.L[i] = 1.1e8 + static_cast<double>(i);
    entry.P[i] = 2.1e7 + static_cast<double>(i);
    entry.D[i] = 100.0F;
    entry.SNR[i] = 45250;
  }
  return entry;
}

struct Boundary : ::testing::Test {
  /// Runs a host in the deployment's directory to its orderly end. \return its output
  template <class Body>
  std::string run(const Body& body) {
    deployment.withGrid = true;
    deployment.write();
    const auto result = support::runInChild([&] {
      support::fs::current_path(deployment.path(""));
      body();
    });
    EXPECT_EQ(result.status, 0) << result.output.substr(0, 4000);
    return result.output;
  }
  static void start(const char* mode = "kinematic", double intv = 30.0) {
    sta_t sta{};
    GNX_initialize(mode, &sta, 7.0, intv);
  }
  static const tarvio::Station& station() {
    return tarvio::Controller::s_getInstance()->m_filter->m_stations[0];
  }
  static const tarvio::Ssat_t& row(const char* sat) { return station().m_sat[tarvio::s_satRow(sat)]; }

  support::Deployment deployment;
};

TEST_F(Boundary, BeforeInitialisationNoArgumentIsTouched) {
  run([] {
    GNX_inputEph(reinterpret_cast<nav_t*>(8), 1, 0);
    GNX_inputSsr(reinterpret_cast<ssr_t*>(8));
    GNX_inputSsrBias(reinterpret_cast<ssr_t*>(8));
    GNX_inputObs({0, 0.0}, reinterpret_cast<obs_t*>(8));
    GNX_restart();
    GNX_finilize();
    expect(GNX_isInitialize == 0, "flag");
    GNX_setintv(5.0);  // makes the engine's shell, without lasting effect
    start("static", 10.0);
    expect(tarvio::Controller::s_getInstance()->m_deploy.m_intv2 == 10.0, "interval of the start");
  });
}

TEST_F(Boundary, StartsStopsAndStationsOfEveryKind) {
  run([] {
    start("kinematic dynamic");
    expect(GNX_isInitialize == 1, "flag after start");
    expect(station().m_skd == 'K', "kinematic is tested before dynamic");
    start("static", 1.0);  // ignored while running
    expect(station().m_skd == 'K', "second start is ignored");
    expect(std::fabs(station().m_cutoff - 7.0 * 0.017453292519943295) < 1e-15, "mask in radians");
    GNX_finilize();
    expect(GNX_isInitialize == 0, "flag after stop");
    for (const auto& [mode, letter] : {std::pair{"static", 'S'}, {"dynamic", 'D'}, {"", 'K'}}) {
      start(mode);
      expect(station().m_skd == letter, std::string("mode ") + mode);
      GNX_restart();
      GNX_finilize();
    }
    GNX_initialize(nullptr, nullptr, kNaN, kNaN);
    expect(station().m_skd == 'K' && std::isfinite(station().m_cutoff), "null and NaN arguments");
    expect(station().m_antType == "ANTNONE         NONE", "no antenna");
    GNX_finilize();

    sta_t sta{};
    std::memset(sta.rectype, 'X', sizeof sta.rectype);  // no terminator
    std::strcpy(sta.antdes, "TRM59800.00     SCIS");
    sta.del[2] = 0.216;
    GNX_initialize("static", &sta, 10.0, 30.0);
    expect(station().m_recType.size() == sizeof sta.rectype, "receiver type is bounded");
    expect(std::fabs(station().m_antenu[0][0][2] - 0.080) < 1e-9, "antenna offset up on L1");
    expect(station().m_enu[2] == 0.216, "height of the reference point");
  });
}

TEST_F(Boundary, SignalsFindTheirSlots) {
  run([] {
    start();
    feedNeutralCodeBiases();
    std::vector<obs_entry_t> entries = {observation("G01", {"1C", "1W", "2W", "7Q"}),
                                        observation("G02", {"1C", "2W"}), observation("G03", {"1C", "2W"}),
                                        observation("G30", {"1C", "2W"})};  // G30 is not configured
    entries[1].P[0] = kNaN;
    entries[2].P[1] = 5.0e8;
    entries[2].L[0] = kInf;
    obs_t obs{static_cast<std::int32_t>(entries.size()), entries.data()};
    GNX_inputObs({today() + 45, 0.0}, &obs);  // no tick: the rows stay as they came
    const tarvio::Ssat_t& first = row("G01");
    expect(first.m_obs[0] == 1.1e8 + 1.0, "the higher of two slots of a band counts");
    expect(std::fabs(first.m_obs[5] - 2.1e7 - 2.0) < 1e-6, "L2 in slot 1");
    expect(std::strcmp(first.m_type[0], "L1W") == 0 && std::strcmp(first.m_type[5], "C2W") == 0, "names");
    expect(first.m_dop[1] == -100.0, "Doppler is turned");
    expect(std::fabs(first.m_snr[1] - 45.25) < 1e-9, "carrier to noise");
    expect(row("G02").m_obs[1] == 0.0 && row("G02").m_flag[0] == 1, "NaN is absent, and its partner goes");
    expect(row("G03").m_obs[0] == 0.0, "impossible range and phase are absent");
    const tarvio::Deploy& deploy = tarvio::Controller::s_getInstance()->m_deploy;
    expect(deploy.m_curSod == 45.0, "epoch");

    obs = {0, nullptr};
    GNX_inputObs({today() + 75, 0.0}, &obs);  // an empty epoch is an epoch
    expect(deploy.m_curSod == 75.0, "empty epoch");
    expect(row("G01").m_obs[0] == 0.0, "empty rows");
  });
  EXPECT_THAT(deployment.statusLog(), HasSubstr("3 observations are not finite or out of range"));
}

/// Records filled with arbitrary bytes; numbers that decide about memory stay in their ranges.
template <class Record>
void fillAtRandom(Record& record, std::mt19937& random) {
  auto* bytes = reinterpret_cast<unsigned char*>(&record);
  for (std::size_t i = 0; i < sizeof record; ++i) bytes[i] = static_cast<unsigned char>(random());
}

TEST_F(Boundary, ArbitraryBytesNeverEndTheHost) {
  deployment.satellites = support::fullSky();
  run([] {
    start("kinematic", 1.0);
    std::mt19937 random(20200625);
    std::vector<eph_entry_t> eph(256);
    std::vector<geph_entry_t> geph(64);
    std::vector<ssr_t> ssr(kMaxSatellite);
    nav_t nav{};
    nav.eph = eph.data();
    nav.geph = geph.data();
    for (int epoch = 0; epoch < 40; ++epoch) {
      const gtime_t now = {today() + epoch, 0.0};
      for (eph_entry_t& e : eph) {
        fillAtRandom(e, random);
        if (random() % 2 == 0) e.toe = e.toc = {today(), 0.0};
        if (random() % 2 == 0) e.e = 0.01, e.A = 2.6e7;
      }
      for (geph_entry_t& g : geph) fillAtRandom(g, random);
      for (int sat = 0; sat <= kMaxSatellite; ++sat) GNX_inputEph(&nav, sat, 1);
      for (ssr_t& s : ssr) {
        fillAtRandom(s, random);
        if (random() % 2 == 0) s.t0_orb = s.t0_clk = s.t0_pbias = now;
      }
      GNX_inputSsr(ssr.data());
      GNX_inputSsrBias(ssr.data());
      if (epoch % 4 == 0) feedNeutralCodeBiases();
      std::vector<obs_entry_t> entries(200);
      for (obs_entry_t& entry : entries) {
        fillAtRandom(entry, random);
        for (int i = 0; i < kSignalSlots; ++i) {
          if (random() % 2 == 0) entry.P[i] = 2.0e7 + static_cast<double>(random() % 100);
          if (random() % 2 == 0) entry.L[i] = 1.0e8;
        }
      }
      obs_t obs{static_cast<std::int32_t>(entries.size()), entries.data()};
      GNX_inputObs(now, &obs);
      if (epoch == 20) GNX_restart();
    }
    const tarvio::Station& sta = station();
    expect(std::isfinite(sta.m_x[0] + sta.m_x[1] + sta.m_x[2]), "position stays a number");
  });
}

TEST_F(Boundary, NumbersAreReadInAnyLocaleOfTheHost) {
  const std::string output = run([] {
    setenv("LOCPATH", ".", 1);
    const bool made = std::system("localedef -i de_DE -f UTF-8 ./de_DE.UTF-8 2>&1") != -1;
    if (!made || std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) {
      std::printf("no locale with a decimal comma\n");
      return;
    }
    start();
    expect(tarvio::Controller::s_getInstance()->m_deploy.m_turboedit[3] == 0.72, "turboedit");
    char text[16];
    std::snprintf(text, sizeof text, "%.1f", 0.5);
    expect(std::strcmp(text, "0,5") == 0, "the host's locale is back");
  });
  if (output.find("no locale") != std::string::npos) GTEST_SKIP() << output;
}

TEST(BoundarySymbols, PlainAndDecoratedNamesAreOne) {
  const std::pair<const char*, const char*> names[] = {
      {"GNX_initialize", "_Z14GNX_initializePKcPN6GNX_IO5sta_tEdd"},
      {"GNX_finilize", "_Z12GNX_finilizev"},
      {"GNX_inputEph", "_Z12GNX_inputEphPN6GNX_IO5nav_tEii"},
      {"GNX_inputSsr", "_Z12GNX_inputSsrPN6GNX_IO5ssr_tE"},
      {"GNX_inputSsrBias", "_Z16GNX_inputSsrBiasPN6GNX_IO5ssr_tE"},
      {"GNX_inputObs", "_Z12GNX_inputObsN6GNX_IO7gtime_tEPNS_5obs_tE"},
      {"GNX_setintv", "_Z11GNX_setintvd"},
      {"GNX_restart", "_Z11GNX_restartv"}};
  for (const auto& [plain, decorated] : names) {
    void* symbol = dlsym(RTLD_DEFAULT, plain);
    EXPECT_NE(symbol, nullptr) << plain;
    EXPECT_EQ(symbol, dlsym(RTLD_DEFAULT, decorated)) << plain;
  }
  EXPECT_NE(dlsym(RTLD_DEFAULT, "GNX_isInitialize"), nullptr);
}

}  // namespace
