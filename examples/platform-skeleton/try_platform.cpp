// Starts the library on this platform, asks a device for its register 0 and says how far it came:
//   try_platform [OWN-FID [DEVICE]]
#include <ovk/ovk.h>

#include <chrono>
#include <cstdio>
#include <thread>

namespace {

int answers = 0;

int onAnswer(void* data, unsigned /*length*/) {
  const auto& answer = *static_cast<ovk_RegisterReadRspCallbackData_t*>(data);
  std::printf("answer        from %s, %s\n", answer.srcFid, answer.success != 0 ? "good" : answer.errReason);
  return ++answers;
}

void say(const char* step, unsigned status) {
  std::printf("%-13s status %u: %s\n", step, status, ovk_StatusText(status));
}

// Nothing here tells when a message comes, as your platform may do, so this looks every 10 ms.
void workForASecond() {
  for (int i = 0; i < 100 && answers == 0; ++i) {
    ovk_DoWork(nullptr, nullptr, nullptr);
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

} // namespace

int main(int argc, char* argv[]) {
  std::setvbuf(stdout, nullptr, _IONBF, 0); // in step with the trace
  const char* own = argc > 1 ? argv[1] : "VR001_00001_0000000000C1";
  const char* device = argc > 2 ? argv[2] : own;
  say("start", ovk_Init(true, own, nullptr, nullptr, nullptr));
  say("registration", ovk_RegisterForService(ovk_Service_RegisterReadClient, reinterpret_cast<void*>(onAnswer), nullptr,
                                             nullptr, nullptr));
  std::vector<ovk_topology_controller_t> controllers;
  const bool delivered = ovk_topology_get_list(controllers);
  std::printf("topology      %s, controllers: %zu\n", delivered ? "delivered" : "not delivered", controllers.size());
  const unsigned sent = ovk_ReadRegisters(device, "try-1", 0, 1, -1, 0);
  say("request", sent);
  if (sent == ovk_Status_Done) workForASecond();
  if (answers == 0) std::printf("answer        none\n");
  std::printf("shutdown      status %d\n", ovk_QMXBusShutdown());
  return answers == 1 ? 0 : 1;
}
