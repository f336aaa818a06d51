// Reads register 100 of a device and prints it:  consumer BUS-DIRECTORY DEVICE
#include <ovk/local_platform.h>
#include <ovk/ovk.h>
#include <poll.h>

#include <cstdio>
#include <string_view>

static_assert(std::string_view(FOUND_VERSION) == OVK_VERSION, "the package and its headers have different versions");

namespace {

bool answered = false;

int onAnswer(void* data, unsigned /*length*/) {
  const auto& answer = *static_cast<ovk_RegisterReadRspCallbackData_t*>(data);
  answered = answer.success == 1 && answer.numberRegisters1 == 1;
  if (answered) std::printf("%d\n", answer.pStartRegister1[0]);
  return 0;
}

} // namespace

int main(int argc, char* argv[]) {
  if (argc != 3 || !ovk_local_set_bus_directory(argv[1])) return 2;
  ovk_Init(true, "VR001_00001_0000000000C2", nullptr, nullptr, nullptr);
  ovk_RegisterForService(ovk_Service_RegisterReadClient, reinterpret_cast<void*>(onAnswer), nullptr, nullptr, nullptr);
  if (ovk_ReadRegisters(argv[2], "1", 100, 1, -1, 0) != ovk_Status_Done) return 1;
  pollfd wait = {ovk_local_wait_descriptor(), POLLIN, 0};
  while (!answered && poll(&wait, 1, 10000) > 0) ovk_DoWork(nullptr, nullptr, nullptr);
  ovk_QMXBusShutdown();
  return answered ? 0 : 1;
}
