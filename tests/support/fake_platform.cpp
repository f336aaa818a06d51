#include "support/fake_platform.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <sstream>

#include "core/registry.h"
#include "platform/bus_counters.h"
#include "platform/shared_memory.h"
#include "platform/trace_log.h"
#include "platform/transfer_channel.h"

namespace {

fake::Platform current;
int mallocsLeft = -1;

template <typename... Arguments>
void record(const char* name, const Arguments&... arguments) {
  std::ostringstream call;
  [[maybe_unused]] const char* separator = "";
  call << name << '(';
  ((call << separator << arguments, separator = ", "), ...);
  call << ')';
  current.calls.push_back(call.str());
}

} // namespace

namespace fake {

Platform& platform() { return current; }

void reset() {
  current = Platform();
  OrvaneServices.assign(8, {});
  ovk::enableBus(false);
  failMallocAfter(-1);
}

void failMallocAfter(int blocks) { mallocsLeft = blocks; }

int Platform::traced(int level, const std::string& text) const {
  const auto matches = [&](const TraceLine& line) { return line.level == level && line.text == text; };
  return static_cast<int>(std::count_if(trace.begin(), trace.end(), matches));
}

std::string Platform::errors() const {
  std::string all;
  for (const TraceLine& line : trace) {
    if (line.level == traceError) all += line.function + ": " + line.text;
  }
  return all;
}

} // namespace fake

// The linker sends the library's own calls of malloc and calloc here (--wrap; compilers make one of the other); those of
// the C++ runtime stay with the heap.
extern "C" void* __real_malloc(std::size_t size);
extern "C" void* __real_calloc(std::size_t count, std::size_t size);
extern "C" void* __wrap_malloc(std::size_t size);
extern "C" void* __wrap_calloc(std::size_t count, std::size_t size);

extern "C" void* __wrap_malloc(std::size_t size) {
  if (mallocsLeft >= 0 && mallocsLeft-- == 0) return nullptr;
  return __real_malloc(size);
}

extern "C" void* __wrap_calloc(std::size_t count, std::size_t size) {
  if (mallocsLeft >= 0 && mallocsLeft-- == 0) return nullptr;
  return __real_calloc(count, size);
}

int createTransferChannel(int index, int role) {
  record("createTransferChannel", index, role);
  return current.createResults[index];
}

int readTransferChannel(int index, void* buffer, unsigned size) {
  auto& waiting = current.inbound[index];
  if (waiting.empty()) return 0;
  const std::string message = waiting.front();
  waiting.pop_front();
  std::memcpy(buffer, message.data(), std::min<std::size_t>(size, message.size()));
  return current.readResult != 0 ? current.readResult : static_cast<int>(message.size());
}

int writeTransferChannel(int index, const void* message, unsigned size) {
  if (current.writeResult == 0) current.written.push_back({index, {static_cast<const char*>(message), size}});
  return current.writeResult;
}

int destroyTransferChannel(int index) {
  record("destroyTransferChannel", index);
  return 0;
}

void logTracePrint(const char* file, int /*line*/, const char* function, int level, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::va_list again;
  va_copy(again, arguments);
  std::string text(static_cast<std::size_t>(std::vsnprintf(nullptr, 0, format, arguments)), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  va_end(arguments);
  current.trace.push_back({level, std::string(file) + "/" + function, text});
}

int createQMXBSharedMemory() {
  record("createQMXBSharedMemory");
  return -1; // the library does not look at it
}

void IncrQMXBCnt(QMXBCounter_e counter) { ++current.counters[counter]; }

int Topology::init(std::string fid, p_TopologyCallback1 callback1, p_TopologyCallback2 callback2,
                   p_TopologyCallback3 callback3) {
  record("init", fid, callback1 != nullptr, callback2 != nullptr, callback3 != nullptr);
  return 0;
}

int Topology::get_my_fid(std::string& fid) {
  fid = current.myFid;
  return fid.empty() ? 0 : 1;
}

int Topology::get_parent_fid(std::string fid, std::string& parent) {
  record("get_parent_fid", fid);
  parent = current.parentFid;
  return parent.empty() ? 0 : 1;
}

bool Topology::get_topology(std::vector<orvane_parent>& parents) {
  parents = current.parents;
  return current.topologyAnswers;
}

bool Topology::get_static_members(std::vector<orvane_parent>& parents, std::string selector) {
  record("get_static_members", selector);
  return get_topology(parents);
}

int Topology::set_static_member(std::string parent, std::string fid, std::string name) {
  record("set_static_member", parent, fid, name);
  return current.topologyResult;
}

int Topology::set_static_member(std::string parent, std::string fid) {
  record("set_static_member", parent, fid);
  return current.topologyResult;
}

int Topology::delete_static_member(std::string parent, std::string fid) {
  record("delete_static_member", parent, fid);
  return current.topologyResult;
}

int Topology::is_orvane_member(std::string fid) {
  record("is_orvane_member", fid);
  return current.topologyResult;
}

void Topology::get_qmxb_statistic(unsigned* first, unsigned* second) {
  *first = 11;
  *second = 22;
}

void TopologyDoWork(p_TopologyCallback1 callback1, p_TopologyCallback2 callback2, p_TopologyCallback3 callback3) {
  record("TopologyDoWork", callback1 != nullptr, callback2 != nullptr, callback3 != nullptr);
}
