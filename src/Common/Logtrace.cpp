// Formats messages, heads them with the local time and sends them to their file.

#include "Common/Logtrace.h"

#include <cstdarg>
#include <cstdio>

#include "Common/ComTime.h"

namespace tarvio {

namespace {

constexpr int kMessage = 40000;
constexpr const char* kLevelNames[] = {"   IO", " GNSS", "FRAME", " ALGO", "ERROR"};

/// Where messages go; written once by the configuration loader, before any feeder thread exists.
struct LogFiles {
  std::string m_stat, m_trace;
  bool m_ltrace = false;
  int m_level = 0;
};

LogFiles& s_files() {
  static LogFiles files;
  return files;
}

void (*s_sink)(const char*) = nullptr;

/// printf output behind a head, kMessage - 1 characters of both together.
std::string s_message(const std::string& head, const char* format, va_list args) {
  char text[kMessage];
  const int n = std::vsnprintf(text, sizeof text, format, args);
  return (head + (n < 0 ? "" : text)).substr(0, kMessage - 1);
}

/// The time as messages show it, with the word behind it.
std::string s_timed(const std::string& word) {
  return std::string("[").append(runlocaltime()).append(" LOCAL]").append(word);
}

}  // namespace

Log Logtrace::s_defaultlogger;
long Logtrace::s_st = s_wallClock();
std::mutex Logtrace::q_m;

void Logtrace::s_setFiles(const char* statFile, const char* traceFile, bool ltrace, int level) {
  LogFiles& files = s_files();
  files.m_stat = statFile;
  files.m_trace = traceFile;
  files.m_ltrace = ltrace;
  files.m_level = level;
}

void Logtrace::s_divert(void (*sink)(const char*)) {
  s_sink = sink;
  s_defaultlogger.m_silence();
}

bool Logtrace::s_isDiverted() { return s_sink != nullptr; }
void Logtrace::s_tellEnd() { s_sink(nullptr); }

void Logtrace::m_logPrint(const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::fputs(s_message(s_timed("-"), format, args).c_str(), stdout);
  va_end(args);
}

void Logtrace::m_logError(const char* format, ...) {
  va_list args;
  va_start(args, format);
  const std::string text = s_message("", format, args);
  va_end(args);
  const std::lock_guard<std::mutex> lock(q_m);
  std::perror(text.c_str());
}

void Logtrace::m_logTrace(int level, const char* format, ...) {
  const LogFiles& files = s_files();
  if (!files.m_ltrace || level < files.m_level || level < 0 || level > 4) return;
  const std::string head = "@" + files.m_trace + " " + s_timed(std::string("-[") + kLevelNames[level] + "]-");
  va_list args;
  va_start(args, format);
  s_defaultlogger.m_wtText(s_message(head, format, args).c_str());
  va_end(args);
}

void Logtrace::m_logtagTrace(const char* tag, const char* format, ...) {
  if (s_files().m_stat.empty()) return;
  const std::string head = "@" + s_files().m_stat + " " + s_timed(std::string("-[") + tag + "]-");
  va_list args;
  va_start(args, format);
  s_defaultlogger.m_wtText(s_message(head, format, args).c_str());
  va_end(args);
}

void Logtrace::m_logNoFormatTrace(const char* format, ...) {
  if (s_files().m_trace.empty()) return;
  const std::string head = "@" + s_files().m_trace + " ";
  va_list args;
  va_start(args, format);
  s_defaultlogger.m_wtText(s_message(head, format, args).c_str());
  va_end(args);
}

void Logtrace::m_logStat(bool newline, const char* format, ...) {
  if (s_files().m_stat.empty()) return;
  va_list args;
  va_start(args, format);
  std::string text = s_message("@" + s_files().m_stat + " ", format, args);
  va_end(args);
  if (newline) text = text.substr(0, kMessage - 2) + "\n";
  s_defaultlogger.m_wtText(text.c_str());
}

void Logtrace::m_logStatInfo(const char* format, ...) {
  if (s_files().m_stat.empty() && s_sink == nullptr) return;
  const std::string head = s_sink ? "" : "@" + s_files().m_stat + " " + s_timed(" ");
  va_list args;
  va_start(args, format);
  const std::string text = s_message(head, format, args);
  va_end(args);
  if (s_sink) s_sink(text.c_str());
  else s_defaultlogger.m_wtText(text.c_str());
}

std::string Logtrace::m_logRunTime() {
  const long seconds = s_wallClock() - s_st;
  char text[96];
  std::snprintf(text, sizeof text, "%d(d)-%02d(h)-%02d(m)-%02d(s)", static_cast<int>(seconds / 86400),
                static_cast<int>(seconds % 86400 / 3600), static_cast<int>(seconds % 3600 / 60),
                static_cast<int>(seconds % 60));
  return text;
}

void Logtrace::m_logMatrix(const double* a, int lda, int row, int col, int width, int decimals,
                           const char* title, const char* file) {
  if (lda < row || row < 0 || col < 0) {
    m_logTrace(4, "[%s,%d]: lda = %d,row = %d,col = %d,wrong input arguments for the row and col\n", __func__,
               __LINE__, lda, row, col);
    return;
  }
  if (title != nullptr && title[0] != '\0') s_defaultlogger.m_wtMsg("@%s %s\n", file, title);
  for (int r = 0; r < row; ++r) {
    for (int c = 0; c < col; ++c) {
      s_defaultlogger.m_wtMsg("@%s %*.*lf ", file, width, decimals, a[c * lda + r]);
    }
    s_defaultlogger.m_wtMsg("@%s \n", file);
  }
}

}  // namespace tarvio
