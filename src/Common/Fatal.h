#pragma once
/// \file Fatal.h
/// Messages of the configuration, and the one way by which the library ends the process.

namespace tarvio {

/// A message that does not end it: console with "[function,line]:", status log without.
void s_note(const char* function, int line, const char* format, ...) __attribute__((format(printf, 3, 4)));

/// Logs the message with "[function,line]:" on the console and without it in the status log, then
/// the exit pair, flushes, and ends the process with status 1.
/// \param format  printf format of the message behind the head, ending in '\n' where the text does
[[noreturn]] void s_fatal(const char* function, int line, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

/// The exit pair alone, for callers that have printed their own text:
/// "[%s,%d]:exit by code\n" on the console, "exit by code\n" in the status log, exit status 1.
[[noreturn]] void s_exitByCode(const char* function, int line);

}  // namespace tarvio
