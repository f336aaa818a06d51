// Makes the bus counters readable from outside, under the identifier that the topology service was started with.

#include "platform/shared_memory.h"

#include "platform/local/bus/own_identity.h"
#include "platform/local/counters/counters.h"
#include "platform/local/trace.h"

int createQMXBSharedMemory() {
  if (ovk::local::ownFid().empty()) {
    OVK_LOCAL_TRACE(traceError, "no own identifier to count under\n");
    return -1;
  }
  const ovk::local::BusDirectoryPtr directory = ovk::local::busDirectory();
  return directory && ovk::local::publishCounters(directory, ovk::local::ownFid()) ? 0 : -1;
}
