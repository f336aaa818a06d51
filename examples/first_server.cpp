// A device with registers 100 to 115 that answers until the process is ended:  first_server [BUS-DIRECTORY]
#include <ovk/local_platform.h>
#include <ovk/ovk.h>
#include <poll.h>

#include <cstdint>
#include <cstdio>

namespace {

constexpr int first = 100;
constexpr int count = 16;
uint16_t registers[count] = {7, 8, 9, 10};

int onReadRequest(void* data, unsigned /*length*/) {
  const auto& request = *static_cast<ovk_RegisterReadReqCallbackData_t*>(data);
  const int start = request.startRegister1;
  const int wanted = request.numberRegisters1;
  const bool known = start >= first && wanted >= 1 && wanted <= count && start + wanted <= first + count;
  ovk_serveReadRegisters(request.srcFid, request.dstFid, request.refId, start,
                         known ? registers + (start - first) : nullptr, wanted, 0, nullptr, 0, known,
                         "only registers 100 to 115 are here");
  return 0;
}

} // namespace

int main(int argc, char* argv[]) {
  if (argc > 1) ovk_local_set_bus_directory(argv[1]);
  const char* own = "VR002_00002_0000000000D2";
  ovk_Init(true, own, nullptr, nullptr, nullptr);
  const unsigned status = ovk_RegisterForService(ovk_Service_RegisterReadServer, reinterpret_cast<void*>(onReadRequest),
                                                 nullptr, nullptr, nullptr);
  if (status != ovk_Status_Done) {
    std::fprintf(stderr, "%s\n", ovk_StatusText(status));
    return 1;
  }
  std::printf("ready %s\n", own);
  std::fflush(stdout);
  pollfd wait = {ovk_local_wait_descriptor(), POLLIN, 0};
  for (;;) {
    poll(&wait, 1, 1000);
    ovk_DoWork(nullptr, nullptr, nullptr);
  }
}
