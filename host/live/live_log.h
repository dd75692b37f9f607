#pragma once
/// \file live_log.h
/// What happens in a live run, sentence by sentence, in "live.log" and on standard error.

#include <deque>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

namespace gnx {

class LiveLog {
 public:
  /// Goes on behind what is there. \throws InputError
  LiveLog(const std::filesystem::path& file, bool quiet);
  /// From any thread.
  void say(const std::string& sentence);
  /// The last lines, the oldest first. From any thread.
  std::vector<std::string> last() const;

 private:
  mutable std::mutex m_mutex;
  std::deque<std::string> m_last;
  std::ofstream m_out;
  bool m_quiet;
};

}  // namespace gnx
