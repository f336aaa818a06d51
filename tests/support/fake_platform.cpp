#include "support/fake_platform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <regex>
#include <sstream>

#include "core/registry.h"
#include "platform/bus_counters.h"
#include "platform/shared_memory.h"
#include "platform/trace_log.h"
#include "platform/transfer_channel.h"

namespace {

fake::Platform current;

std::string replacedFirst(std::string text, const std::string& part, const char* by) {
  const std::size_t at = part.empty() ? std::string::npos : text.find(part);
  return at == std::string::npos ? text : text.replace(at, part.size(), by);
}

// Returns what the calls return that do nothing else.
template <typename... Arguments>
int record(const char* name, const Arguments&... arguments) {
  const fake::Undisturbed undisturbed;
  std::ostringstream call;
  ((call << ", " << arguments), ...);
  current.calls.push_back(name + ("(" + (sizeof...(arguments) == 0 ? "" : call.str().substr(2)) + ")"));
  return current.topologyResult;
}

} // namespace

namespace fake {

Platform& platform() { return current; }

void reset() {
  current = Platform();
  OrvaneServices.assign(8, {});
  ovk::enableBus(false);
  failMallocAfter(-1);
  failNewAfter(-1);
}

std::string parentOf(const std::string& fid) { return "parent of " + fid; }

std::string Platform::errors(const std::string& message) const {
  static const std::regex failure("return(s|ed) -");
  std::string all;
  for (const TraceLine& line : trace) {
    const bool isError = line.level == traceError;
    if (!isError && !std::regex_search(line.text, failure)) continue;
    all += (isError ? "" : std::to_string(line.level) + " ") + replacedFirst(line.text, message, "MSG");
  }
  return all;
}

std::string Platform::lines(const std::string& message, const std::string& without) const {
  static const std::regex address("0x[0-9a-f]{6,}");
  static const std::regex blankAtEnd(" \n$");
  std::string all;
  for (const TraceLine& line : trace) {
    if (without.find(" " + line.function + " ") != std::string::npos) continue;
    const std::string text = std::regex_replace(replacedFirst(line.text, message, "MSG"), address, "PTR");
    all += std::to_string(line.level) + " " + line.function + ": " + std::regex_replace(text, blankAtEnd, "_\n");
  }
  return all;
}

} // namespace fake

int createTransferChannel(int index, int role) {
  record("createTransferChannel", index, role);
  const fake::Undisturbed undisturbed;
  if (current.onCreate) current.onCreate();
  const int result = current.createResults[index];
  if (result == fake::noMemory) throw std::bad_alloc();
  return result;
}

int readTransferChannel(int index, void* buffer, unsigned size) {
  const fake::Undisturbed undisturbed;
  const auto* bytes = static_cast<const char*>(buffer);
  current.offered = size;
  current.offeredZeroed = std::all_of(bytes, bytes + size, [](char byte) { return byte == 0; });
  auto& waiting = current.inbound[index];
  if (waiting.empty()) return 0;
  const std::string message = waiting.front();
  waiting.pop_front();
  std::memcpy(buffer, message.data(), std::min<std::size_t>(size, message.size()));
  return current.readResult != 0 ? current.readResult : static_cast<int>(message.size());
}

int writeTransferChannel(int index, const void* message, unsigned size) {
  const fake::Undisturbed undisturbed;
  if (current.writeResult == 0) current.written.push_back({index, {static_cast<const char*>(message), size}});
  return current.writeResult;
}

int destroyTransferChannel(int index) { return record("destroyTransferChannel", index); }

void logTracePrint(const char* file, int /*line*/, const char* function, int level, const char* format, ...) {
  const fake::Undisturbed undisturbed;
  std::va_list arguments;
  va_start(arguments, format);
  char* text = nullptr;
  EXPECT_GE(::vasprintf(&text, format, arguments), 0);
  va_end(arguments);
  EXPECT_STREQ(file, "QMXBusAPI") << text;
  current.trace.push_back({level, function, text});
  std::free(text);
}

int createQMXBSharedMemory() { return record("createQMXBSharedMemory"); }

void IncrQMXBCnt(QMXBCounter_e counter) {
  const fake::Undisturbed undisturbed;
  ++current.counters[counter];
}

int Topology::init(std::string fid, p_TopologyCallback1 callback1, p_TopologyCallback2 callback2,
                   p_TopologyCallback3 callback3) {
  return record("init", fid, callback1 != nullptr, callback2 != nullptr, callback3 != nullptr);
}

int Topology::get_my_fid(std::string& fid) {
  const fake::Undisturbed undisturbed;
  fid = current.myFid;
  return current.knowsMyFid ? 1 : 0;
}

int Topology::get_parent_fid(std::string fid, std::string& parent) {
  record("get_parent_fid", fid);
  const fake::Undisturbed undisturbed;
  if (current.knowsParents) parent = fake::parentOf(fid);
  return current.knowsParents ? 1 : 0;
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
  return record("set_static_member", parent, fid, name);
}
int Topology::set_static_member(std::string parent, std::string fid) {
  return record("set_static_member", parent, fid);
}
int Topology::delete_static_member(std::string parent, std::string fid) {
  return record("delete_static_member", parent, fid);
}
int Topology::is_orvane_member(std::string fid) { return record("is_orvane_member", fid); }

void Topology::get_qmxb_statistic(unsigned* first, unsigned* second) {
  *first = 11;
  *second = 22;
}

void TopologyDoWork(p_TopologyCallback1 callback1, p_TopologyCallback2 callback2, p_TopologyCallback3 callback3) {
  record("TopologyDoWork", callback1 != nullptr, callback2 != nullptr, callback3 != nullptr);
}
