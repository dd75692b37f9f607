// The check of a deployment says what starting it would say, ends nothing and writes nothing.

#include <gmock/gmock.h>

#include "GNX_SDK.h"
#include "GNX_SDK_ext.h"
#include "support/deployment.h"

namespace {

using namespace support;
using namespace testing;

struct DeploymentChecks : Test {
  DeploymentChecks() {
    deployment.withGrid = true;
    deployment.satellites = fullSky();
  }
  GNX_EXT::DeploymentCheck check() const {
    deployment.write();
    return GNX_EXT::checkDeployment(deployment.path("").string());
  }
  Deployment deployment;
};

TEST_F(DeploymentChecks, PassWhatStarts) {
  const GNX_EXT::DeploymentCheck result = check();
  EXPECT_TRUE(result.usable) << result.fault;
  EXPECT_EQ(result.fault, "");
  EXPECT_FALSE(fs::exists(deployment.path("log/tarvio.stat"))) << "nothing is written";
}

TEST_F(DeploymentChecks, NameTheFaultAndTheKey) {
  deployment.config["common"].removeMember("obscomb");
  const GNX_EXT::DeploymentCheck missing = check();
  EXPECT_FALSE(missing.usable);
  EXPECT_EQ(missing.fault, "item = common,parse item error!");
  EXPECT_THAT(missing.notes, Contains("item = common,key obscomb is missing or is not a string"));

  deployment.config["common"]["obscomb"] = "BOTH";
  EXPECT_EQ(check().fault, "cobs = BOTH,key = obscomb,only support RAW,IF and SF");
  EXPECT_THAT(GNX_EXT::checkDeployment("/nonexistent").fault, HasSubstr("/nonexistent: No such file"));
}

// The grid and the zonal tides are read once in the life of a process: a check must see those of its own
// deployment all the same.
TEST_F(DeploymentChecks, LookAtTablesThatTheProcessHasLoadedFromElsewhere) {
  deployment.write();
  const ChildResult child = runInChild([&] {
    fs::current_path(deployment.path(""));
    GNX_IO::sta_t station{};
    GNX_initialize("static", &station, 7.0, 30.0);
    const std::string log = deployment.statusLog();
    Deployment other;
    other.satellites = fullSky();
    other.write();
    writeFile(other.path("gpt2_1w.grd"), "no grid\n");
    std::printf("OTHER %s\n", GNX_EXT::checkDeployment(other.path("").string()).fault.c_str());
    if (deployment.statusLog() != log) std::printf("the log of the engine that runs was touched\n");
    if (!GNX_EXT::checkDeployment(deployment.path("").string()).usable) std::printf("its own is refused\n");
  });
  EXPECT_EQ(child.status, 0);
  EXPECT_THAT(child.output, HasSubstr("44 numbers expected"));
  EXPECT_THAT(child.output, Not(AnyOf(HasSubstr("was touched"), HasSubstr("is refused"))));
}

// What a host has registered for its end runs once, in the host.
TEST_F(DeploymentChecks, RunNothingOfTheHostInTheChild) {
  deployment.config.removeMember("files");
  deployment.write();
  const ChildResult child = runInChild([&] {
    std::atexit([] { writeFile("ended", ""); });
    fs::current_path(deployment.path(""));
    if (GNX_EXT::checkDeployment(".").usable) std::printf("usable\n");
  });
  EXPECT_EQ(child.output, "");
  EXPECT_FALSE(fs::exists(deployment.path("ended")));
}

}  // namespace
