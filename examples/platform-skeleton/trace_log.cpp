#include "platform/trace_log.h"

#include <cstdarg>
#include <cstdio>

// Writes one line. Called from every function of the library, ovk_Init() not needed, and once for each register on the
// way: turn the levels that nobody wants away before anything is formatted. Texts may come from the bus, have 16 KB
// and more, and hold line feeds. It must not call the library. This one works, so that you see what the others refuse.
// NOLINTNEXTLINE(cert-dcl50-cpp): printf-like, as the library calls it
void logTracePrint(const char* /*file*/, int /*line*/, const char* function, int level, const char* format, ...) {
  if (level > traceError) return;
  std::fprintf(stderr, "%s: ", function);
  std::va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stderr, format, arguments);
  va_end(arguments);
}
