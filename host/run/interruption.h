#pragma once
/// \file interruption.h
/// Signals that ask a run to end: it writes what it has so far first.

namespace gnx {

/// While it lives, SIGINT and SIGTERM are noted instead of ending the process; a second one of a kind ends
/// it.
class Interruption {
 public:
  Interruption();
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  /// The signal that came, 0 when none did.
  int signal() const;
};

}  // namespace gnx
