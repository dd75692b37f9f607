// Events of the engine as a host hears them through the boundary: on a simulated sky with a satellite that
// goes away, an empty epoch and restarts.

#include <gmock/gmock.h>

#include "GNX_SDK_ext.h"
#include "support/faulty_run.h"

namespace gnx::test {
namespace {

using namespace testing;

/// Prints every event on standard output, in the process of the run.
class PrintedEvents {
 public:
  PrintedEvents()
      : m_number(GNX_EXT::addListener("", [](const std::string& event, const auto& values) {
          std::printf("EVENT %s", event.c_str());
          for (const auto& [key, value] : values) std::printf(" %s=%s", key.c_str(), value.c_str());
          std::printf("\n");
        })) {}
  ~PrintedEvents() { GNX_EXT::removeListener(m_number); }

 private:
  int m_number;
};

/// The events of a name, in order; `from` and `to` in seconds of the run, which begins at 06:00.
std::vector<std::string> events(const FaultyRun& run, const std::string& name, double from = -1e9,
                                double to = 1e9) {
  std::vector<std::string> found;
  for (const std::string& line : run.output) {
    if (!line.starts_with("EVENT " + name + " ")) continue;
    const double t = std::stod(line.substr(line.find(" sod=") + 5)) - 21600.0;
    if (t >= from && t <= to) found.push_back(line);
  }
  return found;
}

struct EngineEvents : testing::Test {
  static constexpr double kGone = 3600.0, kBack = 3720.0, kEmpty = 4500.0, kRestart = 5400.0;
  const SatName sat = twoHourSky().highest('G', 0.0, 7200.0);
  Faults faults{.observations =
                    [this](ObsEpoch& epoch, double t) {
                      if (t == kEmpty) epoch.sats.clear();
                      if (t >= kGone && t < kBack)
                        std::erase_if(epoch.sats, [&](const SatObs& s) { return s.sat == sat; });
                      return true;
                    },
                .before =
                    [](double t) {
                      if (t == 0.0 && !GNX_EXT::setOutputOptions("-outaccount").empty())
                        throw std::runtime_error("options are refused");
                      if (t == kRestart) GNX_restart();
                    }};
};

TEST_F(EngineEvents, TellWhatHappenedAndWhy) {
  const PrintedEvents heard;
  const FaultyRun run(twoHourSky(), faults);
  EXPECT_THAT(events(run, "configuration"),
              ElementsAre(AllOf(HasSubstr(" file=ppp.json interval=30.000 "), HasSubstr(" systems=GEC"))));
  EXPECT_THAT(events(run, "restart"),
              ElementsAre(AllOf(HasSubstr("reason=request"), HasSubstr("sod=26970.000"))))
      << "at the time of the epoch before";

  EXPECT_THAT(events(run, "satellite_out", kGone, kGone),
              Contains(AllOf(HasSubstr("satellite=" + sat), HasSubstr("reason=unobserved"))));
  EXPECT_THAT(events(run, "satellite_in", kBack, kBack), Contains(HasSubstr("satellite=" + sat)));
  const auto out = events(run, "satellite_out", kEmpty, kEmpty),
             in = events(run, "satellite_in", kEmpty + 30, kEmpty + 30);
  EXPECT_GT(out.size(), 15U);
  EXPECT_THAT(out, Each(HasSubstr("reason=unobserved")));
  EXPECT_EQ(in.size(), out.size());
  EXPECT_THAT(events(run, "satellite_out", 60.0), Contains(HasSubstr("reason=lowelev"))) << "satellites set";

  EXPECT_THAT(events(run, "fix_lost", kEmpty, kEmpty),
              ElementsAre(AllOf(HasSubstr("reason=norows"), HasSubstr("status=0"))));
  EXPECT_THAT(events(run, "fix_lost", kRestart, kRestart), ElementsAre(HasSubstr("reason=restart")));
  EXPECT_GE(events(run, "fix_gained").size(), 3U) << "at first, behind the empty epoch, behind the restart";
  EXPECT_THAT(events(run, "fix_gained"), Each(AllOf(HasSubstr(" fixed="), HasSubstr(" ratio="))));
}

TEST_F(EngineEvents, ChangeNothingAndOnlyListenersHearThem) {
  const FaultyRun silent(twoHourSky(), faults);
  EXPECT_THAT(events(silent, "satellite_in"), IsEmpty());
  const PrintedEvents heard;
  FaultyRun(twoHourSky(), faults).expectTheSolutionsOf(silent);
}

TEST_F(EngineEvents, PeriodicRestartsAreTheirs) {
  const PrintedEvents heard;
  const FaultyRun run(twoHourSky(), {},
                      {.resolution = false, .overrides = {{"common.ambmode", "INST:1800"}}});
  EXPECT_THAT(events(run, "restart"),
              ElementsAre(HasSubstr("reason=interval sod=23400"), HasSubstr("reason=interval sod=25200"),
                          HasSubstr("reason=interval sod=27000")));
}

}  // namespace
}  // namespace gnx::test
