// What a foreign process of the same user may do to the bundled bus: any bytes as topology.json, any bytes at a channel,
// behind which the next message is received all the same. The first byte says which.

#include <filesystem>
#include <fstream>
#include <sys/socket.h>
#include <vector>

#include "check.h"
#include "ovk/local_platform.h"
#include "ovk/ovk.h"
#include "platform/local/bus/bus_directory.h"
#include "platform/local/bus/file_names.h"
#include "platform/local/bus/socket_address.h"
#include "platform/local/topology/topology_text.h"
#include "support/temporary_directory.h"

namespace {

using fuzz::check;

constexpr const char* ownFid = "VR001_00001_0000000000A1";
unsigned received = 0; // records

int onMessage(void* /*record*/, unsigned /*length*/) { return static_cast<int>(++received); }

void joinBus() {
  static const TemporaryDirectory directory;
  ovk_local_set_bus_directory(directory.path().c_str());
  ovk_local_set_trace_threshold(-1);
  ovk_Init(true, ownFid, nullptr, nullptr, nullptr);
  const auto callback = reinterpret_cast<void*>(onMessage);
  for (int service = 0; service < 8; ++service)
    ovk_RegisterForService(static_cast<ovk_Service_t>(service), callback, nullptr, nullptr, nullptr);
}

// A file that can be read is written again unchanged in what it says; what it names is known.
void useFile(const std::string& text) {
  ovk::local::TopologyConfig config;
  std::string fault;
  const bool isGood = ovk::local::parseTopology(text, config, fault);
  check(isGood == fault.empty(), "a fault is named");
  ovk::local::TopologyConfig again;
  const std::string formatted = formatTopology(config);
  check(!isGood || (ovk::local::parseTopology(formatted, again, fault) && formatTopology(again) == formatted),
        "what is written can be read and says the same");

  // Written beside and renamed, as an editor does it: a file written in place is looked at once a second only.
  const std::string name = ovk_local_bus_directory() + "/topology.json";
  std::ofstream(name + ".edited", std::ios::binary) << text;
  std::filesystem::rename(name + ".edited", name);
  std::vector<ovk_topology_controller_t> list;
  check(ovk_topology_get_list(list), "there is a list, whatever the file says");
  for (const auto& controller : config.controllers)
    check((isGood || controller.fid == ownFid) == (ovk_topology_is_orvane_device(controller.fid.c_str()) != 0),
          "a good file is used, a bad one not");
}

void throwAt(int channel, const std::string& bytes) {
  const auto directory = ovk::local::busDirectory();
  sockaddr_un address;
  const std::string name = ovk::local::fileName(ownFid, ovk::local::socketSuffix(channel));
  check(directory && ovk::local::makeSocketAddress(directory->pathOf(name), address), "the socket has a name");
  const ovk::local::FileDescriptor stranger(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
  check(::connect(stranger.get(), ovk::local::asGeneric(address), sizeof address) == 0, "the channel listens");
  ::send(stranger.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  received = 0;
  ovk_DoWork(nullptr, nullptr, nullptr);
  const unsigned before = received;
  ::send(stranger.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  check(ovk_ReadDeviceInfo(ownFid, "r") == ovk_Status_Done, "a message can be sent");
  ovk_DoWork(nullptr, nullptr, nullptr);
  check(received == 2 * before + 1, "the same bytes do the same again, and no other message is lost");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool joined = (joinBus(), true);
  if (!joined || size == 0) return 0;
  const std::string rest(reinterpret_cast<const char*>(data) + 1, size - 1);
  if (data[0] % 4 < 2)
    useFile(rest);
  else
    throwAt(data[0] % 4 - 1, rest);
  ovk_DoWork(nullptr, nullptr, nullptr);
  return 0;
}
