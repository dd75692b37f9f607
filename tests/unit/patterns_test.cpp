// File names from patterns and the table that they are kept in; the extension header without an engine.

#include "Common/Patterns.h"

#include <gmock/gmock.h>

#include "Common/CallBackCenter.h"
#include "Common/ComTime.h"
#include "GNX_SDK_ext.h"
#include "support/exit_message.h"
#include "support/files.h"

namespace {

using tarvio::findkey;
using tarvio::Patterns;
using namespace testing;

std::string expanded(const std::string& pattern, int mjd, double sod, const std::string& station = "ESBC") {
  std::string name, word;
  return Patterns::s_expand(pattern, station, mjd, sod, name, word) ? name : "unknown " + word;
}

// 2020-06-25 is day 177, GPS week 2111, a Thursday.
TEST(PatternWords, AreThoseOfTheEpoch) {
  const int mjd = tarvio::md_julday(2020, 6, 25);
  EXPECT_EQ(expanded("[SITE]_[YYYY][DDD][HH].pos", mjd, 9.99 * 3600.0), "ESBC_202017709.pos");
  EXPECT_EQ(expanded("[Y][YY]-[WWWW]-[GPSW]-[WWWWD]-[MJD]-[MM]", mjd, 61.0), "020-2111-2111-21114-59025-01");
  EXPECT_EQ(expanded("[STAT]/[DDD]", tarvio::md_julday(2019, 1, 3), 0.0, "STAT=a=b"), "a=b/003");
  EXPECT_EQ(expanded("plain", mjd, 0.0), "plain");
  EXPECT_EQ(expanded("", mjd, 0.0), "");
}

TEST(PatternWords, DaysAndYearsEndWhereTheyEnd) {
  const int last = tarvio::md_julday(2020, 12, 31);
  EXPECT_EQ(expanded("[YYYY][DDD][HH][MM]", last, 86399.999), "20203662359");
  EXPECT_EQ(expanded("[YYYY][DDD][HH][MM]", last, 86400.0), "20210010000");
  EXPECT_EQ(expanded("[WWWWD]", tarvio::md_julday(1980, 1, 6), 0.0), "00000");
}

TEST(PatternWords, UnknownOnesAreNamed) {
  EXPECT_EQ(expanded("[YYYY][yyyy]", 59025, 0.0), "unknown yyyy");
  EXPECT_EQ(expanded("[]", 59025, 0.0), "unknown ");
  EXPECT_EQ(expanded("[YYYY]_[DDD", 59025, 0.0), "unknown DDD") << "a bracket that never closes";
  EXPECT_THAT(Patterns::s_words(), Contains("SITE"));
}

struct PatternTable : testing::Test {
  std::string table(const std::string& block) {
    return m_dir.write("table.txt", "Interval = 30 ! s\nmirva_file_name   ! keyword, pattern\n" + block);
  }
  support::TemporaryDirectory m_dir;
  Patterns m_patterns;
  std::string m_name;
};

TEST_F(PatternTable, HoldsWhatStandsInItsBlock) {
  m_patterns.readFile(
      table("rnxo  [SITE][DDD]0.[YY]o   # observations\n\n! remark\nsp3 qva[WWWWD].sp3\n"
            "end\nlate name\n"));
  EXPECT_EQ(m_patterns.m_count(), 2);
  m_patterns.m_getPatternName(-1, "rnxo", "esbc", 59025, 0.0, m_name);
  EXPECT_EQ(m_name, "esbc1770.20o");
  m_patterns.m_getPatternName(1, "", "", 59025, 0.0, m_name);
  EXPECT_EQ(m_name, "qva21114.sp3");
}

TEST_F(PatternTable, IsBoundedAndCut) {
  std::string rows;
  for (int i = 0; i < Patterns::kMaxPatterns; ++i)
    rows += "k" + std::to_string(i) + " " + std::string(300, 'x') + "\n";
  m_patterns.readFile(table(rows));
  m_patterns.m_getPatternName(-1, "k127", "", 59025, 0.0, m_name);
  EXPECT_EQ(m_name.size(), 256U);
  EXPECT_EXIT_MESSAGE(m_patterns.readFile(table(rows + "one more\n")),
                      "ERROR\\(get_file_name\\):too many files defined in mirva_file_name!\n");
}

TEST_F(PatternTable, EndsTheProcessOnWhatItCannotExpand) {
  EXPECT_EXIT_MESSAGE(
      m_patterns.readFile("/nowhere/table"),
      "ERROR\\(s_getPatternName\\) can not access to /nowhere/table file!\n(.|\n)*exit by code");
  EXPECT_EXIT_MESSAGE(m_patterns.readFile(m_dir.write("none.txt", "! mirva_file_name\n")),
                      "ERROR\\(PatternName\\):can not access mrvfln file!\n");
  m_patterns.readFile(table("daily [YYYY][DAY].pos\n"));
  EXPECT_EXIT_MESSAGE(m_patterns.m_getPatternName(-1, "hourly", "", 59025, 0.0, m_name),
                      "keyword = hourly,keyword not defined in mirva_file_name\n");
  EXPECT_EXIT_MESSAGE(m_patterns.m_getPatternName(5, "daily", "", 59025, 0.0, m_name),
                      "word = DAY,keyword = daily,word is not defined in keyword\n");
}

TEST(KeywordLines, GiveTheirValueTheFallbackOrEmpty) {
  std::istringstream in("Interval step = 5\nInterval = 30 # s\r\nName =  ! none\nblock\nrow 1\n");
  std::string value, row;
  EXPECT_TRUE(findkey(in, "block", "", value));
  EXPECT_EQ(value, "EMPTY");
  EXPECT_TRUE(std::getline(in, row) && row == "row 1") << "behind the line";
  EXPECT_TRUE(findkey(in, "Interval", "10", value)) << "from the beginning again";
  EXPECT_EQ(value, "30");
  EXPECT_TRUE(findkey(in, "Name", "x", value));
  EXPECT_EQ(value, "EMPTY");
  EXPECT_FALSE(findkey(in, "interval", "10", value));
  EXPECT_EQ(value, "10");
  EXPECT_FALSE(findkey(in, "none", "", value));
  EXPECT_EQ(value, "EMPTY");
}

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
