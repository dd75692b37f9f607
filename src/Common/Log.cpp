// Opens, rolls over and writes log files under a lock.

#include "Common/Log.h"

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <set>
#include <utility>

#include "Common/ComTime.h"
#include "Common/Logtrace.h"
#include "GNX_IO.h"

namespace tarvio {

namespace {

namespace fs = std::filesystem;

constexpr int kMessage = 40000;         ///< longest message; what is longer is cut
constexpr std::size_t kSpansKept = 24;  ///< of a file that rolls over, when there is a bound

double s_secondsSince(unsigned tick) { return (GNX_IO::tickget() - tick) * 1.0e-3; }

/// The results of a former process stay beside the new ones, its exit message included.
void s_keepLast(const fs::path& file) {
  std::error_code none;  // a file that cannot be kept is begun anew all the same
  if (fs::is_regular_file(file, none) && fs::file_size(file, none) > 0)
    fs::rename(file, file.string() + ".1", none);
}

/// The names of former spans end with their dates, so that their order is that of time.
void s_keepNewest(const fs::path& file) {
  std::set<fs::path> spans;
  std::error_code none;
  for (const auto& entry : fs::directory_iterator(file.parent_path(), none))
    if (entry.path().filename().string().starts_with(file.filename().string() + ".2"))
      spans.insert(entry.path());
  for (; spans.size() > kSpansKept; spans.erase(spans.begin())) fs::remove(*spans.begin(), none);
}

void s_warn(const char* format, const char* argument) {
  std::printf(format, argument);
  std::putchar('\n');
}

}  // namespace

std::map<std::string, unsigned> Log::timeLog;

void Log::m_setDirectory(std::string directory) {
  if (m_silent) return;
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_directory = std::move(directory);
}

void Log::m_openLog(const std::string& name) { m_openLog(name, false, 172800); }

void Log::m_openLog(const std::string& name, long span) { m_openLog(name, true, span); }

void Log::m_openLog(const std::string& name, bool roll, long span) {
  if (m_silent) return;
  const long now = s_wallClock();
  bool failed = false;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_items.count(name) > 0) return;
    LogItem item;
    item.m_path = (m_directory.empty() ? fs::absolute(name) : fs::path(m_directory) / name).string();
    s_keepLast(item.m_path);
    item.m_stream = std::make_unique<std::ofstream>(item.m_path, std::ios::out | std::ios::trunc);
    item.m_roll = roll && span > 0;
    item.m_span = span > 0 ? span : item.m_span;
    item.m_tstart = (now / item.m_span) * item.m_span;
    failed = !item.m_stream->is_open();
    if (!failed) m_items.emplace(name, std::move(item));
  }
  if (failed) Logtrace::m_logError("file = %s,can't create file to write, will return!", name.c_str());
}

void Log::m_setBound(std::int64_t bytes) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_bound = bytes;
}

void Log::m_closeLog(const std::string& name) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_items.erase(name);  // the stream flushes and closes itself
}

bool Log::m_lexist(const std::string& name) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_items.count(name) > 0;
}

void Log::m_wtMsg(const char* format, ...) {
  char text[kMessage];
  va_list args;
  va_start(args, format);
  std::vsnprintf(text, sizeof text, format, args);
  va_end(args);
  m_wtText(text);
}

void Log::m_wtText(const char* text) {
  if (m_silent || text[0] != '@') return;
  const char* end = text + 1;
  while (*end != '\0' && std::isspace(static_cast<unsigned char>(*end)) == 0) ++end;
  const std::string name(text + 1, end);

  const std::lock_guard<std::mutex> lock(m_mutex);
  const auto found = m_items.find(name);
  if (found != m_items.end()) {
    m_chkUpdate(found->second);
    *found->second.m_stream << (*end == '\0' ? end : end + 1) << std::flush;
    m_chkBound(found->second);
  } else if (name == "ALL") {
    for (auto& [file, item] : m_items) {
      m_chkUpdate(item);
      *item.m_stream << text << std::flush;
      m_chkBound(item);
    }
  }
}

void Log::m_chkBound(LogItem& item) const {
  if (m_bound <= 0 || item.m_stream->tellp() < m_bound) return;
  item.m_stream->close();
  std::error_code none;
  fs::rename(item.m_path, item.m_path + ".1", none);
  item.m_stream = std::make_unique<std::ofstream>(item.m_path, std::ios::out | std::ios::trunc);
}

void Log::m_chkUpdate(LogItem& item) const {
  if (!item.m_roll) return;
  const long now = s_wallClock();
  if (now - item.m_tstart <= item.m_span) return;
  item.m_tstart = (now / item.m_span) * item.m_span;
  item.m_stream->close();
  const std::time_t stamp = now;
  std::tm local{};
  localtime_r(&stamp, &local);
  char suffix[96];
  std::snprintf(suffix, sizeof suffix, ".%04d%02d%02d-%02d:%02d:%02d", local.tm_year + 1900, local.tm_mon + 1,
                local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
  std::rename(item.m_path.c_str(), (item.m_path + suffix).c_str());
  if (m_bound > 0) s_keepNewest(item.m_path);
  item.m_stream = std::make_unique<std::ofstream>(item.m_path, std::ios::out | std::ios::trunc);
}

void Log::m_tmeTag(const std::string& name, const std::string& tag) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_ticks[name][tag] = GNX_IO::tickget();
}

void Log::m_tmeConsume(const std::string& name, const std::string& tag) {
  double seconds = 0.0;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto file = m_ticks.find(name);
    if (file == m_ticks.end()) {
      s_warn("***WARNING(m_tmeConsume) Wrong input FileName, filanem = %s", name.c_str());
      return;
    }
    const auto mark = file->second.find(tag);
    if (mark == file->second.end()) {
      std::puts("***WARNING(m_tmeConsume) Wrong input Tag!");
      return;
    }
    seconds = s_secondsSince(mark->second);
    file->second.erase(mark);
  }
  m_wtMsg("@%s %s TIME CONSUME %lf\n", name.c_str(), tag.c_str(), seconds);
}

void Log::s_tmeTag(const std::string& tag) { timeLog[tag] = GNX_IO::tickget(); }

void Log::s_tmeConsume(const std::string& tag) {
  const auto mark = timeLog.find(tag);
  if (mark == timeLog.end()) {
    s_warn("***WARNING(m_tmeConsume) Wrong input tag! tag = %s", tag.c_str());
    return;
  }
  std::printf("%-60s TIME CONSUME: %10.3lf\n", tag.c_str(), s_secondsSince(mark->second));
  timeLog.erase(mark);
}

}  // namespace tarvio
