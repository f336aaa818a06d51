#pragma once

// The trace log: one line per step of interest.

/// Levels of trace lines.
enum TraceLevel : int {
  traceError = 2,    ///< errors and refusals
  traceProgress = 6, ///< progress and values found
  traceBulk = 7      ///< whole outgoing messages
};

/// Writes one line. `format` is printf's and ends in a line feed. Must not throw: lines are also written while a record is
/// released after an exception.
void logTracePrint(const char* file, int line, const char* function, int level, const char* format, ...)
    __attribute__((format(printf, 5, 6)));
