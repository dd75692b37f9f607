// The loader ends the process on bad configuration by contract. Here it does so in a child, whose messages
// come back through a pipe, each ended by a zero byte; the last of them says how it went.

#include "Interface/DeploymentTrial.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <exception>
#include <stdexcept>

#include "Common/Logtrace.h"
#include "Interface/Controller.h"

namespace tarvio {

namespace {

constexpr char kLoaded[] = "\x02loaded", kEnded[] =
                                             "\x02"
                                             "ended";

int s_toParent = -1;

void s_send(const char* text) {
  for (std::size_t left = std::strlen(text) + 1; left > 0;) {
    const ssize_t n = write(s_toParent, text, left);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) _exit(3);
    text += n;
    left -= static_cast<std::size_t>(n);
  }
}

void s_report(const char* text) { s_send(text == nullptr ? kEnded : text); }

[[noreturn]] void s_tryInChild(const char* directory, int toParent) {
  s_toParent = toParent;
  const int nowhere = open("/dev/null", O_WRONLY);
  dup2(nowhere, STDOUT_FILENO);
  dup2(nowhere, STDERR_FILENO);
  Logtrace::s_divert(s_report);
  if (chdir(directory) != 0) {
    s_send((std::string(directory) + ": " + std::strerror(errno)).c_str());
    s_send(kEnded);
    _exit(1);
  }
  try {
    Controller::s_tryConfiguration();
    s_send(kLoaded);
  } catch (const std::exception& failure) {
    s_send(failure.what());
    s_send(kEnded);
  }
  _exit(0);
}

std::string s_readAll(int from) {
  std::string text;
  std::array<char, 4096> part{};
  for (ssize_t n; (n = read(from, part.data(), part.size())) != 0;) {
    if (n < 0 && errno != EINTR) break;
    if (n > 0) text.append(part.data(), static_cast<std::size_t>(n));
  }
  return text;
}

/// Takes the notes out of what came. \return how it ended
std::string s_takeNotes(const std::string& text, std::vector<std::string>& notes) {
  std::string last;
  for (std::size_t at = 0, end; (end = text.find('\0', at)) != std::string::npos; at = end + 1) {
    last = text.substr(at, end - at);
    while (!last.empty() && last.back() == '\n') last.pop_back();
    if (!last.starts_with('\x02')) notes.push_back(last);
  }
  return last;
}

}  // namespace

std::string s_checkDeployment(const std::string& directory, GNX_EXT::DeploymentCheck& check) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error(std::string("no pipe: ") + std::strerror(errno));
  const pid_t child = fork();
  if (child == 0) s_tryInChild(directory.c_str(), ends[1]);
  const int error = errno;
  close(ends[1]);
  const std::string text = child < 0 ? "" : s_readAll(ends[0]);
  close(ends[0]);
  if (child < 0) throw std::runtime_error(std::string("no child process: ") + std::strerror(error));
  while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
  const std::string end = s_takeNotes(text, check.notes);
  if (end == kLoaded) return "";
  if (end != kEnded || check.notes.empty()) return "the engine died while it read the configuration";
  std::string fault = std::move(check.notes.back());
  check.notes.pop_back();
  return fault;
}

}  // namespace tarvio
