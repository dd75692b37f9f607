#pragma once
/// \file run_events.h
/// What befell a run, as its "events.csv" tells: fixes gained and lost, restarts of the filter.

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace gnx {

struct RunEvent {
  std::string time;     ///< GPS time, as written
  std::string name;     ///< "fix gained", "fix lost", "restart"
  std::string details;  ///< words "key=value"
};

struct RunEvents {
  std::vector<RunEvent> events;
  std::size_t satellitesIn = 0, satellitesOut = 0;  ///< too many to list
};

/// Nothing when there is no such file. Events of other kinds are passed over, and a last line that a broken
/// run left unfinished. \throws InputError for a damaged one.
RunEvents readRunEvents(const std::filesystem::path& file);

}  // namespace gnx
