// To which kind of Galileo messages the clocks of a stream refer.

#include "corrections/galileo_messages.h"

#include "gnx/signal.h"
#include "gnx/write.h"
#include "support/host_files.h"

namespace gnx::test {
namespace {

const GpsTime kStart = toGpsTime({2026, 11, 22, 12, 0, 0.0});
constexpr int kSatellites = 5, kFnav = 258, kInav = 517;

SatName galileo(int k) { return "E0" + std::to_string(k + 1); }

/// Both kinds of two issues of all satellites; clocks centimetres off the true one, 0, by kind and issue.
NavData bothKinds() {
  NavData messages;
  for (int k = 0; k < kSatellites; ++k)
    for (const int issue : {20, 21})
      for (const int source : {kFnav, kInav}) {
        BroadcastEph e;
        e.sat = galileo(k);
        e.iode = issue;
        e.code = source;
        e.toc = e.toe = kStart + 600.0 * (issue - 21);
        const double scatter_m =
            0.01 * ((7 * k + 3 * issue + (source == kFnav ? 5 * k * (issue - 19) : 0)) % 11);
        e.af[0] = scatter_m / kLightSpeed;
        messages.keplerian.push_back(e);
      }
  return messages;
}

/// Corrections of one kind of messages, every 5 s. All but the last satellite go over to the next issue after
/// a minute, while the time scale drifts.
std::string streamOf(const TempDir& dir, const NavData& messages, int source, bool changes) {
  const auto path = dir.path() / "stream.ssr";
  SsrWriter writer(path);
  for (double t = 0.0; t <= 120.0; t += 5.0) {
    SsrBlock block;
    block.kind = SsrKind::clock;
    block.time = kStart + t;
    block.interval = 5;
    block.source = "TEST";
    for (const BroadcastEph& e : messages.keplerian) {
      const bool last = e.sat == galileo(kSatellites - 1);
      const int issue = changes && !last && t >= 60.0 ? 21 : 20;
      if (e.code == source && e.iode == issue)
        block.clocks.push_back(
            {e.sat, issue, {0.001 * t - kLightSpeed * broadcastClock(e, block.time), 0.0, 0.0}});
    }
    writer.write(block);
  }
  return path.string();
}

TEST(GalileoMessages, CorrectedClocksTellWhichKindIsMeant) {
  const TempDir dir;
  const NavData messages = bothKinds();
  const GalileoEvidence fnav = galileoEvidence({streamOf(dir, messages, kFnav, true)}, messages);
  EXPECT_EQ(fnav.changes, kSatellites - 1);
  EXPECT_NEAR(fnav.share, 0.0, 0.01);
  EXPECT_FALSE(fnav.inav());
  const GalileoEvidence inav = galileoEvidence({streamOf(dir, messages, kInav, true)}, messages);
  EXPECT_NEAR(inav.share, 1.0, 0.01);
  EXPECT_TRUE(inav.inav());
  EXPECT_FALSE(galileoEvidence({streamOf(dir, messages, kInav, false)}, messages).inav()) << "nothing tells";
}

TEST(GalileoMessages, InavTakesThePlaceOfFnav) {
  NavData messages = bothKinds();
  messages.keplerian.push_back({});
  messages.keplerian.back().sat = "G05";
  const double clock = messages.keplerian[1].af[0];
  useInav(messages);
  ASSERT_EQ(messages.keplerian.size(), 2U * kSatellites + 1U);
  EXPECT_EQ(messages.keplerian[0].af[0], clock);
  MessageStore store;
  EXPECT_NE(store.take(messages.keplerian[0], kStart, kStart), nullptr);
  EXPECT_EQ(messages.keplerian.back().code, 0) << "no concern of GPS";
}

}  // namespace
}  // namespace gnx::test
