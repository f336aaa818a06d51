// Channels that count bytes, a topology of two constants and counters in memory.
//
// Writing a message costs an addition; only captured() makes it a copy.

#include "platform.h"

#include <array>
#include <benchmark/benchmark.h>

#include "platform/bus_counters.h"
#include "platform/shared_memory.h"
#include "platform/topology.h"
#include "platform/transfer_channel.h"

namespace {

std::size_t bytesWritten = 0;
std::string* copy = nullptr;
std::array<unsigned, QMXB_API_REG_WRITE_RSP_RX_ERR + 1> counters;

} // namespace

std::string bench::captured(void (*send)(const void*), const void* argument) {
  std::string text;
  copy = &text;
  send(argument);
  copy = nullptr;
  return text;
}

int createTransferChannel(int /*index*/, int /*role*/) { return 0; }
int readTransferChannel(int /*index*/, void* /*buffer*/, unsigned /*size*/) { return 0; }
int destroyTransferChannel(int /*index*/) { return 0; }

int writeTransferChannel(int /*index*/, const void* message, unsigned size) {
  benchmark::DoNotOptimize(bytesWritten += size);
  if (copy != nullptr) copy->assign(static_cast<const char*>(message), size);
  return 0;
}

int createQMXBSharedMemory() { return 0; }
void IncrQMXBCnt(QMXBCounter_e counter) { ++counters[static_cast<std::size_t>(counter)]; }

int Topology::init(std::string /*fid*/, p_TopologyCallback1 /*callback1*/, p_TopologyCallback2 /*callback2*/,
                   p_TopologyCallback3 /*callback3*/) {
  return 1;
}
int Topology::get_my_fid(std::string& fid) {
  fid = bench::ownFid;
  return 1;
}
int Topology::get_parent_fid(std::string /*fid*/, std::string& parent) {
  parent = bench::peerFid;
  return 1;
}
void TopologyDoWork(p_TopologyCallback1 /*callback1*/, p_TopologyCallback2 /*callback2*/,
                    p_TopologyCallback3 /*callback3*/) {}
