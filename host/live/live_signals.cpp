// Blocks signals and takes them when they are asked for.

#include "live/live_signals.h"

#include <csignal>
#include <ctime>
#include <initializer_list>

namespace gnx {

namespace {

sigset_t awaited() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&signals, number);
  return signals;
}

}  // namespace

LiveSignals::LiveSignals() {
  const sigset_t signals = awaited();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
}

LiveSignal LiveSignals::take() {
  const sigset_t signals = awaited();
  const timespec now{0, 0};
  bool reload = false;
  for (int number = 0; (number = sigtimedwait(&signals, nullptr, &now)) > 0;)
    (number == SIGHUP ? reload : m_end) = true;
  return m_end ? LiveSignal::end : reload ? LiveSignal::reload : LiveSignal::none;
}

}  // namespace gnx
