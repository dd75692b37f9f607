#pragma once
/// \file state_keeper.h
/// Keeps what a live run knows in a file, and goes on with it when the run is started again.

#include <filesystem>
#include <functional>
#include <string>

#include "live/live_options.h"
#include "live/live_station.h"

namespace gnx {

/// What must be the same in the run that goes on: sources and deployment.
std::string stateIdentity(const LiveRunOptions& options, const Deployment& deployment);

class StateKeeper {
 public:
  using Say = std::function<void(const std::string&)>;
  /// \param send  gets each state that is kept, as bytes; none: nobody else wants it
  StateKeeper(const std::filesystem::path& directory, Say say, Say send = {});
  /// Goes on with what a run before has kept, if there is anything. \param record  directory of a recording,
  /// which gets it as well; "" = none
  void take(const GpsTime& now, LiveStation& station, const std::filesystem::path& record);
  /// Keeps it every minute, and soon behind the first position.
  void keepInTime(const GpsTime& now, LiveStation& station);
  void keep(LiveStation& station);

 private:
  std::filesystem::path m_file;
  Say m_say, m_send;
  std::optional<GpsTime> m_next;
};

/// Puts a state of elsewhere where the run of a directory will take it, unless there is a newer one.
/// \throws InputError
void placeState(const std::filesystem::path& directory, const std::string& bytes);

/// Goes on with what the run that was recorded went on with. \throws InputError
void resumeRecorded(const std::filesystem::path& recording, LiveStation& station);

}  // namespace gnx
