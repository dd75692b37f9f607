#pragma once
/// \file live_runs.h
/// Programs that run beside a test, and the simulated sky that they are given.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "run/run_files.h"
#include "support/child.h"
#include "support/files.h"
#include "support/test_caster.h"

namespace support {

inline const gnx::GpsTime kStart = gnx::toGpsTime({2026, 11, 21, 4, 0, 0.0});
inline const std::string kDate = "2026-11-21T04:00:00";
/// Eight minutes of a sky at 1 Hz as one stream, made once.
inline const std::filesystem::path& sky() {
  static const TemporaryDirectory dir;
  static const std::filesystem::path path = [] {
    const ChildResult made = runProgram("simulate " + dir.path().string() + " --date " + kDate +
                                        " --hours 0.134 --interval 1 --clock-interval 5 --rtcm");
    EXPECT_EQ(made.status, 0) << made.output;
    return dir.path();
  }();
  return path;
}
inline std::string stream() { return (sky() / "stream.rtcm3").string(); }

using Positions = std::map<gnx::GpsTime, gnx::SolutionEpoch>;
inline Positions positionsIn(const std::filesystem::path& dir) {
  Positions positions;
  for (const gnx::SolutionEpoch& e : gnx::readSolutionCsv(dir / "solution.csv"))
    if (e.status > 0) positions[e.time] = e;
  return positions;
}

/// A program that runs beside the test.
class Running {
 public:
  explicit Running(const std::string& arguments) : m_process(fork()) {
    if (m_process == 0) {
      execl("/bin/sh", "sh", "-c", ("exec " + kProgram + " " + arguments).c_str(), nullptr);
      _exit(127);
    }
  }
  ~Running() {
    if (m_process > 0) {
      kill(m_process, SIGKILL);
      waitpid(m_process, nullptr, 0);
    }
  }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;
  void signal(int number) const { kill(m_process, number); }
  /// The processes that it has started, the eldest first.
  std::vector<pid_t> children() const {
    const std::string task = std::to_string(m_process);
    std::ifstream list("/proc/" + task + "/task/" + task + "/children");
    std::vector<pid_t> all;
    for (pid_t child = 0; list >> child;) all.push_back(child);
    return all;
  }
  /// The engine's process, when it is the only one; 0 without one.
  pid_t worker() const {
    const auto all = children();
    return all.empty() ? 0 : all.front();
  }
  /// Exit status; -1 when it has not ended in time.
  int await(double seconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    for (int status = 0; std::chrono::steady_clock::now() < end;
         std::this_thread::sleep_for(std::chrono::milliseconds(10))) {
      if (waitpid(m_process, &status, WNOHANG) != m_process) continue;
      m_process = 0;
      return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return -1;
  }

 private:
  pid_t m_process;
};

/// What a run says of itself on a path; "" when nobody answers.
inline std::string pageOf(int port, const std::string& path, const std::string& method = "GET") {
  const std::atomic<bool> stop{false};
  std::string text;
  try {
    const auto link = gnx::connectTcp("127.0.0.1", port, false, "", stop);
    link->write(method + " " + path + " HTTP/1.1\r\n\r\n");
    std::vector<std::uint8_t> piece(65536);
    while (const std::size_t n = link->read(piece, 1000))
      text.append(piece.begin(), piece.begin() + static_cast<long>(n));
  } catch (const gnx::ConnectionError&) {  // the end
  }
  return text;
}

/// A port that nobody listens on.
inline int freePort() { return gnx::ListeningSocket("127.0.0.1", 0).port(); }

template <class Condition>
bool becomes(double seconds, Condition&& condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (std::chrono::steady_clock::now() < end && !condition())
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  return condition();
}

}  // namespace support
