// A simulation as a stream says the same as its files.

#include <cmath>

#include "gnx/read.h"
#include "simulation_setup.h"
#include "support/rtcm_streams.h"

namespace gnx {
namespace {

using Issues = std::map<std::pair<SatName, int>, BroadcastEph>;

Issues byIssue(const std::vector<BroadcastEph>& messages) {
  Issues issues;
  for (const BroadcastEph& eph : messages) issues[{eph.sat, issueOfData(eph)}] = eph;
  return issues;
}

/// Corrected positions and clocks in m, by satellite and second; orbits and clocks of a time together.
std::map<std::pair<std::int64_t, SatName>, std::array<double, 4>> corrected(
    const Issues& issues, const std::vector<SsrBlock>& blocks) {
  std::map<std::pair<std::int64_t, SatName>, std::array<double, 4>> states;
  for (const SsrBlock& block : blocks) {
    const GpsTime t = block.time + 0.5 * block.interval;
    for (const SsrOrbit& orbit : block.orbits) {
      const SatState state = evaluateBroadcast(issues.at({orbit.sat, orbit.iod}), t);
      const auto axes = orbitAxes(state);
      auto& place = states[{block.time.seconds, orbit.sat}];
      for (std::size_t i = 0; i < 3; ++i) {
        place[i] = state.position[i];
        for (std::size_t k = 0; k < 3; ++k) place[i] -= axes[k][i] * orbit.delta[k];
      }
    }
    for (const SsrClock& clock : block.clocks)
      states[{block.time.seconds, clock.sat}][3] =
          kLightSpeed * broadcastClock(issues.at({clock.sat, clock.iod}), t) + clock.c[0];
  }
  return states;
}

TEST(RtcmSimulation, TheStreamCarriesTheSkyOfTheFiles) {
  const support::TemporaryDirectory folder;
  SimulationOptions options = quickOptions();
  options.sky.systems = "GECJ";
  options.rtcm = true;
  const SimulationFiles files = simulate(options, folder.path());

  support::RtcmListener listener(options.sky.start);
  listener.decoder.feed(support::bytesOf(support::readFile(files.stream)));
  EXPECT_EQ(listener.decoder.counts().skipped, 0);
  for (const auto dropped : listener.decoder.counts().drops) EXPECT_EQ(dropped, 0);

  std::vector<SsrBlock> sent, got;
  CorrectionReader reader(files.corrections.string());
  for (SsrBlock block; reader.next(block);) sent.push_back(block);
  for (const RtcmSsr& ssr : listener.all<RtcmSsr>()) got.push_back(ssr.block);
  const auto there = corrected(byIssue(readRinexNav({files.navigation.string()}).keplerian), sent);
  const auto here = corrected(byIssue(listener.all<BroadcastEph>()), got);
  ASSERT_EQ(here.size(), there.size());
  for (const auto& [key, state] : there) {
    for (std::size_t i = 0; i < 4; ++i)
      EXPECT_NEAR(here.at(key)[i], state[i], 1.5e-3) << key.second << " " << i;
  }

  ObservationReader observations(files.observations.string());
  const auto epochs = listener.all<RtcmEpoch>();
  std::size_t next = 0;
  std::map<std::string, double> cycles;
  for (ObsEpoch epoch; observations.next(epoch); ++next) {
    ASSERT_LT(next, epochs.size());
    EXPECT_EQ(epochs[next].epoch.time, epoch.time);
    for (const SatObs& sat : epoch.sats) {
      for (const SignalObs& obs : sat.signals) {
        const SignalObs* back = support::signalIn(epochs[next].epoch, sat.sat, obs.code.data());
        ASSERT_NE(back, nullptr) << sat.sat << obs.code.data();
        EXPECT_NEAR(back->range, obs.range, 1e-3);
        const double moved = obs.phase - back->phase;
        const auto [arc, isNew] = cycles.try_emplace(sat.sat + obs.code.data(), moved);
        EXPECT_NEAR(moved, std::round(moved), 2e-3);
        const bool slipped = (back->lli & 1) != 0 || isNew;
        EXPECT_NEAR(moved, slipped ? moved : arc->second, 2e-3) << sat.sat << obs.code.data();
        arc->second = moved;
      }
    }
  }
  EXPECT_EQ(next, epochs.size());
}

}  // namespace
}  // namespace gnx
