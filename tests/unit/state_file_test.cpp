// The state of a live run in its file: whole or refused, and read once.

#include "live/state_file.h"

#include <gtest/gtest.h>

#include "gnx/error.h"
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

}  // namespace
}  // namespace gnx::test
