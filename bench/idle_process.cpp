// An application with nothing to do: idle_process DIRECTORY CALLS [callback]
//
// Takes part in the bus in DIRECTORY with all eight services, works CALLS times and prints its peak resident size in KB.
// With `callback` the work calls carry a topology callback. Run under a system call tracer with two numbers of calls, it
// shows what one work call asks of the kernel.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/resource.h>

#include "ovk/local_platform.h"
#include "ovk/ovk.h"

namespace {

int ignore(void* /*record*/, unsigned /*length*/) { return 0; }
unsigned ignoreTopology(std::vector<ovk_topology_controller_t>& /*controllers*/) { return 0; }

bool takePart(const char* directory) {
  if (!ovk_local_set_bus_directory(directory)) return false;
  if (ovk_Init(true, "VR003_00003_0000000000E3", nullptr, nullptr, nullptr) != ovk_Status_Done) return false;
  for (int service = 0; service < 8; ++service) {
    if (ovk_RegisterForService(static_cast<ovk_Service_t>(service), reinterpret_cast<void*>(ignore), nullptr, nullptr,
                               nullptr) != ovk_Status_Done) {
      return false;
    }
  }
  return true;
}

} // namespace

int main(int argc, char* argv[]) {
  if (argc < 3 || !takePart(argv[1])) return 1;
  const long calls = std::strtol(argv[2], nullptr, 10);
  const p_TopologyCallback3 callback = argc > 3 ? ignoreTopology : nullptr;
  for (long i = 0; i < calls; ++i) ovk_DoWork(nullptr, nullptr, callback);
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  std::printf("%ld\n", usage.ru_maxrss);
  return ovk_QMXBusShutdown();
}
