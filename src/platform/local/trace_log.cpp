// Trace lines, to the standard error stream or to the application's sink.
//
// A call whose level is not wanted ends at its first comparison. A line goes out in one piece and whole, whatever its
// length, unless there is no memory for it. errno stays as it was: callers trace between a failure and its report.
// Nothing here throws.

#include "platform/trace_log.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <new>
#include <sys/stat.h>

#include "ovk/local_platform.h"
#include "platform/local/file_descriptor.h"

namespace {

struct Settings {
  int threshold = traceError;
  ovk_local_TraceSink_t sink = nullptr;
  void* context = nullptr;
};
Settings settings;

// Where the line comes from.
struct Origin {
  const char* file;
  int line;
  const char* function;
  int level;
};

// Both give the length of the whole text, and write what fits.
std::size_t formatPrefix(char* to, std::size_t size, const timespec& now, const Origin& origin) {
  const long second = static_cast<long>(now.tv_sec % 86400); // of the day, UTC
  const int length =
      std::snprintf(to, size, "%02ld:%02ld:%02ld.%06ld %d %s:%d %s: ", second / 3600, second / 60 % 60, second % 60,
                    now.tv_nsec / 1000, origin.level, origin.file, origin.line, origin.function);
  return static_cast<std::size_t>(std::max(length, 0));
}

std::size_t formatLine(char* to, std::size_t size, const timespec& now, const Origin& origin, const char* format,
                       va_list arguments) {
  const std::size_t prefix = formatPrefix(to, size, now, origin);
  const std::size_t used = std::min(prefix, size);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the caller started it
  const int length = std::vsnprintf(to + used, size - used, format, arguments);
  return prefix + static_cast<std::size_t>(std::max(length, 0));
}

// Whether the stream takes so much more. A file at its size limit would end the process by SIGXFSZ.
bool mayWrite(int stream, std::size_t length) {
  struct stat file;
  if (::fstat(stream, &file) != 0 || !S_ISREG(file.st_mode)) return true;
  const bool appends = (::fcntl(stream, F_GETFL) & O_APPEND) != 0;
  const off_t at = appends ? file.st_size : ::lseek(stream, 0, SEEK_CUR);
  return ovk::local::isWithinFileSizeLimit(static_cast<std::size_t>(at) + length);
}

void writeAll(const char* text, std::size_t length) {
  if (!mayWrite(STDERR_FILENO, length)) return;
  while (length > 0) {
    const auto written = ovk::local::uninterrupted([&] { return ::write(STDERR_FILENO, text, length); });
    if (written <= 0) return;
    text += written;
    length -= static_cast<std::size_t>(written);
  }
}

// Lines are also written where an exception would end the process, such as in destructors.
void callSink(const char* text, std::size_t length) {
  try {
    settings.sink(text, static_cast<unsigned>(length), settings.context);
  } catch (...) { // the line is lost
  }
}

// `text` holds `length` characters and a NUL. The line feed at the end is the format's.
void emit(char* text, std::size_t length) {
  if (length > 0 && text[length - 1] == '\n') --length;
  if (settings.sink != nullptr) {
    text[length] = '\0';
    callSink(text, length);
    return;
  }
  text[length] = '\n'; // in place of the NUL, so that one write does
  writeAll(text, length + 1);
}

[[gnu::noinline]] void writeLine(const Origin& origin, const char* format, va_list arguments) {
  const int error = errno;
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  char shortLine[1024];
  va_list again;
  va_copy(again, arguments);
  const std::size_t length = formatLine(shortLine, sizeof shortLine, now, origin, format, arguments);
  const std::unique_ptr<char[]> longLine(length < sizeof shortLine ? nullptr : new (std::nothrow) char[length + 1]);
  if (longLine) formatLine(longLine.get(), length + 1, now, origin, format, again);
  va_end(again);
  emit(longLine ? longLine.get() : shortLine, longLine ? length : std::min(length, sizeof shortLine - 1));
  errno = error;
}

} // namespace

// Keeps to what a line that is not wanted needs: most are not, and this halves what they cost.
// NOLINTNEXTLINE(cert-dcl50-cpp): printf's form is part of the interface
void logTracePrint(const char* file, int line, const char* function, int level, const char* format, ...) {
  if (level > settings.threshold) return;
  va_list arguments;
  va_start(arguments, format);
  writeLine({file, line, function, level}, format, arguments);
  va_end(arguments);
}

void ovk_local_set_trace_threshold(int level) { settings.threshold = level; }

void ovk_local_set_trace_sink(ovk_local_TraceSink_t sink, void* context) {
  settings.sink = sink;
  settings.context = context;
}
