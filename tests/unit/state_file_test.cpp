// The state of a live run in its file: whole or refused, and read once.

#include "live/state_file.h"

#include <gtest/gtest.h>

#include "fleet/packed_state.h"
#include "gnx/error.h"
#include "live/state_keeper.h"
#include "support/files.h"

namespace gnx::test {
namespace {

TEST(StateFile, IsWholeOrRefusedAndTakenOnce) {
  const support::TemporaryDirectory dir;
  const auto path = dir.path() / "live.state";
  const std::string content("any\n\0bytes", 10);
  EXPECT_EQ(takeStateFile(path), std::nullopt);
  writeStateFile(path, "older");
  writeStateFile(path, content);
  EXPECT_EQ(readStateFile(path), content);
  EXPECT_EQ(takeStateFile(path), content);
  EXPECT_EQ(takeStateFile(path), std::nullopt);

  writeStateFile(path, content);
  const std::string whole = support::readFile(path);
  for (const std::string& damaged :
       {whole.substr(0, whole.size() - 1), whole + "x", std::string(), "y" + whole}) {
    support::writeFile(path, damaged);
    EXPECT_THROW(takeStateFile(path), InputError) << damaged.size();
    EXPECT_EQ(takeStateFile(path), std::nullopt) << "it is tried once";
  }
  EXPECT_THROW(writeStateFile(dir.path() / "none" / "live.state", content), InputError);
}

// A station comes back to a node that knew it a while ago: the newer of the two states counts.
TEST(StateFile, AStateOfAnotherMachineTakesThePlaceOfAnOlderOne) {
  const support::TemporaryDirectory dir;
  const auto stateAt = [](double second) {
    return bytesOf({"sources", GpsTime{2445, 0.0} + second, std::string(100000, '\0'), "memory"});
  };
  const auto path = dir.path() / "station" / "live.state";
  placeState(dir.path() / "station", stateAt(20.0));
  placeState(dir.path() / "station", stateAt(10.0));
  EXPECT_EQ(readStateFile(path), stateAt(20.0));
  support::writeFile(path, "damaged");
  placeState(dir.path() / "station", stateAt(10.0));
  EXPECT_EQ(readStateFile(path), stateAt(10.0));
  placeState(dir.path() / "station", "no state");
  EXPECT_EQ(readStateFile(path), stateAt(10.0));

  const std::string packed = packedState(stateAt(10.0));
  EXPECT_LT(packed.size(), 2000U);
  EXPECT_EQ(unpackedState(packed), stateAt(10.0));
  std::string wrong = packed;
  wrong[packed.size() / 2] ^= 0x20;
  EXPECT_EQ(unpackedState(wrong), std::nullopt);
  for (const std::string& other : {std::string(), packed.substr(0, 30), std::string(100, '\x7f')})
    EXPECT_EQ(unpackedState(other), std::nullopt);
}

}  // namespace
}  // namespace gnx::test
