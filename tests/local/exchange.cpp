// Two processes exchange register writes and reads through the local bus, as fast as they can:  exchange [COUNT]

#include <algorithm>
#include <cstring>
#include <memory>
#include <poll.h>

#include "local_bus.h"
#include "ovk/ovk.h"

namespace {

int count = 2000; // of exchanges, half of them writes
constexpr const char* clientFid = fidA;
constexpr const char* serverFid = fidB;
constexpr int words = 10;

class Exchange : public LocalBus {};

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

void add(ovk_Service_t service, ovk_ServiceCallback_t callback) {
  const auto untyped = reinterpret_cast<void*>(callback);
  EXPECT_EQ(unsigned{ovk_Status_Done}, ovk_RegisterForService(service, untyped, nullptr, nullptr, nullptr));
}

void serve(Child& self) {
  ovk_QMXBusShutdown(); // what was inherited
  ovk_Init(true, serverFid, nullptr, nullptr, nullptr);
  add(ovk_Service_RegisterReadServer, serveRead);
  add(ovk_Service_RegisterWriteServer, serveWrite);
  self.signal();
  pollfd waiting[] = {{ovk_local_wait_descriptor(), POLLIN, 0}, {self.link(), POLLIN, 0}};
  while (::poll(waiting, 2, -1) > 0 && waiting[1].revents == 0) ovk_DoWork(nullptr, nullptr, nullptr);
  ovk_QMXBusShutdown();
}

struct {
  std::string refId;
  uint16_t value;
  bool arrived, right;
} awaited;

template <class Answer>
bool isAwaited(const Answer& answer) {
  if (answer.refId != awaited.refId) return false;
  awaited.arrived = true;
  awaited.right = answer.success == 1;
  return true;
}

int takeRead(void* data, unsigned /*length*/) {
  const auto& answer = *static_cast<ovk_RegisterReadRspCallbackData_t*>(data);
  if (!isAwaited(answer)) return 0;
  const std::vector<uint16_t> values(answer.pStartRegister1, answer.pStartRegister1 + answer.numberRegisters1);
  awaited.right = awaited.right && values == std::vector<uint16_t>(words, awaited.value);
  return 0;
}

int takeWrite(void* data, unsigned /*length*/) {
  isAwaited(*static_cast<ovk_RegisterWriteRspCallbackData_t*>(data));
  return 0;
}

void startClient() {
  ovk_Init(true, clientFid, nullptr, nullptr, nullptr);
  add(ovk_Service_RegisterReadClient, takeRead);
  add(ovk_Service_RegisterWriteClient, takeWrite);
}

unsigned send(bool write, uint16_t value) {
  static int requests = 0;
  awaited = {"x-" + std::to_string(++requests), value, false, false};
  const std::vector<uint16_t> values(words, value);
  const char* const refId = awaited.refId.c_str();
  return write ? ovk_WriteRegisters(serverFid, refId, 0, 0, values.data(), words, -1, nullptr, 0)
               : ovk_ReadRegisters(serverFid, refId, 0, words, -1, 0);
}

bool exchange(bool write, uint16_t value) {
  if (send(write, value) != ovk_Status_Done) return false;
  pollfd waiting{ovk_local_wait_descriptor(), POLLIN, 0};
  while (!awaited.arrived && ::poll(&waiting, 1, 2000) > 0) ovk_DoWork(nullptr, nullptr, nullptr);
  return awaited.right;
}

std::uint32_t counter(const char* fid, int number) {
  std::vector<ovk_local_counter_t> counters;
  EXPECT_TRUE(ovk_local_read_counters(fid, counters));
  for (const auto& entry : counters)
    if (entry.number == number) return entry.value;
  return 0;
}

TEST_F(Exchange, EveryAnswerIsRightAndCounted) {
  Child server(serve);
  ASSERT_TRUE(server.await());
  Child client([](Child&) {
    startClient();
    for (int i = 0; i < count; ++i) ASSERT_TRUE(exchange(i % 2 == 0, static_cast<uint16_t>(i / 2))) << i;
    ASSERT_TRUE(exchange(true, 0)); // the server counts a read when it has answered, a write before
    const auto reads = static_cast<unsigned>(count / 2);
    for (const int number : {69, 75}) EXPECT_EQ(reads + 1, counter(clientFid, number)) << number;
    EXPECT_EQ(reads, counter(clientFid, 51));
    EXPECT_EQ(reads + 1, counter(serverFid, 71));
    for (const int number : {47, 49}) EXPECT_EQ(reads, counter(serverFid, number)) << number;
    ovk_QMXBusShutdown();
  });
  EXPECT_EQ(0, client.finish());
  EXPECT_EQ(0, server.finish());
  EXPECT_EQ(0, files());
}

// The client, who stays, is told, and goes on as soon as the server is back under its identifier.
TEST_F(Exchange, GoesOnWhenTheServerIsKilled) {
  startClient();
  for (uint16_t round = 0; round < 20; ++round) {
    Child server(serve);
    ASSERT_TRUE(server.await());
    for (int i = 0; i < 20; ++i) ASSERT_TRUE(exchange(true, round) && exchange(false, round)) << round;
    ASSERT_EQ(unsigned{ovk_Status_Done}, send(true, 0)); // on its way, perhaps never read
    server.kill();
    EXPECT_EQ(unsigned{ovk_Status_NotWritten}, send(false, 0)) << round;
    traced("cannot write to VR001_00002_0000000000BB: it is not running");
  }
}

} // namespace

int main(int argc, char* argv[]) {
  ::testing::InitGoogleTest(&argc, argv);
  if (argc > 1) count = std::atoi(argv[1]); // NOLINT(cert-err34-c)
  const int result = RUN_ALL_TESTS();
  std::printf("%d exchanges\n", count);
  return result;
}
