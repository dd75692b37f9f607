// Puts messages on console and status log, and ends the process.

#include "Common/Fatal.h"

#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "Common/Logtrace.h"

namespace tarvio {

namespace {

/// On the console with "[function,line]:", in the status log without.
void s_tell(const char* function, int line, const char* format, va_list args) {
  char text[8192];
  std::vsnprintf(text, sizeof text, format, args);
  Logtrace::m_logPrint("[%s,%d]:%s", function, line, text);
  Logtrace::m_logStatInfo("%s", text);
}

}  // namespace

void s_note(const char* function, int line, const char* format, ...) {
  va_list args;
  va_start(args, format);
  s_tell(function, line, format, args);
  va_end(args);
}

void s_fatal(const char* function, int line, const char* format, ...) {
  va_list args;
  va_start(args, format);
  s_tell(function, line, format, args);
  va_end(args);
  s_exitByCode(function, line);
}

void s_exitByCode(const char* function, int line) {
  // A child that tries a configuration must not run what its parent has registered for the end.
  if (Logtrace::s_isDiverted()) {
    Logtrace::s_tellEnd();
    _exit(1);
  }
  Logtrace::m_logPrint("[%s,%d]:exit by code\n", function, line);
  Logtrace::m_logStatInfo("exit by code\n");
  // Log files are flushed with every message; standard output may be a pipe and is not.
  std::fflush(stdout);
  std::exit(1);
}

}  // namespace tarvio
