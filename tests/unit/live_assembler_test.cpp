// What a stream may bring beside the observations of one station in order.

#include <gmock/gmock.h>

#include "gnx/live.h"
#include "support/files.h"

namespace gnx::test {
namespace {

using testing::Contains;
using testing::HasSubstr;

const GpsTime kStart = toGpsTime({2026, 11, 21, 6, 0, 0.0});

BroadcastEph gpsMessage(const SatName& sat, const GpsTime& t) {
  BroadcastEph eph;
  eph.sat = sat;
  eph.toc = eph.toe = eph.transmission = t;
  eph.iode = eph.iodc = 10;
  eph.sqrtA = 5153.65;
  eph.e = 0.0123;
  eph.i0 = 0.965;
  eph.code = 1;
  return eph;
}

/// An assembler over one source, and what it gave.
class Assembled {
 public:
  Assembled() {
    assembler.addSource(0, {"obs", 7, 0});
    for (int s = 0; s < 20; ++s) observe(1, s, s);  // it starts after a while
    tick(90.0);
  }

  /// An epoch of a station by its clock, arriving at a time; s from the start.
  void observe(int station, double clock_s, double arrival_s) {
    ObsEpoch epoch{kStart + clock_s, {}};
    for (const char* name : {"G05", "G07", "E11"}) {
      SatObs sat{name, {}};
      SignalObs signal;
      signal.code = {'1', 'C', '\0'};
      signal.range = 2.2e7;
      signal.phase = 1.156e8;
      sat.signals.push_back(signal);
      epoch.sats.push_back(sat);
    }
    RtcmEncoder encoder(station);
    assembler.take(0, kStart + arrival_s, encoder.observations(epoch));
    tick(arrival_s + 0.6);
  }
  void message(BroadcastEph eph, double arrival_s) {
    assembler.take(0, kStart + arrival_s, RtcmEncoder().ephemeris(eph));
    tick(arrival_s + 0.6);
  }
  void tick(double s) { assembler.tick(kStart + s); }
  std::int64_t dropped(LiveDrop reason) const { return assembler.counts().dropped(reason); }

  int restarts = 0;
  std::vector<std::string> said;
  std::vector<GpsTime> epochs;
  int messages = 0;

 private:
  static DeploymentOptions options() {
    DeploymentOptions o;
    o.systems = "GE";
    o.refpoint = "APC_ITRF";
    o.date = kStart;
    return o;
  }
  const support::TemporaryDirectory m_directory;
  const Deployment m_deployment = Deployment::make(m_directory.path(), options());

 public:
  LiveAssembler assembler{
      m_deployment,
      {},
      kStart,
      {[this](const Event& event) {
         if (const auto* epoch = std::get_if<ObsEpoch>(&event.record)) epochs.push_back(epoch->time);
         messages += std::holds_alternative<BroadcastEph>(event.record) ? 1 : 0;
       },
       [this] { ++restarts; }, [this](const std::string& text) { said.push_back(text); }}};
};

TEST(LiveAssembling, AnotherStationInTheMiddleIsLeftOutUntilItIsTheOnlyOne) {
  Assembled run;
  const std::size_t before = run.epochs.size();
  for (int s = 100; s < 110; ++s) {
    run.observe(1, s, s);
    run.observe(2, s, s + 0.2);
  }
  EXPECT_EQ(run.epochs.size(), before + 10);
  EXPECT_EQ(run.dropped(LiveDrop::otherStation), 10);
  EXPECT_EQ(run.restarts, 0);
  for (int s = 110; s < 125; ++s) run.observe(2, s, s);
  EXPECT_EQ(run.restarts, 1);
  EXPECT_THAT(run.said, Contains(HasSubstr("brings station 2 instead of 1")));
  EXPECT_EQ(run.epochs.back(), kStart + 124.0);
}

TEST(LiveAssembling, AClockThatJumpsIsFollowedWhenItStays) {
  Assembled run;
  const std::size_t before = run.epochs.size();
  run.observe(1, 3700.0, 100.0);  // once: nobody's time
  run.observe(1, 101.0, 101.0);
  EXPECT_EQ(run.epochs.size(), before + 1);
  for (int s = 102; s < 122; ++s) run.observe(1, s + 3600.0, s);
  EXPECT_EQ(run.epochs.back(), kStart + 3721.0);
  EXPECT_EQ(run.dropped(LiveDrop::otherTime), 1 + 9);
  EXPECT_THAT(run.said, Contains(HasSubstr("3600 s ahead of the machine's clock")));
  // Epochs that come again are no epochs.
  const std::size_t after = run.epochs.size();
  run.observe(1, 3721.0, 122.0);
  EXPECT_EQ(run.epochs.size(), after);
}

TEST(LiveAssembling, EpochsThatDoNotComeAreCounted) {
  Assembled run;
  const auto missing = [&] { return run.assembler.counts().missingEpochs; };
  run.observe(1, 100.0, 100.0);
  EXPECT_EQ(missing(), 80) << "from 19 s on";
  run.observe(1, 101.0, 101.0);
  run.observe(1, 104.0, 104.0);
  EXPECT_EQ(missing(), 82);
  run.observe(1, 104.0, 105.0);  // again
  run.observe(1, 106.0, 106.0);
  EXPECT_EQ(missing(), 83) << "a gap is no interval";
  for (int s = 136; s < 436; s += 30) run.observe(1, s, s);  // the receiver was told so
  const auto told = missing();
  run.observe(1, 436.0, 436.0);
  EXPECT_EQ(missing(), told) << "soon this is the interval";
}

TEST(LiveAssembling, MessagesOfYesterdayAreRefused) {
  Assembled run;
  BroadcastEph eph = gpsMessage("G05", kStart);
  run.message(eph, 100.0);
  EXPECT_EQ(run.messages, 1);
  BroadcastEph old = eph;
  old.sat = "G07";
  old.toc = old.toe = kStart + -86400.0;
  old.transmission = old.toc;
  run.message(old, 101.0);
  run.message(eph, 102.0);
  EXPECT_EQ(run.messages, 1);
  EXPECT_EQ(run.dropped(LiveDrop::refusedMessage), 2);
}

}  // namespace
}  // namespace gnx::test
