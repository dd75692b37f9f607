#pragma once
/// \file Log.h
/// Thread-safe table of open log files, addressed by the first word of a message behind '@'.

#include <cstdint>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace tarvio {

/// One open file.
struct LogItem {
  std::unique_ptr<std::ofstream> m_stream;
  std::string m_path;    ///< absolute: the host may change its working directory
  long m_tstart = 0;     ///< start of the present span, Unix seconds, a multiple of m_span
  long m_span = 172800;  ///< roll-over interval, seconds
  bool m_roll = false;   ///< whether the file rolls over
};

class Log {
 public:
  /// Directory against which relative names are resolved from now on; files that are open stay where they
  /// are.
  void m_setDirectory(std::string directory);
  /// Begins a file anew; what a former process left under the name stays beside it as "name.1".
  void m_openLog(const std::string& name);             ///< no rolling
  void m_openLog(const std::string& name, long span);  ///< rolling
  void m_openLog(const std::string& name, bool roll, long span);
  /// Opens and writes nothing from now on. Takes no lock: the process may be the child of one whose other
  /// thread held it.
  void m_silence() { m_silent = true; }
  /// A file that has grown to so many bytes begins anew, and what it held stays beside it as "name.1"; of a
  /// file that rolls over the last ones stay. 0: no bound.
  void m_setBound(std::int64_t bytes);
  void m_closeLog(const std::string& name);
  bool m_lexist(const std::string& name);
  /// "@name text": writes `text` to the open file `name`; "@ALL text" writes all of it to every
  /// open file; anything else is dropped.
  void m_wtMsg(const char* format, ...) __attribute__((format(printf, 2, 3)));
  /// Writes a text that is already formatted, by the same rules.
  void m_wtText(const char* text);

  void m_tmeTag(const std::string& name, const std::string& tag);
  void m_tmeConsume(const std::string& name, const std::string& tag);
  static void s_tmeTag(const std::string& tag);
  static void s_tmeConsume(const std::string& tag);
  static std::map<std::string, unsigned> timeLog;  ///< tag to tick count

 private:
  void m_chkUpdate(LogItem& item) const;
  void m_chkBound(LogItem& item) const;

  bool m_silent = false;
  std::int64_t m_bound = 0;  ///< bytes
  std::string m_directory;
  std::map<std::string, LogItem> m_items;
  std::map<std::string, std::map<std::string, unsigned>> m_ticks;
  std::mutex m_mutex;
};

}  // namespace tarvio
