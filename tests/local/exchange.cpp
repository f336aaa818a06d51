// Two processes exchange register reads and writes through the local bus, as fast as they can:  exchange COUNT
// Every answer is matched and compared, and both sides' counters must equal the number sent. Nothing may be left behind.

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "ovk/local_platform.h"
#include "ovk/ovk.h"

namespace {

constexpr const char* clientFid = "VR001_00001_0000000000C1";
constexpr const char* serverFid = "VR002_00002_0000000000D2";

uint16_t stored[1024];
volatile std::sig_atomic_t stopped = 0;
void stop(int /*signal*/) { stopped = 1; }

int serveRead(void* data, unsigned /*length*/) {
  const auto& request = *static_cast<ovk_RegisterReadReqCallbackData_t*>(data);
  ovk_serveReadRegisters(request.srcFid, request.dstFid, request.refId, request.startRegister1, stored,
                         request.numberRegisters1, 0, nullptr, 0, true, nullptr);
  return 0;
}

int serveWrite(void* data, unsigned /*length*/) {
  const auto& request = *static_cast<ovk_RegisterWriteReqCallbackData_t*>(data);
  std::memcpy(stored, request.pStartRegister1, static_cast<std::size_t>(request.numberRegisters1) * sizeof *stored);
  ovk_serveWriteRegisters(request.srcFid, request.dstFid, request.refId, true, nullptr);
  return 0;
}

bool answered = false;
bool right = false;
std::string expectedRef;
uint16_t expectedValue = 0;

int takeRead(void* data, unsigned /*length*/) {
  const auto& answer = *static_cast<ovk_RegisterReadRspCallbackData_t*>(data);
  answered = true;
  right = answer.refId == expectedRef && answer.success == 1 && answer.numberRegisters1 == 10 &&
          answer.pStartRegister1[0] == expectedValue && answer.pStartRegister1[9] == expectedValue;
  return 0;
}

int takeWrite(void* data, unsigned /*length*/) {
  const auto& answer = *static_cast<ovk_RegisterWriteRspCallbackData_t*>(data);
  answered = true;
  right = answer.refId == expectedRef && answer.success == 1;
  return 0;
}

template <typename Callback>
void add(ovk_Service_t service, Callback callback) {
  if (ovk_RegisterForService(service, reinterpret_cast<void*>(callback), nullptr, nullptr, nullptr) !=
      ovk_Status_Done) {
    std::exit(1);
  }
}

int serve(int ready) {
  std::signal(SIGTERM, stop);
  ovk_Init(true, serverFid, nullptr, nullptr, nullptr);
  add(ovk_Service_RegisterReadServer, serveRead);
  add(ovk_Service_RegisterWriteServer, serveWrite);
  if (write(ready, "r", 1) != 1) return 1;
  pollfd wait = {ovk_local_wait_descriptor(), POLLIN, 0};
  while (stopped == 0) {
    poll(&wait, 1, 100);
    ovk_DoWork(nullptr, nullptr, nullptr);
  }
  ovk_QMXBusShutdown();
  return 0;
}

bool exchange(int number) {
  expectedRef = "x-" + std::to_string(number);
  answered = right = false;
  unsigned status = 0;
  if (number % 2 != 0) { // the last one is a write: the server counts it before it answers
    expectedValue = static_cast<uint16_t>(number);
    uint16_t values[10];
    std::fill(std::begin(values), std::end(values), expectedValue);
    status = ovk_WriteRegisters(serverFid, expectedRef.c_str(), 0, 0, values, 10, -1, nullptr, 0);
  } else {
    status = ovk_ReadRegisters(serverFid, expectedRef.c_str(), 0, 10, -1, 0);
  }
  pollfd wait = {ovk_local_wait_descriptor(), POLLIN, 0};
  while (status == ovk_Status_Done && !answered && poll(&wait, 1, 2000) > 0) ovk_DoWork(nullptr, nullptr, nullptr);
  return answered && right;
}

uint32_t counter(const char* fid, int number) {
  std::vector<ovk_local_counter_t> counters;
  ovk_local_read_counters(fid, counters);
  for (const auto& entry : counters) {
    if (entry.number == number) return entry.value;
  }
  return 0;
}

// Whether every counter of the exchange stands at half the number of messages.
bool areCounted(unsigned half) {
  const struct {
    const char* fid;
    int number;
  } counted[] = {{clientFid, 69}, {clientFid, 75}, {clientFid, 51}, {serverFid, 71}, {serverFid, 47}, {serverFid, 49}};
  bool all = true;
  for (const auto& entry : counted) {
    const uint32_t value = counter(entry.fid, entry.number);
    if (value != half) std::printf("%s counter %d is %u instead of %u\n", entry.fid, entry.number, value, half);
    all = all && value == half;
  }
  return all;
}

bool run(int count) {
  ovk_Init(true, clientFid, nullptr, nullptr, nullptr);
  add(ovk_Service_RegisterReadClient, takeRead);
  add(ovk_Service_RegisterWriteClient, takeWrite);
  for (int i = 0; i < count; ++i) {
    if (exchange(i)) continue;
    std::printf("exchange %d failed\n", i);
    return false;
  }
  return areCounted(static_cast<unsigned>(count) / 2);
}

// The client in a process of its own, so that its end can be looked at.
int client(int count) {
  const bool good = run(count);
  ovk_QMXBusShutdown();
  return good ? 0 : 1;
}

int statusOf(pid_t process) {
  int status = 0;
  waitpid(process, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

} // namespace

int main(int argc, char* argv[]) {
  const int count = argc > 1 ? std::atoi(argv[1]) : 2000; // NOLINT(cert-err34-c)
  std::string directory = (std::filesystem::temp_directory_path() / "ovk-exchange-XXXXXX").string();
  if (mkdtemp(directory.data()) == nullptr || !ovk_local_set_bus_directory(directory.c_str())) return 1;
  int ready[2];
  if (pipe(ready) != 0) return 1;
  const pid_t server = fork();
  if (server == 0) std::exit(serve(ready[1]));
  char byte = 0;
  if (read(ready[0], &byte, 1) != 1) return 1;
  const pid_t asking = fork();
  if (asking == 0) std::exit(client(count));
  const int clientStatus = statusOf(asking);
  kill(server, SIGTERM);
  const int serverStatus = statusOf(server);
  const bool empty = std::filesystem::is_empty(directory);
  if (!empty) std::printf("something is left in %s\n", directory.c_str());
  std::filesystem::remove_all(directory);
  std::printf("%d exchanges: client %d, server %d\n", count, clientStatus, serverStatus);
  return clientStatus == 0 && serverStatus == 0 && empty ? 0 : 1;
}
