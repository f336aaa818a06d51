// An application as a module of its own: the library comes and goes with it.

#include <string>

#include "ovk/local_platform.h"
#include "ovk/ovk.h"

namespace {

constexpr const char* own = "VR001_00001_0000000000AA";
int received = 0;

int receive(void* /*data*/, unsigned /*length*/) {
  ++received;
  return 0;
}

} // namespace

/// Whether the library is fresh: eight empty registrations. Then takes part in the bus.
extern "C" OVK_API bool begin(const char* directory) {
  bool fresh = OrvaneServices.size() == 8;
  for (const OrvaneServiceRegistration_t& entry : OrvaneServices) fresh = fresh && entry.p_ServiceCallback == nullptr;
  ovk_local_set_bus_directory(directory);
  ovk_Init(true, own, nullptr, nullptr, nullptr);
  for (const ovk_Service_t service : {ovk_Service_RegisterReadClient, ovk_Service_RegisterReadServer})
    ovk_RegisterForService(service, reinterpret_cast<void*>(receive), nullptr, nullptr, nullptr);
  return fresh;
}

/// Sends a request to itself. Whether it arrived.
extern "C" OVK_API bool exchange() {
  const int before = received;
  ovk_ReadRegisters(own, "r", 1, 1, 0, 0);
  ovk_DoWork(nullptr, nullptr, nullptr);
  return received == before + 1;
}

/// Reads a tag selector from a configuration item of at least that size.
extern "C" OVK_API bool configure(unsigned size) {
  std::string item = R"({"telegram":[{"fid":"F","portlist":[{"tag":17}]}],"more":[{})";
  while (item.size() < size) item += ",{}";
  DevTagDevInfoTag tag{};
  std::string fid;
  return getTagFromConfig(item + "]}", tag, fid) == 0;
}
