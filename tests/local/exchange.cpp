// Two processes exchange register writes and reads through the local bus, as fast as they can:  exchange COUNT [KILLS]
//
// Every answer is matched and compared, both sides' counters must equal the number sent, and nothing may be left behind.
// With KILLS, the server is killed so many times in the middle of it and started anew at once. The client, who stays,
// may lose one exchange by each; what it cannot send meanwhile it tries again.

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "ovk/local_platform.h"
#include "ovk/ovk.h"

namespace {

constexpr const char* clientFid = "VR001_00001_0000000000C1";
constexpr const char* serverFid = "VR002_00002_0000000000D2";
constexpr int words = 10;

volatile std::sig_atomic_t stopped = 0;
void stop(int /*signal*/) { stopped = 1; }

uint16_t stored[1024];

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

template <typename Callback>
void add(ovk_Service_t service, Callback callback) {
  const auto untyped = reinterpret_cast<void*>(callback);
  if (ovk_RegisterForService(service, untyped, nullptr, nullptr, nullptr) != ovk_Status_Done) std::exit(1);
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

struct {
  std::string refId;
  uint16_t value;
  bool arrived, right;
} awaited;

int takeRead(void* data, unsigned /*length*/) {
  const auto& answer = *static_cast<ovk_RegisterReadRspCallbackData_t*>(data);
  if (answer.refId != awaited.refId) return 0;
  awaited.arrived = true;
  const auto isRight = [](uint16_t word) { return word == awaited.value; };
  awaited.right = answer.success == 1 && answer.numberRegisters1 == words &&
                  std::all_of(answer.pStartRegister1, answer.pStartRegister1 + words, isRight);
  return 0;
}

int takeWrite(void* data, unsigned /*length*/) {
  const auto& answer = *static_cast<ovk_RegisterWriteRspCallbackData_t*>(data);
  if (answer.refId != awaited.refId) return 0;
  awaited.arrived = true;
  awaited.right = answer.success == 1;
  return 0;
}

enum class Outcome { right, notSent, lost };

Outcome ask(bool write, uint16_t value) {
  static int requests = 0;
  awaited = {"x-" + std::to_string(++requests), value, false, false};
  const std::vector<uint16_t> values(words, value);
  const unsigned status =
      write ? ovk_WriteRegisters(serverFid, awaited.refId.c_str(), 0, 0, values.data(), words, -1, nullptr, 0)
            : ovk_ReadRegisters(serverFid, awaited.refId.c_str(), 0, words, -1, 0);
  if (status != ovk_Status_Done) return status == ovk_Status_NotWritten ? Outcome::notSent : Outcome::lost;
  pollfd wait = {ovk_local_wait_descriptor(), POLLIN, 0};
  while (!awaited.arrived && poll(&wait, 1, 1000) > 0) ovk_DoWork(nullptr, nullptr, nullptr);
  return awaited.right ? Outcome::right : Outcome::lost;
}

// Writes a value and reads it back.
Outcome exchange(uint16_t value) {
  const Outcome written = ask(true, value);
  return written == Outcome::right ? ask(false, value) : written;
}

uint32_t counter(const char* fid, int number) {
  std::vector<ovk_local_counter_t> counters;
  ovk_local_read_counters(fid, counters);
  for (const auto& entry : counters)
    if (entry.number == number) return entry.value;
  return 0;
}

bool areCounted(unsigned writes, unsigned reads) {
  const struct {
    const char* fid;
    int number;
    unsigned expected;
  } rows[] = {{clientFid, 69, writes}, {clientFid, 75, writes}, {clientFid, 51, reads},
              {serverFid, 71, writes}, {serverFid, 47, reads},  {serverFid, 49, reads}};
  bool all = true;
  for (const auto& row : rows) {
    const uint32_t value = counter(row.fid, row.number);
    if (value != row.expected) std::printf("%s counter %d: %u, not %u\n", row.fid, row.number, value, row.expected);
    all = all && value == row.expected;
  }
  return all;
}

// One byte into `progress` asks for each kill.
int client(int pairs, int kills, int progress) {
  ovk_local_set_trace_threshold(kills > 0 ? -1 : 2);
  ovk_Init(true, clientFid, nullptr, nullptr, nullptr);
  add(ovk_Service_RegisterReadClient, takeRead);
  add(ovk_Service_RegisterWriteClient, takeWrite);
  int lost = 0;
  for (int done = 0; done < pairs && lost <= kills;) {
    const Outcome outcome = exchange(static_cast<uint16_t>(done));
    if (outcome == Outcome::right) ++done;
    if (outcome == Outcome::lost || (outcome == Outcome::notSent && kills == 0)) ++lost;
    if (outcome == Outcome::right && kills > 0 && done % (pairs / (kills + 1)) == 0 && write(progress, "k", 1) != 1)
      return 1;
  }
  // The server counts a read when it has answered, perhaps too late for a look; a last write makes sure.
  const auto half = static_cast<unsigned>(pairs);
  const bool good = lost <= kills && ask(true, 0) == Outcome::right && (kills > 0 || areCounted(half + 1, half));
  ovk_QMXBusShutdown();
  std::printf("%d exchanges, %d lost\n", 2 * pairs, lost);
  return good ? 0 : 1;
}

// Runs `body` in a process of its own, whose end can be looked at; it writes into the pipe.
template <typename Body>
pid_t spawn(const int (&pipe)[2], Body body) {
  const pid_t process = fork();
  if (process == 0) std::exit(body(pipe[1]));
  return process;
}

pid_t startServer() {
  int ready[2];
  char byte = 0;
  if (pipe(ready) != 0) return -1;
  const pid_t server = spawn(ready, serve);
  close(ready[1]);
  const bool isReady = read(ready[0], &byte, 1) == 1;
  close(ready[0]);
  return isReady ? server : -1;
}

bool endedWell(pid_t process) {
  int status = -1;
  return waitpid(process, &status, 0) == process && status == 0;
}

bool run(int count, int kills) {
  int progress[2];
  pid_t server = startServer();
  if (server < 0 || pipe(progress) != 0) return false;
  const pid_t asking = spawn(progress, [=](int to) { return client(count / 2, kills, to); });
  close(progress[1]);
  char byte = 0;
  for (int killed = 0; killed < kills && read(progress[0], &byte, 1) == 1; ++killed) {
    kill(server, SIGKILL);
    waitpid(server, nullptr, 0);
    server = startServer();
    if (server < 0) return false;
  }
  const bool clientGood = endedWell(asking);
  kill(server, SIGTERM);
  const bool serverGood = endedWell(server);
  if (!clientGood || !serverGood) std::printf("client good: %d, server good: %d\n", clientGood, serverGood);
  return clientGood && serverGood;
}

} // namespace

int main(int argc, char* argv[]) {
  const int count = argc > 1 ? std::atoi(argv[1]) : 2000; // NOLINT(cert-err34-c)
  const int kills = argc > 2 ? std::atoi(argv[2]) : 0;    // NOLINT(cert-err34-c)
  std::string directory = (std::filesystem::temp_directory_path() / "ovk-exchange-XXXXXX").string();
  if (mkdtemp(directory.data()) == nullptr || !ovk_local_set_bus_directory(directory.c_str())) return 1;
  const bool good = run(count, kills);
  const bool empty = std::filesystem::is_empty(directory);
  if (!empty) std::printf("something is left in %s\n", directory.c_str());
  std::filesystem::remove_all(directory);
  return good && empty ? 0 : 1;
}
