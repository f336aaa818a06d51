// Asks a device for four registers and prints them:  first_client DEVICE [BUS-DIRECTORY]
#include <ovk/local_platform.h>
#include <ovk/ovk.h>
#include <poll.h>

#include <cstdio>
#include <cstring>

namespace {

const char* device;
bool answered = false;

int onAnswer(void* data, unsigned /*length*/) {
  const auto& answer = *static_cast<ovk_RegisterReadRspCallbackData_t*>(data);
  if (std::strcmp(answer.refId, "read-1") != 0 || std::strcmp(answer.srcFid, device) != 0) return 0; // not for us
  answered = true;
  if (answer.success == 0) std::printf("refused: %s\n", answer.errReason);
  for (int i = 0; i < answer.numberRegisters1; ++i) {
    std::printf("register %d = %d\n", answer.startRegister1 + i, answer.pStartRegister1[i]);
  }
  return 0;
}

} // namespace

int main(int argc, char* argv[]) {
  device = argv[1];
  if (argc > 2) ovk_local_set_bus_directory(argv[2]);
  ovk_Init(true, "VR001_00001_0000000000C1", nullptr, nullptr, nullptr);
  unsigned status = ovk_RegisterForService(ovk_Service_RegisterReadClient, reinterpret_cast<void*>(onAnswer), nullptr,
                                           nullptr, nullptr);
  if (status == ovk_Status_Done) status = ovk_ReadRegisters(device, "read-1", 100, 4, -1, 0);
  if (status != ovk_Status_Done) std::printf("%s\n", ovk_StatusText(status));
  pollfd wait = {ovk_local_wait_descriptor(), POLLIN, 0};
  while (status == ovk_Status_Done && !answered && poll(&wait, 1, 2000) > 0) ovk_DoWork(nullptr, nullptr, nullptr);
  if (status == ovk_Status_Done && !answered) std::printf("no answer\n");
  ovk_QMXBusShutdown();
  return answered ? 0 : 1;
}
