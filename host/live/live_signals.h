#pragma once
/// \file live_signals.h
/// Signals of a live run. They are taken between two pieces of work, and those who are started inherit that
/// they do not hear them: the engine's process ends with its host, not before.

namespace gnx {

enum class LiveSignal { none, end, reload };

class LiveSignals {
 public:
  /// From now on SIGTERM, SIGINT and SIGHUP wait; SIGPIPE does nothing.
  LiveSignals();
  /// What has come since the last call.
  LiveSignal take();

 private:
  bool m_end = false;
};

}  // namespace gnx
