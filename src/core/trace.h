#pragma once

#include "platform/trace_log.h"

// One line of the trace log. Field tools search the log for these texts, so their wording is kept as it is, odd blanks and
// misnomers included.

/// A line in the name of the function it stands in.
#define OVK_TRACE(level, ...) OVK_TRACE_AS(__func__, level, __VA_ARGS__)

/// A line of a helper that speaks in its caller's name.
#define OVK_TRACE_AS(function, level, ...) logTracePrint("QMXBusAPI", __LINE__, function, level, __VA_ARGS__)
