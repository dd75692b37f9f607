#include "Common/Fatal.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "Common/Logtrace.h"

namespace tarvio {

void s_fatal(const char* function, int line, const char* format, ...) {
  char text[8192];
  va_list args;
  va_start(args, format);
  std::vsnprintf(text, sizeof text, format, args);
  va_end(args);
  Logtrace::m_logPrint("[%s,%d]:%s", function, line, text);
  Logtrace::m_logStatInfo("%s", text);
  s_exitByCode(function, line);
}

void s_exitByCode(const char* function, int line) {
  Logtrace::m_logPrint("[%s,%d]:exit by code\n", function, line);
  Logtrace::m_logStatInfo("exit by code\n");
  // Log files are flushed with every message; standard output may be a pipe and is not.
  std::fflush(stdout);
  std::exit(1);
}

}  // namespace tarvio
