// Real streams of Rome: a receiver, and corrections that change their broadcast messages before those come.

#include <gmock/gmock.h>

#include <cmath>

#include "geometry/vector3.h"
#include "gnx/geodesy.h"
#include "gnx/rtcm.h"
#include "gnx/write.h"
#include "record/timed_file.h"
#include "run/run_files.h"
#include "support/child.h"
#include "support/real_data.h"

namespace gnx::test {
namespace {

/// Calls with every record of a recorded stream and the time of its coming.
template <class Take>
void decode(const std::string& file, const GpsTime& start, Take&& take) {
  GpsTime now = start;
  RtcmDecoder decoder([&](const RtcmRecord& record) { take(record, now); }, start);
  TimedFile bytes(file, start);
  for (Arrival piece; bytes.next(piece); piece = {}) {
    now = piece.time;
    decoder.feed(piece.bytes);
  }
  decoder.flush();
}

/// The recording as files of observations, messages and corrections.
void writeFiles(const std::string& observations, const std::string& corrections, const GpsTime& start,
                const std::filesystem::path& dir) {
  std::vector<BroadcastEph> messages;
  SsrWriter ssr(dir / "corrections.ssr");
  decode(corrections, start, [&](const RtcmRecord& record, const GpsTime& now) {
    if (const auto* block = std::get_if<RtcmSsr>(&record)) ssr.write(block->block);
    if (const auto* eph = std::get_if<BroadcastEph>(&record)) {
      messages.push_back(*eph);
      messages.back().transmission = now;
    }
  });
  writeRinexNav(dir / "messages.rnx", messages);

  std::vector<ObsEpoch> epochs;
  std::map<char, std::set<std::string>> types;
  ObsHeader header;
  header.version = 3.04;
  decode(observations, start, [&](const RtcmRecord& record, const GpsTime&) {
    if (const auto* position = std::get_if<RtcmPosition>(&record)) header.position = position->position;
    if (const auto* equipment = std::get_if<RtcmEquipment>(&record)) header.antenna = equipment->antenna;
    const auto* epoch = std::get_if<RtcmEpoch>(&record);
    if (epoch == nullptr) return;
    epochs.push_back(epoch->epoch);
    for (const SatObs& sat : epoch->epoch.sats)
      for (const SignalObs& signal : sat.signals)
        for (const char kind : {'C', 'L', 'S'})
          types[sat.sat[0]].insert(kind + std::string(signal.code.data()));
  });
  header.antenna.resize(20, ' ');
  for (const auto& [system, names] : types) header.types[system] = {names.begin(), names.end()};
  RinexObsWriter writer(dir / "observations.rnx", header, epochs.front().time);
  for (const ObsEpoch& epoch : epochs) writer.write(epoch);
}

std::map<GpsTime, SolutionEpoch> solvedIn(const std::filesystem::path& file) {
  std::map<GpsTime, SolutionEpoch> solved;
  for (const SolutionEpoch& e : readSolutionCsv(file))
    if (e.status >= 2) solved[e.time] = e;
  return solved;
}

// Corrections change their broadcast messages 120 s before those come; both ways go on alike.
TEST(LiveStreams, RomeInFilesIsRomeLive) {
  GNX_REQUIRE_DATA("rtcm3/roma_2026037_msm5.rtcm3.gz");
  GNX_REQUIRE_DATA("rome_2026037_ssr/ssr_provider260_2026037.rtcm3.gz");
  const std::string observations = realFile("rtcm3/roma_2026037_msm5.rtcm3.gz"),
                    corrections = realFile("rome_2026037_ssr/ssr_provider260_2026037.rtcm3.gz");
  const support::TemporaryDirectory dir;
  const GpsTime start = toGpsTime({2026, 2, 6, 20, 0, 39.0});
  writeFiles(observations, corrections, start, dir.path());
  const std::string site = (dir.path() / "site").string(),
                    choices = " --deployment " + site + " --solution-name solution.csv --quiet";
  ASSERT_EQ(
      support::runProgram(
          "init " + site +
          " --systems E --refpoint APC_ITRF --interval 1 --no-resolution --mode kinematic --date 2026-02-06" +
          " --antex " + realFile("antex/igs14_2134.atx.gz"))
          .status,
      0);
  const auto live = support::runProgram("live --start 2026-02-06T20:00:39 --obs 'file://" + observations +
                                        "?speed=0' --ssr file://" + corrections + choices + " --out " +
                                        (dir.path() / "live").string());
  ASSERT_EQ(live.status, 0) << live.output;
  const auto replay = support::runProgram("replay --obs " + (dir.path() / "observations.rnx").string() +
                                          " --nav " + (dir.path() / "messages.rnx").string() + " --ssr " +
                                          (dir.path() / "corrections.ssr").string() + choices + " --out " +
                                          (dir.path() / "replay").string());
  ASSERT_EQ(replay.status, 0) << replay.output;
  const auto here = solvedIn(dir.path() / "live" / "solution.csv"),
             there = solvedIn(dir.path() / "replay" / "solution.csv");
  ASSERT_GT(here.size(), 2490U);
  EXPECT_NEAR(static_cast<double>(there.size()), static_cast<double>(here.size()), 30.0);
  for (const auto& [time, e] : here)
    if (there.contains(time)) {
      // Files round observations, which a young solution multiplies.
      const bool young = time - here.begin()->first < 600.0;
      EXPECT_LT(length(minus(e.xyz, there.at(time).xyz)), young ? 0.015 : 2.5e-3) << formatTime(time);
    }
}

TEST(LiveStreams, RomeHasAPositionFromTheFirstUsableMessageToTheLastEpoch) {
  GNX_REQUIRE_DATA("rtcm3/roma_2026037_msm5.rtcm3.gz");
  GNX_REQUIRE_DATA("rome_2026037_ssr/ssr_provider260_2026037.rtcm3.gz");
  const std::string observations = realFile("rtcm3/roma_2026037_msm5.rtcm3.gz"),
                    corrections = realFile("rome_2026037_ssr/ssr_provider260_2026037.rtcm3.gz");
  const support::TemporaryDirectory dir;
  const auto run =
      support::runProgram("live --obs 'file://" + observations + "?speed=0' --ssr file://" + corrections +
                          " --systems E --mode static --fix --antex " + realFile("antex/igs14_2134.atx.gz") +
                          " --solution-name solution.csv --out " + dir.path().string());
  ASSERT_EQ(run.status, 0) << run.output;
  EXPECT_THAT(run.output, testing::HasSubstr("I/NAV alone"));
  EXPECT_THAT(run.output, testing::HasSubstr("GLONASS corrections in GPS time"));
  EXPECT_THAT(run.output, testing::HasSubstr("positions stay float: the phase biases run"));

  std::vector<SolutionEpoch> solved;
  for (const SolutionEpoch& e : readSolutionCsv(dir.path() / "solution.csv"))
    if (e.status >= 2) solved.push_back(e);
  ASSERT_GT(solved.size(), 2490U);
  EXPECT_LT(solved.front().time - toGpsTime({2026, 2, 6, 20, 4, 0.0}), 25.0);
  for (std::size_t i = 1; i < solved.size(); ++i)
    EXPECT_LT(solved[i].time - solved[i - 1].time, 23.0) << formatTime(solved[i].time);  // the receiver's gap
  // Seven satellites and codes with multipath; a wrong message would move the position by more.
  const SolutionEpoch& last = solved.back();
  for (const SolutionEpoch& e : solved) {
    if (e.time - solved.front().time < 1800.0) continue;
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(e.xyz[i], last.xyz[i], 0.4);
  }
}

}  // namespace
}  // namespace gnx::test
