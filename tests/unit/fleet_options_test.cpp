// The file of a fleet: what it gives, and what it says when something is wrong.

#include "fleet/fleet_options.h"

#include <gmock/gmock.h>

#include "commands/live_words.h"
#include "gnx/error.h"
#include "support/files.h"

namespace gnx::test {
namespace {

using support::TemporaryDirectory;
using testing::HasSubstr;

FleetOptions read(const TemporaryDirectory& dir, const std::string& json) {
  return readFleet(dir.write("stations.json", json), {liveOptionNames(), heldOptionNames(), liveOptionsOf});
}

TEST(FleetOptions, StationsTakeDefaultsAndShareStreamsByName) {
  const TemporaryDirectory dir;
  const FleetOptions fleet = read(dir, R"({
    "streams": {"EPH": "ntrip://c/E", "A": "ntrip://c/A", "B": "ntrip://c/B", "SPARE": "ntrip://c/S"},
    "defaults": {"eph": "EPH", "ssr": ["A", "B"], "obs": "ntrip://c/[SITE]", "fix": true, "systems": "GEC"},
    "stations": [{"name": "ROME"}, {"name": "OSLO", "ssr": "B", "fix": false, "obs": "tcp://oslo:5000"}],
    "nats": {"url": "nats://n1,nats://n2", "replicas": 3}})");
  ASSERT_EQ(fleet.stations.size(), 2);
  EXPECT_EQ(fleet.streams.size(), 3) << "nobody uses SPARE";
  const FleetStation& rome = fleet.stations[0];
  EXPECT_EQ(rome.options.obs, std::vector<std::string>{"ntrip://c/ROME"});
  EXPECT_TRUE(rome.options.deploy.resolution);
  ASSERT_EQ(rome.sources.size(), 4);
  EXPECT_EQ(rome.sources[0].stream, "");
  EXPECT_EQ(rome.sources[2].stream, "B");
  EXPECT_EQ(rome.sources[2].planned.source.rank, 1);
  const FleetStation& oslo = fleet.stations[1];
  EXPECT_FALSE(oslo.options.deploy.resolution);
  EXPECT_EQ(oslo.options.deploy.systems, "GEC");
  EXPECT_EQ(oslo.sources.size(), 3);
  EXPECT_EQ(fleet.cluster.replicas, 3);

  // A deployment of the station's own holds these choices, whatever the others have.
  const FleetOptions deployed = read(dir, R"({"streams": {"EPH": "ntrip://c/E"},
    "defaults": {"eph": "EPH", "obs": "ntrip://c/[SITE]", "fix": true, "systems": "GEC", "mode": "static"},
    "stations": [{"name": "ROME", "deployment": "site"}, {"name": "OSLO"}]})");
  EXPECT_EQ(deployed.stations[0].options.deployment, "site");
  EXPECT_FALSE(deployed.stations[0].options.given.mode);
  EXPECT_EQ(deployed.stations[1].options.deploy.systems, "GEC");
  EXPECT_EQ(deployed.stations[1].options.deploy.run.mode, Mode::static_);

  // A station of which nothing has changed is the same.
  const FleetOptions again =
      read(dir, R"({"streams": {"EPH": "ntrip://c/E", "A": "ntrip://c/A", "B": "ntrip://c/B"},
    "stations": [{"name": "ROME", "eph": "EPH", "ssr": ["A", "B"], "obs": "ntrip://c/ROME", "fix": true,
                  "systems": "GEC"}]})");
  EXPECT_TRUE(again.stations[0] == rome);
  EXPECT_FALSE(again.stations[0] == oslo);
}

TEST(FleetOptions, MistakesAreToldWithStationFieldAndRemedy) {
  const TemporaryDirectory dir;
  const std::string streams = R"({"streams": {"EPH": "ntrip://c/E"}, )";
  const std::pair<std::string, std::string> cases[] = {
      {R"({"stations": [{"name": "ROME", "obs": "tcp://a:1", "mod": "static"}]})",
       "station ROME: 'mod' is not known here; did you mean 'mode'?"},
      {R"({"stations": [{"name": "ROME", "obs": "tcp://a:1", "deployment": "site", "fix": true}]})",
       "station ROME: fix has no effect with --deployment"},
      {streams + R"("defaults": {"eph": "EHP"}, "stations": [{"name": "ROME", "obs": "tcp://a:1"}]})",
       "station ROME: eph: 'EHP' is no stream; did you mean 'EPH'?"},
      {R"({"stations": [{"name": "ROME", "obs": "tcp://a:1", "mode": "walking"}]})", "station ROME: mode: "},
      {R"({"stations": [{"name": "ROME", "obs": "tcp://me:secret@a:1"}]})", "station ROME: "},
      {R"({"stations": [{"name": "ROME", "obs": "file:///a.rtcm3"}]})", "is no stream of now; files are for"},
      {R"({"stations": [{"name": "ROME", "fix": true}]})", "station ROME: has no observations; give a URL"},
      {R"({"stations": [{"name": "ROME", "obs": "tcp://a:1", "out": "x"}]})", "'out' is not known here"},
      {R"({"stations": [{"name": "../ROME", "obs": "tcp://a:1"}]})", "station 1: '../ROME' is no name; take"},
      {R"({"stations": [{"name": "A", "obs": "tcp://a:1"}, {"name": "A", "obs": "tcp://a:2"}]})",
       "station A: is there twice"},
      {R"({"stations": []})", "stations: is no list of stations"},
      {R"({"station": [], "stations": []})", "'station' is not known here; did you mean 'stations'?"},
      {R"({"streams": {"A": "tcp://a:1", "B": "tcp://a:1"}})", "has the URL of A"},
      {R"({"stations": [{"name": "A", "obs": "tcp://a:1"}], "nats": {"url": "n", "replicas": 0}})",
       "replicas: is no whole number from 1 to 5"},
      {"[1, 2", "is no JSON"},
  };
  for (const auto& [json, sentence] : cases) {
    try {
      read(dir, json);
      ADD_FAILURE() << json;
    } catch (const InputError& e) {
      EXPECT_THAT(e.what(), HasSubstr(sentence));
      EXPECT_THAT(e.what(), HasSubstr("stations.json"));
      EXPECT_THAT(e.what(), testing::Not(HasSubstr("secret@")));
    }
  }
}

}  // namespace
}  // namespace gnx::test
