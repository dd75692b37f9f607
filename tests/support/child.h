#pragma once
/// Runs code in a forked child and keeps what it wrote on standard output: the engine reports bad
/// configuration by text and exit status, and ends the process.

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <string>
#include <utility>

#include "support/places.h"

namespace support {

struct ChildResult {
  int status = -1;     ///< exit status, 128 + signal when killed
  std::string output;  ///< standard output
};

template <class Body>
ChildResult runInChild(Body&& body) {
  int ends[2];
  if (pipe(ends) != 0) return {};
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]);
    close(ends[1]);
    int code = 0;
    try {
      std::forward<Body>(body)();
    } catch (const std::exception& e) {  // must not run on as a second test program
      std::printf("exception: %s\n", e.what());
      code = 99;
    }
    std::fflush(stdout);
    _exit(code);
  }
  close(ends[1]);
  ChildResult result;
  char buffer[4096];
  for (ssize_t n; (n = read(ends[0], buffer, sizeof buffer)) > 0;)
    result.output.append(buffer, static_cast<std::size_t>(n));
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return result;
}

/// Runs the program; standard error goes to the output.
inline ChildResult runProgram(const std::string& arguments) {
  return runInChild([&] {
    dup2(STDOUT_FILENO, STDERR_FILENO);
    execl("/bin/sh", "sh", "-c", (support::kProgram + " " + arguments).c_str(), nullptr);
  });
}

}  // namespace support
