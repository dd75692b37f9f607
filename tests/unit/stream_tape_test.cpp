// The last minutes of a stream in files, behind a run that was killed.

#include "fleet/stream_tape.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <vector>

#include "support/files.h"

namespace gnx::test {
namespace {

const GpsTime kStart{1'800'000'000, 0.25};

std::vector<double> ages(const StreamTape& tape, const GpsTime& now) {
  std::vector<double> found;
  tape.replay(now, [&](const GpsTime& arrival, std::span<const std::uint8_t> bytes) {
    EXPECT_EQ(bytes.size(), 3U + bytes[0] % 5U);
    found.push_back(now - arrival);
  });
  return found;
}

TEST(StreamTape, GivesTheLastMinutesInOrderWhateverWasLeftUnfinished) {
  const support::TemporaryDirectory dir;
  const auto file = dir.path() / "SSR";
  GpsTime now = kStart;
  {
    StreamTape tape(file);
    EXPECT_TRUE(ages(tape, now).empty());
    for (int i = 0; i < 1300; ++i, now = now + 1.0)
      tape.write(now, std::vector<std::uint8_t>(3U + static_cast<unsigned>(i) % 5U,
                                                static_cast<std::uint8_t>(i % 5)));
  }
  for (int run = 0; run < 3; ++run) {  // one that dies before it hears anything costs nothing
    const std::vector<double> found = ages(StreamTape(file), now);
    ASSERT_GE(found.size(), 300U);
    ASSERT_LE(found.size(), 600U);
    EXPECT_EQ(found.back(), 1.0);
    EXPECT_TRUE(std::is_sorted(found.rbegin(), found.rend()));
  }
  for (const char* part : {".0", ".1"}) {
    const std::string path = file.string() + part;
    std::filesystem::resize_file(path, std::filesystem::file_size(path) - 2);
  }
  EXPECT_GE(ages(StreamTape(file), now).size(), 299U);
  EXPECT_TRUE(ages(StreamTape(file), now + 3600.0).empty());
}

}  // namespace
}  // namespace gnx::test
