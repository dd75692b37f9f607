#pragma once
/// \file timed_file.h
/// A file of RTCM as a stream: its bytes in the pieces in which they were sent, with the times at which they
/// came: an epoch and a block of corrections come at the time that they name, all else with what follows it.

#include <memory>
#include <optional>
#include <string>

#include "flow/arrival_queue.h"

namespace gnx {

/// A date that a file's messages tell, within half a week; nothing when they tell none.
std::optional<GpsTime> dateOf(const std::string& file);

class TimedFile {
 public:
  /// \param reference  a moment within half a week of the first message
  /// \throws InputError
  TimedFile(const std::string& file, const GpsTime& reference);
  ~TimedFile();
  TimedFile(TimedFile&&) noexcept;
  TimedFile& operator=(TimedFile&&) noexcept;
  /// The next piece, its source left alone; without a time ({0, 0}) from a file that tells none. False at the
  /// end.
  bool next(Arrival& arrival);

 private:
  struct Impl;
  std::unique_ptr<Impl> m_impl;
};

}  // namespace gnx
