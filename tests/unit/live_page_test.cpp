// What the page of a live run keeps and tells.

#include "live/live_page.h"

#include <gmock/gmock.h>

#include "live/position_history.h"
#include "live/state_changes.h"
#include "live/stream_watch.h"

namespace gnx {
namespace {

using testing::HasSubstr;

const GpsTime kBegin = toGpsTime({2026, 11, 21, 0, 0, 0.0});
const Geodetic kPlace{0.8, 0.2, 400.0};

Solution solutionAt(double seconds, SolutionState state, const Vector3& enu = {}) {
  Solution s;
  s.time = kBegin + seconds;
  s.state = state;
  s.why = state == SolutionState::fixed ? "" : "arcs are young";
  const Vector3 place = toEarthFixed(kPlace), moved = fromEastNorthUp(enu, kPlace);
  if (s.solved())
    for (std::size_t i = 0; i < 3; ++i) s.position[i] = place[i] + moved[i];
  return s;
}

// A month at one epoch a second: little memory, the first epoch and the last ones are there, none twice.
TEST(PositionHistory, AMonthHasRoom) {
  PositionHistory history(100);
  constexpr int kEpochs = 2'592'000;
  for (int i = 0; i < kEpochs; ++i) {
    Solution s;
    s.time = kBegin + i;
    history.add(s);
  }
  const auto points = history.points();
  EXPECT_LE(points.size(), 200U);
  EXPECT_GE(points.size(), 150U);
  EXPECT_EQ(points.front().time - kBegin, 0.0);
  for (std::size_t i = 1; i < points.size(); ++i) {
    EXPECT_LT(points[i - 1].time, points[i].time);
    EXPECT_LT(points[i].time - points[i - 1].time, kEpochs / 40) << i;
  }
  for (int i = 0; i < 100; ++i)
    EXPECT_EQ(points[points.size() - 1 - static_cast<std::size_t>(i)].time - kBegin, kEpochs - 1 - i);
}

TEST(PositionHistory, PlacesAreToldFromTheFirstOne) {
  PositionHistory history;
  history.add(solutionAt(0, SolutionState::none));
  history.add(solutionAt(1, SolutionState::floating));
  const TrackPoint point = history.add(solutionAt(2.5, SolutionState::fixed, {1.0, -2.0, 0.5}));
  EXPECT_THAT(trackPointJson(point), HasSubstr(".500,5,1.00000,-2.00000,0.50000]"));
  EXPECT_THAT(trackPointJson(history.points().front()), testing::EndsWith(".000,0]"));
  // Fifty kilometres away the plane is 200 m above the ground; heights are compared instead.
  const Geodetic far{kPlace.latitude, kPlace.longitude + 0.0112, kPlace.height};
  Solution moved = solutionAt(3, SolutionState::fixed);
  static_cast<Vector3&>(moved.position) = toEarthFixed(far);
  EXPECT_NEAR(history.add(moved).up_m, 0.0, 1e-6);
}

TEST(StreamWatch, RatesSilencesAndGaps) {
  using Seconds = std::chrono::seconds;
  StreamWatch watch;
  const StreamWatch::Clock::time_point start{Seconds(1000)};
  const auto bytes = [&](int at, std::size_t count) {
    watch.take({RecordedEvent::Kind::bytes, {7, kBegin + at, std::vector<std::uint8_t>(count)}, {}},
               start + Seconds(at));
  };
  watch.take({RecordedEvent::Kind::begin, {7, kBegin, {}}, {"ssr", 4, 0}}, start);
  EXPECT_FALSE(watch.states(start + Seconds(2)).at(0).silent_s);
  for (int i = 0; i < 20; ++i) bytes(i, 500);
  const StreamState steady = watch.states(start + Seconds(20)).at(0);
  EXPECT_EQ(steady.name, "ssr");
  EXPECT_DOUBLE_EQ(steady.bytesPerSecond, 500.0);
  EXPECT_EQ(steady.gaps, 0);
  bytes(20, 0);  // a look at the clock
  bytes(44, 100);
  const StreamState after = watch.states(start + Seconds(50)).at(0);
  EXPECT_EQ(after.gaps, 1);
  EXPECT_DOUBLE_EQ(after.longestGap_s, 25.0);
  EXPECT_DOUBLE_EQ(*after.silent_s, 6.0);
  EXPECT_DOUBLE_EQ(after.bytesPerSecond, 10.0);
  EXPECT_EQ(after.bytes, 10100);
  watch.take({RecordedEvent::Kind::end, {7, kBegin + 60, {}}, {}}, start + Seconds(60));
  EXPECT_TRUE(watch.states(start + Seconds(60)).empty());
}

TEST(StateChanges, FixesAndPositionsGainedAndLost) {
  StateChanges changes;
  using enum SolutionState;
  const SolutionState states[] = {none, codes, floating, wideLane, fixed, fixed, floating, none, none};
  int at = 0;
  for (const SolutionState state : states) changes.take(solutionAt(10.0 * at++, state));
  ASSERT_EQ(changes.last().size(), 4U);
  const StateChange lost = changes.last()[1];
  EXPECT_EQ(lost.from, fixed);
  EXPECT_EQ(lost.to, floating);
  EXPECT_EQ(lost.lasted_s, 20.0);
  EXPECT_EQ(lost.why, "arcs are young");
  for (int i = 0; i < 200; ++i) changes.take(solutionAt(100 + i, i % 2 == 0 ? fixed : none));
  EXPECT_EQ(changes.last().size(), 50U);
  EXPECT_EQ(changes.count(), 204);
}

// Names of streams and log lines come from outside; no text of theirs becomes markup.
TEST(LivePage, TellsWhatIsMissingAndEscapesWhatComesFromOutside) {
  LiveView view;
  view.why = "no broadcast message has come";
  StreamState& stream = view.streams.emplace_back();
  stream.name = "<script>alert(1)</script>";
  stream.gaps = 2;
  stream.longestGap_s = 33.0;
  PageParts parts = livePageParts(view, {"2026 UTC  obs </pre><img src=x>"});
  EXPECT_THAT(parts["notice"], HasSubstr("No position yet: no broadcast message has come."));
  EXPECT_THAT(parts["streams"], HasSubstr("&lt;script&gt;"));
  EXPECT_THAT(parts["streams"], HasSubstr("2, longest 33.0 s"));
  for (const auto& [name, html] : parts) {
    EXPECT_EQ(html.find("<script"), std::string::npos) << name;
    EXPECT_EQ(html.find("<img"), std::string::npos) << name;
  }

  view.solution = solutionAt(0, SolutionState::fixed);
  view.sinceSolved_s = view.sinceEpoch_s = 0.4;
  EXPECT_EQ(livePageParts(view, {})["notice"], "");
  EXPECT_THAT(livePageParts(view, {})["position"], HasSubstr("45.83662361\u00B0 N"));
  view.sinceSolved_s = view.sinceEpoch_s = 12.0;
  EXPECT_THAT(livePageParts(view, {})["notice"], HasSubstr("No position for 12 s: no epoch has come since."));
  EXPECT_THAT(livePageParts(view, {})["position"], HasSubstr("no position</span>"));
  view.patience_s = 75.0;  // an epoch every 30 s
  EXPECT_EQ(livePageParts(view, {})["notice"], "");
}

}  // namespace
}  // namespace gnx
