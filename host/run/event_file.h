#pragma once
/// \file event_file.h
/// Events of the engine as a file of the run.
///
/// CSV "time_gpst,event,details": the details are words "key=value" in order of the keys.

#include <filesystem>
#include <fstream>
#include <string>

#include "gnx/engine.h"

namespace gnx {

class EventFile {
 public:
  /// Throws InputError when the file cannot be written.
  explicit EventFile(const std::filesystem::path& file);
  void write(const EngineEvent& event);

 private:
  std::ofstream m_out;
};

/// How often events of a run came, such as "fix gained 3, lost 2; restarts 1"; "" when the file tells of no
/// lost fix and no restart, or is not there.
std::string eventSummary(const std::filesystem::path& file);

}  // namespace gnx
