#pragma once
/// \file event_file.h
/// Events of the engine as a file of the run.
///
/// CSV "time_gpst,event,details": the details are words "key=value" in order of the keys.

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

namespace gnx {

/// Writes every event of the engine as long as it lives; on the thread of GNX_initialize and GNX_inputObs.
class EventFile {
 public:
  /// Throws InputError when the file cannot be written.
  explicit EventFile(const std::filesystem::path& file);
  ~EventFile();
  EventFile(const EventFile&) = delete;
  EventFile& operator=(const EventFile&) = delete;

 private:
  void write(const std::string& event, const std::map<std::string, std::string>& values);

  std::ofstream m_out;
  int m_listener;
};

/// How often events of a run came, such as "fix gained 3, lost 2; restarts 1"; "" when the file tells of no
/// lost fix and no restart, or is not there.
std::string eventSummary(const std::filesystem::path& file);

}  // namespace gnx
