// The extension header without an engine: answers instead of exits.

#include <gmock/gmock.h>

#include <clocale>

#include "Common/CallBackCenter.h"
#include "GNX_SDK_ext.h"
#include "support/files.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const GNX_IO::gtime_t kNoon{1593086400, 0.0};  // 2020-06-25 12:00

TEST(Extension, AnswersWrongPatternsWithASentence) {
  std::string name = "as before";
  EXPECT_THAT(GNX_EXT::expandPattern("[YYYY][DAY].pos", "ESBC", kNoon, name),
              HasSubstr("'DAY' is no word of a file name; words are Y, YY, YYYY, DDD, HH"));
  EXPECT_THAT(GNX_EXT::expandPattern("", "ESBC", kNoon, name), HasSubstr("empty"));
  EXPECT_THAT(GNX_EXT::expandPattern(std::string(300, 'x'), "ESBC", kNoon, name), HasSubstr("256"));
  EXPECT_THAT(GNX_EXT::expandPattern("[YYYY]", "ESBC", {-1, 0.0}, name), HasSubstr("1980"));
  EXPECT_EQ(name, "as before");
  EXPECT_EQ(GNX_EXT::expandPattern("[SITE]-[HH]", "a=b", kNoon, name), "");
  EXPECT_EQ(name, "a=b-12");
}

TEST(Extension, ReadsAPatternFromATable) {
  const support::TemporaryDirectory dir;
  const std::string table = dir.write("t", "mirva_file_name\nhourly [SITE][HH].pos\n");
  std::string pattern;
  EXPECT_EQ(GNX_EXT::readPattern(table, "hourly", pattern), "");
  EXPECT_EQ(pattern, "[SITE][HH].pos");
  EXPECT_THAT(GNX_EXT::readPattern(table, "daily", pattern), HasSubstr("'daily' is not in the table"));
  EXPECT_THAT(GNX_EXT::readPattern(dir.write("u", "x\n"), "hourly", pattern), HasSubstr("can not access"));
  EXPECT_THAT(GNX_EXT::readPattern("", "hourly", pattern), HasSubstr("not initialised"));
}

TEST(Extension, RefusesHeadersThatNoFormatHolds) {
  std::string text;
  GNX_EXT::OrbitFile sp3{.first = kNoon, .epochs = 1, .interval_s = 30.0, .satellites = {"G05"}};
  EXPECT_EQ(GNX_EXT::orbitFileHeader(sp3, text), "");
  EXPECT_THAT(text, HasSubstr("#dP2020  6 25 12  0  0.00000000       1 ORBIT  ITRF FIT  QVA\n"));
  sp3.interval_s = 0.0;
  EXPECT_THAT(GNX_EXT::orbitFileHeader(sp3, text), HasSubstr("interval"));
  sp3.satellites = {"G5"};
  EXPECT_THAT(GNX_EXT::orbitFileHeader(sp3, text), HasSubstr("'G5' is no satellite"));
  EXPECT_THAT(GNX_EXT::clockFileHeader({.made = kNoon}, text), HasSubstr("satellites"));
  EXPECT_EQ(GNX_EXT::clockFileHeader({.made = kNoon, .leapSeconds = 18, .satellites = {"G05"}}, text), "");
  EXPECT_THAT(text, HasSubstr("20200625 120000 UTC"));
}

TEST(Extension, NeedsAnEngineForItsOptionsAndStores) {
  std::vector<std::string> files;
  EXPECT_THAT(GNX_EXT::setOutputOptions("-outres"), HasSubstr("not initialised"));
  EXPECT_THAT(GNX_EXT::writeStoreFiles(kNoon, files), HasSubstr("not initialised"));
}

TEST(Extension, ListenersAreCalledInOrderAndMayFail) {
  std::vector<std::string> calls;
  const auto note = [&](const char* who) {
    return [&calls, who](const std::string& event, const auto& values) {
      calls.push_back(who + (" " + event) + " " + values.at("ratio"));
      if (*who == 'f') throw std::runtime_error("failed");
    };
  };
  const int first = GNX_EXT::addListener("fix_gained", note("first"));
  const int all = GNX_EXT::addListener("", note("all"));
  EXPECT_EQ(GNX_EXT::addListener("earthquake", note("never")), 0);
  EXPECT_EQ(GNX_EXT::addListener("", nullptr), 0);
  tarvio::CallBackCenter::m_evoke("fix_gained", {{"ratio", "3"}});
  tarvio::CallBackCenter::m_evoke("fix_lost", {{"ratio", "1"}});
  EXPECT_THAT(calls, ElementsAre("first fix_gained 3", "all fix_gained 3", "all fix_lost 1"));
  EXPECT_TRUE(GNX_EXT::removeListener(first));
  EXPECT_FALSE(GNX_EXT::removeListener(first));
  EXPECT_TRUE(GNX_EXT::removeListener(all));
  EXPECT_THAT(tarvio::CallBackCenter::m_task, IsEmpty());
}

}  // namespace
