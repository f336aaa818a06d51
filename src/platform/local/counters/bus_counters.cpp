// Counting of bus events. Where the counters live is the affair of platform/local/counters.h.

#include "platform/bus_counters.h"

#include "platform/local/counters/counters.h"
#include "platform/local/trace.h"

void IncrQMXBCnt(QMXBCounter_e counter) {
  const int number = counter;
  if (number >= 0 && static_cast<std::uint32_t>(number) < ovk::local::counterCount) {
    ovk::local::incrementCounter(static_cast<std::uint32_t>(number));
  } else {
    OVK_LOCAL_TRACE(traceError, "there is no counter %d\n", number);
  }
}
