// The library on the local bus, waiting on its descriptor or busy.
//
// Two busy sides need a processor each; everything else stays on one. The busy server goes on working for a moment after
// each message and then waits like the other, so that it does not disturb what is measured next.

#include <algorithm>
#include <array>
#include <chrono>
#include <poll.h>

#include "links.h"
#include "message/envelope.h"
#include "ovk/local_platform.h"
#include "ovk/ovk.h"
#include "processes.h"
#include "register/register_payload.h"
#include "support/temporary_directory.h"
#include "texts.h"

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto busyTime = std::chrono::milliseconds(2); // without a message, until the busy server waits again
constexpr auto longestWait = std::chrono::milliseconds(2000);
constexpr const char* readReference = "bench-100017";
constexpr const char* busyServerFid = "VR002_00003_0000000000D3";

std::array<uint16_t, manyRegisters> stored;
Clock::time_point served;

int serveRead(void* data, unsigned /*length*/) {
  const auto& request = *static_cast<ovk_RegisterReadReqCallbackData_t*>(data);
  ovk_serveReadRegisters(request.srcFid, request.dstFid, request.refId, request.startRegister1,
                         &stored[static_cast<std::size_t>(request.startRegister1)], request.numberRegisters1,
                         request.startRegister2, &stored[static_cast<std::size_t>(request.startRegister2)],
                         request.numberRegisters2, true, nullptr);
  served = Clock::now();
  return 0;
}

bool answered = false;
bool right = false;

int takeAnswer(void* data, unsigned /*length*/) {
  const auto& answer = *static_cast<ovk_RegisterReadRspCallbackData_t*>(data);
  std::array<uint16_t, manyRegisters> values{};
  std::copy_n(answer.pStartRegister1, answer.numberRegisters1, values.begin());
  std::copy_n(answer.pStartRegister2, answer.numberRegisters2, values.begin() + answer.numberRegisters1);
  right = areRight(values.data(), answer.numberRegisters1 + answer.numberRegisters2);
  answered = true;
  return 0;
}

template <typename Callback>
bool join(const std::string& directory, const char* fid, ovk_Service_t service, Callback callback) {
  return ovk_local_set_bus_directory(directory.c_str()) &&
         ovk_Init(true, fid, nullptr, nullptr, nullptr) == ovk_Status_Done &&
         ovk_RegisterForService(service, reinterpret_cast<void*>(callback), nullptr, nullptr, nullptr) ==
             ovk_Status_Done;
}

void waitForMessage(std::chrono::milliseconds::rep milliseconds) {
  pollfd wait = {ovk_local_wait_descriptor(), POLLIN, 0};
  ::poll(&wait, 1, static_cast<int>(milliseconds));
}

template <typename Ready>
void serve(const std::string& directory, bool isBusy, Ready ready) {
  if (isBusy) stayOn(processors().last);
  for (int i = 0; i < manyRegisters; ++i) stored[static_cast<std::size_t>(i)] = registerValue(i);
  const char* const fid = isBusy ? busyServerFid : serverFid;
  if (!join(directory, fid, ovk_Service_RegisterReadServer, serveRead) || !ready(0)) return;
  for (;;) {
    ovk_DoWork(nullptr, nullptr, nullptr);
    if (!isBusy || Clock::now() - served > busyTime) waitForMessage(-1);
  }
}

// The bus that both links share, with a server for each.
class Bus {
public:
  Bus()
      : server_([this](auto ready) { serve(directory_.path(), false, ready); }),
        busyServer_([this](auto ready) { serve(directory_.path(), true, ready); }) {
    isOpen_ = server_.word() == 0 && busyServer_.word() == 0 &&
              join(directory_.path(), clientFid, ovk_Service_RegisterReadClient, takeAnswer);
  }
  Bus(const Bus&) = delete;
  Bus& operator=(const Bus&) = delete;
  ~Bus() { ovk_QMXBusShutdown(); }
  bool isOpen() const { return isOpen_; }
  static Bus& get() {
    static Bus bus;
    return bus;
  }

private:
  TemporaryDirectory directory_;
  ServerProcess server_;
  ServerProcess busyServer_;
  bool isOpen_ = false;
};

template <bool isBusy>
class OvkLink : public Link {
public:
  bool read(int registers) override {
    answered = right = false;
    const std::string reference = "bench-" + std::to_string(100000 + ++number_ % 900000);
    const int first = std::min(registers, ovk_MaxRegistersPerArea);
    const bool needsTwo = registers > first;
    if (ovk_ReadRegisters(isBusy ? busyServerFid : serverFid, reference.c_str(), 0, first, needsTwo ? first : -1,
                          needsTwo ? registers - first : 0) != ovk_Status_Done) {
      return false;
    }
    const auto deadline = Clock::now() + longestWait;
    for (unsigned i = 1; !answered && (i % 1024 != 0 || Clock::now() < deadline); ++i) {
      if (!isBusy) waitForMessage(longestWait.count());
      ovk_DoWork(nullptr, nullptr, nullptr);
    }
    return answered && right;
  }

private:
  unsigned number_ = 0;
};

template <typename Type>
std::unique_ptr<Link> open() {
  return Bus::get().isOpen() ? std::make_unique<Type>() : nullptr;
}

const bool entered = enter(LinkType{"ovk", open<OvkLink<false>>}) && enter(LinkType{"ovk_busy", open<OvkLink<true>>});

} // namespace

std::string readRequestText(int registers) {
  const std::string second = registers > ovk_MaxRegistersPerArea
                                 ? R"({"start":1024,"num":)" + std::to_string(registers - ovk_MaxRegistersPerArea) + "}"
                                 : R"({"start":0,"num":0})";
  return std::string(R"({"msg_type":200,"ver":"1.0","ref_id":")") + readReference + R"(","src":{"fid":")" + clientFid +
         R"("},"dst":{"fid":")" + serverFid + R"(","at":")" + serverFid + R"("},"data":[{"start":0,"num":)" +
         std::to_string(std::min(registers, ovk_MaxRegistersPerArea)) + "}," + second + "]}";
}

std::string readResponseText(int registers) {
  std::array<uint16_t, manyRegisters> values{};
  for (int i = 0; i < registers; ++i) values[static_cast<std::size_t>(i)] = registerValue(i);
  const int first = std::min(registers, ovk_MaxRegistersPerArea);
  const std::vector<RegisterArea> areas = {{0, values.data(), first},
                                           {first, values.data() + first, registers - first}};
  Json message;
  ovk_build_data_read_response_message(clientFid, serverFid, serverFid, readReference, true, nullptr, areas, message);
  return std::string(message.text());
}

} // namespace bench
