#pragma once
/// \file live_log.h
/// What happens in a live run, sentence by sentence, in "live.log" and on standard error.

#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>

namespace gnx {

class LiveLog {
 public:
  /// Goes on behind what is there. \throws InputError
  LiveLog(const std::filesystem::path& file, bool quiet);
  /// From any thread.
  void say(const std::string& sentence);

 private:
  std::mutex m_mutex;
  std::ofstream m_out;
  bool m_quiet;
};

}  // namespace gnx
