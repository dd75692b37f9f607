#pragma once
/// \file Logtrace.h
/// Front of the logs: formats messages and chooses the file. All functions are printf-style.

#include <mutex>
#include <string>

#include "Common/Log.h"

namespace tarvio {

class Logtrace {
 public:
  /// Standard output, "[local time LOCAL]-text".
  static void m_logPrint(const char* format, ...) __attribute__((format(printf, 1, 2)));
  /// Standard error through perror.
  static void m_logError(const char* format, ...) __attribute__((format(printf, 1, 2)));
  /// Trace file when tracing is on; levels 0 "IO", 1 "GNSS", 2 "FRAME", 3 "ALGO", 4 "ERROR".
  static void m_logTrace(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));
  /// Status file, with a tag such as "SLIP" or "DIA".
  static void m_logtagTrace(const char* tag, const char* format, ...) __attribute__((format(printf, 2, 3)));
  static void m_logNoFormatTrace(const char* format, ...) __attribute__((format(printf, 1, 2)));
  static void m_logStat(bool newline, const char* format, ...) __attribute__((format(printf, 2, 3)));
  static void m_logStatInfo(const char* format, ...) __attribute__((format(printf, 1, 2)));
  static std::string m_logRunTime();
  /// Elements of a column-major matrix to an open file, `width`.`decimals` each.
  static void m_logMatrix(const double* a, int lda, int row, int col, int width, int decimals,
                          const char* title, const char* file);

  /// From now on status messages go to this function and to no file, and none is opened; there is no way
  /// back. For a process that only tries a configuration: the end of the process is told by null.
  static void s_divert(void (*sink)(const char* text));
  static bool s_isDiverted();
  static void s_tellEnd();

  static Log s_defaultlogger;
  static long s_st;       ///< Unix seconds at load
  static std::mutex q_m;  ///< guards m_logError

  /// File names and level of the configuration in force; set by the configuration loader, so that
  /// logging does not reach up into it.
  static void s_setFiles(const char* statFile, const char* traceFile, bool ltrace, int level);
};

}  // namespace tarvio
