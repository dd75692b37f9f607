#include "Common/Log.h"

#include <gmock/gmock.h>

#include <thread>

#include "Common/ComTime.h"
#include "Common/FileLock.h"
#include "Common/Logtrace.h"
#include "support/child.h"
#include "support/files.h"

namespace {

namespace fs = std::filesystem;
using tarvio::Log;
using tarvio::Logtrace;

struct LogTest : testing::Test {
  ~LogTest() override {
    Logtrace::s_setFiles("", "", false, 0);
    Logtrace::s_defaultlogger.m_closeLog(m_a);
    Logtrace::s_defaultlogger.m_closeLog(m_b);
  }
  support::TemporaryDirectory m_home;
  const fs::path m_dir = m_home.path();
  const std::string m_a = (m_dir / "a").string(), m_b = (m_dir / "b").string();
};

TEST_F(LogTest, TheFirstWordChoosesTheFile) {
  Log log;
  log.m_openLog(m_a);
  log.m_openLog(m_b);
  log.m_wtMsg("@%s  two blanks: one goes\n", m_a.c_str());
  log.m_wtMsg("@%s", m_a.c_str());              // nothing behind the tag
  log.m_wtMsg("no tag\n");                      // dropped
  log.m_wtMsg("@%s/none lost\n", m_a.c_str());  // no such file
  log.m_wtMsg("@ALL everywhere\n");
  log.m_openLog(m_a);  // a present name is left alone
  EXPECT_EQ(support::readFile(m_a), " two blanks: one goes\n@ALL everywhere\n");
  EXPECT_EQ(support::readFile(m_b), "@ALL everywhere\n");
  log.m_closeLog(m_a);
  log.m_wtMsg("@%s late\n", m_a.c_str());
  EXPECT_EQ(support::readFile(m_a).find("late"), std::string::npos);
  log.m_openLog((m_dir / "no/such/directory").string());
  EXPECT_FALSE(log.m_lexist((m_dir / "no/such/directory").string()));
}

TEST_F(LogTest, AnOverlongMessageIsCut) {
  Log log;
  log.m_openLog(m_a);
  log.m_wtMsg("@%s %s", m_a.c_str(), std::string(100000, 'x').c_str());
  EXPECT_NEAR(static_cast<double>(support::readFile(m_a).size()), 39500.0, 499.5);
  Logtrace::s_defaultlogger.m_openLog(m_b);
  Logtrace::s_setFiles(m_b.c_str(), "", false, 0);
  Logtrace::m_logStat(true, "%s", std::string(100000, 'y').c_str());
  EXPECT_EQ(support::readFile(m_b).back(), '\n');
}

TEST_F(LogTest, RollingKeepsTheNameAndDatesTheOldFile) {
  Log log;
  log.m_openLog(m_a, 1L);
  log.m_wtMsg("@%s first\n", m_a.c_str());
  const long until = tarvio::s_wallClock() + 2;
  while (tarvio::s_wallClock() < until) std::this_thread::sleep_for(std::chrono::milliseconds(20));
  log.m_wtMsg("@%s second\n", m_a.c_str());
  EXPECT_EQ(support::readFile(m_a), "second\n");
  std::vector<std::string> old;
  for (const auto& entry : fs::directory_iterator(m_dir))
    if (entry.path() != m_a) old.push_back(entry.path().filename().string());
  ASSERT_EQ(old.size(), 1U);
  EXPECT_THAT(old[0], testing::MatchesRegex(R"(a\.[0-9]{8}-[0-9]{2}:[0-9]{2}:[0-9]{2})"));
  EXPECT_EQ(support::readFile(m_dir / old[0]), "first\n");
}

TEST_F(LogTest, TheFileOfAFormerProcessIsKeptBeside) {
  support::writeFile(m_a, "exit by code\n");
  Log log;
  log.m_openLog(m_a);
  log.m_wtMsg("@%s new\n", m_a.c_str());
  EXPECT_EQ(support::readFile(m_a), "new\n");
  EXPECT_EQ(support::readFile(m_a + ".1"), "exit by code\n");
  log.m_closeLog(m_a);
  log.m_openLog(m_a);
  EXPECT_EQ(support::readFile(m_a + ".1"), "new\n") << "the last one counts";
}

TEST_F(LogTest, ABoundKeepsTwoFilesAndTheLastSpans) {
  Log log;
  log.m_setBound(1000);
  log.m_openLog(m_a);
  log.m_openLog(m_b, 1L);
  for (int i = 0; i < 30; ++i)
    support::writeFile(m_b + ".202611" + std::to_string(10 + i) + "-00:00:00", "former");
  for (int i = 0; i < 100; ++i) log.m_wtMsg("@%s line %094d\n", m_a.c_str(), i);
  EXPECT_EQ(support::readFile(m_a + ".1").substr(0, 99), "line " + std::string(92, '0') + "90");
  EXPECT_EQ(support::readFile(m_a), "") << "ten lines a file";
  const long until = tarvio::s_wallClock() + 2;
  while (tarvio::s_wallClock() < until) std::this_thread::sleep_for(std::chrono::milliseconds(20));
  log.m_wtMsg("@%s new\n", m_b.c_str());
  std::vector<std::string> spans;
  for (const auto& entry : fs::directory_iterator(m_dir))
    if (entry.path().string().starts_with(m_b + ".")) spans.push_back(entry.path().string());
  EXPECT_EQ(spans.size(), 24U);
  EXPECT_THAT(spans, testing::Not(testing::Contains(m_b + ".20261115-00:00:00")));
  EXPECT_THAT(spans, testing::Contains(m_b + ".20261139-00:00:00"));
}

TEST_F(LogTest, ThreadsDoNotMixTheirLines) {
  Log log;
  log.m_openLog(m_a);
  std::vector<std::thread> threads;
  for (char c = 'a'; c < 'e'; ++c)
    threads.emplace_back([&log, this, c] {
      for (int i = 0; i < 200; ++i) log.m_wtMsg("@%s %s\n", m_a.c_str(), std::string(60, c).c_str());
    });
  for (std::thread& thread : threads) thread.join();
  const std::vector<std::string> lines = support::linesOf(support::readFile(m_a));
  EXPECT_EQ(lines.size(), 800U);
  for (const std::string& line : lines) ASSERT_EQ(line, std::string(60, line[0]));
}

TEST_F(LogTest, FrontWritesHeadsAndObeysTheLevel) {
  Logtrace::s_defaultlogger.m_openLog(m_a);
  Logtrace::s_defaultlogger.m_openLog(m_b);
  Logtrace::s_setFiles(m_a.c_str(), m_b.c_str(), true, 2);
  Logtrace::m_logTrace(1, "below\n");
  Logtrace::m_logTrace(4, "trouble %d\n", 7);
  Logtrace::m_logNoFormatTrace("plain\n");
  Logtrace::m_logtagTrace("SLIP", "one\n");
  Logtrace::m_logStat(true, "two");
  Logtrace::m_logStatInfo("three\n");
  const std::string stamp = R"(\[[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2} LOCAL\])";
  EXPECT_THAT(support::readFile(m_b), testing::MatchesRegex(stamp + "-\\[ERROR\\]-trouble 7\nplain\n"));
  EXPECT_THAT(support::readFile(m_a),
              testing::MatchesRegex(stamp + "-\\[SLIP\\]-one\ntwo\n" + stamp + " three\n"));
  Logtrace::s_setFiles(m_a.c_str(), m_b.c_str(), false, 0);
  Logtrace::m_logTrace(4, "tracing is off\n");
  EXPECT_EQ(support::readFile(m_b).find("tracing is off"), std::string::npos);
}

TEST_F(LogTest, FileLocksExcludeOtherHolders) {
  int first = -1, second = -1;
  ASSERT_EQ(tarvio::filesync_lock(m_a.c_str(), &first), 1);
  testing::internal::CaptureStdout();
  EXPECT_EQ(tarvio::filesync_lock_nosync(m_a.c_str(), &second), 0);
  EXPECT_NE(testing::internal::GetCapturedStdout().find("file = " + m_a + ",can't  mutex file\n"),
            std::string::npos);
  EXPECT_EQ(second, -1);
  tarvio::filesync_unlock(first);
  EXPECT_EQ(tarvio::filesync_lock_nosync(m_a.c_str(), &second), 1);
  tarvio::filesync_unlock(second);
  const auto result = support::runInChild([this] {
    int fd = -1;
    tarvio::filesync_lock((m_dir / "no/such").string().c_str(), &fd);
  });
  EXPECT_EQ(result.status, 1);
}

}  // namespace
