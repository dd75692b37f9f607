#pragma once
/// \file sink.h
/// Lines to a URL. A receiver that is slow or away loses lines; the run never waits for it.

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "link/connection.h"

namespace gnx {

class Sink {
 public:
  using Say = std::function<void(const std::string& sentence)>;

  /// \throws UsageError for a URL to which nothing can be written
  Sink(std::string name, const StreamUrl& url, Say say);
  /// Waits a quarter of a second at most for what has not been sent yet.
  ~Sink();
  Sink(const Sink&) = delete;
  Sink& operator=(const Sink&) = delete;

  /// One line or more, ended.
  void write(std::string lines);

 private:
  void run();
  void runClient();
  void runServer();
  bool take(std::string& lines, int timeout_ms);
  void tell(const std::string& what) { m_say(m_name + " (" + m_url.text + ") " + what); }

  std::string m_name;
  StreamUrl m_url;
  Say m_say;
  std::mutex m_mutex;
  std::condition_variable m_news;
  std::deque<std::string> m_lines;
  std::size_t m_bytes = 0;
  std::atomic<bool> m_stop{false};
  std::thread m_thread;
};

}  // namespace gnx
