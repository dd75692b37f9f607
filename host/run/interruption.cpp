// Notes the signals of a terminal and of a service manager.

#include "run/interruption.h"

#include <csignal>

namespace gnx {

namespace {

volatile std::sig_atomic_t noted = 0;

void note(int number) { noted = number; }

constexpr int kAwaited[] = {SIGINT, SIGTERM};

}  // namespace

Interruption::Interruption() {
  noted = 0;
  struct sigaction action {};
  action.sa_handler = note;
  action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
  for (const int number : kAwaited) sigaction(number, &action, nullptr);
}

Interruption::~Interruption() {
  for (const int number : kAwaited) std::signal(number, SIG_DFL);
}

int Interruption::signal() const { return noted; }

}  // namespace gnx
