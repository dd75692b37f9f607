// Writes the log of a live run.

#include "live/live_log.h"

#include <chrono>
#include <iostream>

#include "gnx/error.h"
#include "gnx/time.h"

namespace gnx {

namespace {

constexpr std::size_t kKept = 40;

}  // namespace

LiveLog::LiveLog(const std::filesystem::path& file, bool quiet) : m_out(file, std::ios::app), m_quiet(quiet) {
  if (!m_out) throw InputError(file.string(), 0, "cannot be written; check the folder and the free space");
}

void LiveLog::say(const std::string& sentence) {
  const auto since = std::chrono::system_clock::now().time_since_epoch();
  const GpsTime utc{std::chrono::duration_cast<std::chrono::seconds>(since).count(), 0.0};
  const std::lock_guard lock(m_mutex);
  m_last.push_back(formatTime(utc) + " UTC  " + sentence);
  m_out << m_last.back() << std::endl;
  if (!m_quiet) std::cerr << sentence << std::endl;
  if (m_last.size() > kKept) m_last.pop_front();
}

std::vector<std::string> LiveLog::last() const {
  const std::lock_guard lock(m_mutex);
  return {m_last.begin(), m_last.end()};
}

}  // namespace gnx
