// Nonsense between sound records: a run with it gives the positions of the run without, digit for digit.

#include <random>

#include "support/faulty_run.h"

namespace gnx::test {
namespace {

using namespace GNX_IO;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNonsense[] = {kNaN, kInf, -kInf, 1e300, -1e300, 5e-324};

const SimulatedSky& sky() {
  static const SimulatedSky made({.hours = 0.75});
  return made;
}

/// Satellites that the table does not hold, signals of bands that are not observed, code numbers beyond all
/// codes, numbers that are none.
obs_entry_t nonsenseEntry(std::mt19937& random) {
  obs_entry_t entry{};
  const bool unknownSatellite = random() % 2 == 0;
  entry.sat = static_cast<std::uint8_t>(unknownSatellite ? 250 + random() % 6 : 1 + random() % 32);
  for (int i = 0; i < kSignalSlots; ++i) {
    entry.code[i] = static_cast<std::uint8_t>(unknownSatellite ? random() % 256 : 100 + random() % 156);
    entry.L[i] = kNonsense[random() % 6];
    entry.P[i] = kNonsense[random() % 6];
    entry.D[i] = static_cast<float>(kNaN);
    entry.SNR[i] = static_cast<std::uint16_t>(random());
  }
  return entry;
}

/// Null pointers, numbers of no satellite, epochs that are none: impossible times and counts.
void callNonsense(const GpsTime& now, std::mt19937& random) {
  constexpr std::int64_t kLast = std::numeric_limits<std::int64_t>::max();
  GNX_inputEph(nullptr, 1, 0);
  GNX_inputSsr(nullptr);
  GNX_inputSsrBias(nullptr);
  nav_t nav{};
  for (const int sat : {-1, 0, 1, 33, 255, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
    GNX_inputEph(&nav, sat, 0);
  for (const std::int64_t time : {-kLast - 1, std::int64_t{0}, std::int64_t{1} << 40, kLast})
    GNX_inputObs({time, 0.0}, nullptr);
  GNX_setintv(kNaN);
  GNX_initialize("dynamic", nullptr, 90.0, 1.0);  // ignored: it runs already

  std::vector<obs_entry_t> entries(200);
  for (obs_entry_t& entry : entries) entry = nonsenseEntry(random);
  obs_t obs{200, entries.data()};
  for (const double fraction : {kNaN, kInf, -1e300}) GNX_inputObs({now.seconds, fraction}, &obs);
  GNX_inputObs({kLast, 0.0}, &obs);
  for (obs_t none : {obs_t{std::numeric_limits<std::int32_t>::max(), entries.data()}, {200, nullptr}})
    GNX_inputObs(toBoundaryTime(now), &none);
  // and between the ticks, empty or full of nonsense
  for (const int n : {0, -5, 200}) {
    obs = {n, n > 0 ? entries.data() : nullptr};
    GNX_inputObs({now.seconds - 10 + (n == 200 ? 1 : 0), 0.25}, &obs);
  }
}

void feedNonsense(const gtime_t& now, std::mt19937& random) {
  std::vector<ssr_t> ssr(kMaxSatellite);
  for (ssr_t& s : ssr) {
    const double wrong = kNonsense[random() % 5];
    s.t0_orb = s.t0_clk = s.t0_cbias = s.t0_pbias = s.t0_ifpb = now;
    s.update = 1;
    s.iod = s.iod_bds = static_cast<int>(random());
    std::ranges::fill(s.deph, wrong);
    std::ranges::fill(s.dclk, wrong);
    std::ranges::fill(s.cbias, kNaN);
    std::ranges::fill(s.pbias, kNaN);
    std::ranges::fill(s.stdpb, 1.0F);
  }
  GNX_inputSsr(ssr.data());
  GNX_inputSsrBias(ssr.data());
  for (ssr_t& s : ssr) {  // sound numbers at times that are none
    s = {};
    s.t0_orb = s.t0_clk = s.t0_cbias = s.t0_pbias = {std::numeric_limits<std::int64_t>::max(), kNaN};
    s.update = 1;
  }
  GNX_inputSsr(ssr.data());

  std::vector<eph_entry_t> eph(256);
  for (eph_entry_t& e : eph) {
    e.toe = e.toc = now;
    e.iode = static_cast<int>(random() % 256);
    e.code = 258;
    e.A = kNonsense[random() % 5];
    e.e = kNonsense[random() % 5];
    e.M0 = e.af[0] = kNaN;
  }
  std::vector<geph_entry_t> geph(64);
  nav_t nav{};
  nav.eph = eph.data();
  nav.geph = geph.data();
  for (int sat = 1; sat <= kMaxSatellite; ++sat) GNX_inputEph(&nav, sat, 0);
}

const FaultyRun& cleanRun() {
  static const FaultyRun made(sky(), {});
  return made;
}

TEST(Nonsense, AmongAndBetweenSoundRecordsChangesNothing) {
  Faults faults;
  std::mt19937 random(7);
  faults.entries = [&](std::vector<obs_entry_t>& entries, double) {
    while (entries.size() < 200) {
      const auto place = static_cast<std::ptrdiff_t>(random() % (entries.size() + 1));
      entries.insert(entries.begin() + place, nonsenseEntry(random));
    }
  };
  faults.before = [&](double t) {
    callNonsense(sky().start() + t, random);
    feedNonsense(toBoundaryTime(sky().start() + t), random);
  };
  FaultyRun(sky(), faults).expectTheSolutionsOf(cleanRun());
}

// A few bytes of some records are others than they were, for five minutes.
TEST(Nonsense, BytesOfSoundRecordsLeaveThePositionStanding) {
  Faults faults;
  std::mt19937 random(42);
  const auto struck = [](double t) { return t >= 300.0 && t < 600.0; };
  const auto damage = [&](auto& record) {
    auto* bytes = reinterpret_cast<unsigned char*>(&record);
    for (int k = 0; k < 8; ++k) bytes[random() % sizeof record] = static_cast<unsigned char>(random());
  };
  faults.entries = [&](std::vector<obs_entry_t>& entries, double t) {
    for (obs_entry_t& entry : entries)
      if (struck(t) && random() % 8 == 0) damage(entry);
  };
  faults.corrections = [&](CorrectionBatch& batch, double t) {
    for (auto& c : batch.orbitClock) {
      if (!struck(t) || random() % 30 != 0) continue;
      damage(c.deph);
      damage(c.dclk);
    }
    return true;
  };
  const FaultyRun run(sky(), faults);
  ASSERT_EQ(run.epochs.size(), cleanRun().epochs.size());
  EXPECT_LT(run.error(sky().site, 600.0), 5.0);
  EXPECT_LT(run.error(sky().site, 2400.0), 0.5);
}

}  // namespace
}  // namespace gnx::test
