// Any bytes as a received message, with a callback for every service: each reads all that its record announces and writes
// over it, and the servers answer from within.

#include <cstring>

#include "callback/record_table.h"
#include "check.h"
#include "ovk/ovk.h"
#include "platform/transfer_channel.h"
#include "support/fake_platform.h"

namespace {

using fuzz::check;

constexpr const char* ownFid = "VR001_00001_0000000000A1";

template <std::size_t N>
void checkText(const char (&field)[N]) {
  check(std::memchr(field, '\0', N) != nullptr, "a text field ends in a NUL");
}

// Reads and replaces every byte, so that a sanitizer sees what is not there.
template <typename Item>
void use(Item* items, int count) {
  check(count <= 0 || items != nullptr, "items announced are there");
  for (int i = 0; i < count; ++i) {
    volatile Item item = items[i];
    (void)item;
    std::memset(&items[i], 0xA5, sizeof(Item));
  }
}
template <>
void use(TagItem_t* items, int count) {
  for (int i = 0; i < count; ++i) {
    checkText(items[i].fid);
    if (items[i].idd == 4) checkText(items[i].data.str);
  }
  use(reinterpret_cast<char*>(items), count * static_cast<int>(sizeof *items));
}
template <>
void use(Tag_t* items, int count) {
  use(reinterpret_cast<char*>(items), count * static_cast<int>(sizeof *items));
}

void useBody(ovk_DescriptorReadRspCallbackData_t& record) {
  check(record.success == 1, "a failed description is not delivered");
  check(record.numTagRegBlocks <= 10 && record.numResRegBlocks <= 4, "counts of blocks are possible");
  use(record.pTagRegBlocks, 10);
  use(record.pResRegBlocks, 10);
}
void useBody(ovk_DescriptorReadReqCallbackData_t& record) {
  int blocks[] = {1, 2, 3, 4};
  ovk_serveReadDeviceInfo(record.srcFid, record.dstFid, record.refId, 4, blocks, 4, blocks, 256, true, nullptr);
}
void useBody(ovk_TagReadRspCallbackData_t& record) { use(record.pTagItems, record.numTagItems); }
void useBody(ovk_TagReadReqCallbackData_t& record) {
  TagItem_t item{};
  ovk_serveReadTag(record.srcFid, record.dstFid, record.refId, 1, &item, true, nullptr);
  use(record.pTags, record.numTags);
}
void useBody(ovk_RegisterReadRspCallbackData_t& record) {
  check(record.numberRegisters1 <= 1024 && record.numberRegisters2 <= 1024, "counts of registers are possible");
  use(record.pStartRegister1, 1024);
  use(record.pStartRegister2, 1024);
}
void useBody(ovk_RegisterReadReqCallbackData_t& record) {
  const uint16_t words[1024] = {};
  const int count = record.numberRegisters1 > 0 && record.numberRegisters1 <= 1024 ? record.numberRegisters1 : 0;
  ovk_serveReadRegisters(record.srcFid, record.dstFid, record.refId, record.startRegister1, words, count,
                         record.startRegister2, words, 0, true, nullptr);
}
void useBody(ovk_RegisterWriteRspCallbackData_t& /*record*/) {}
void useBody(ovk_RegisterWriteReqCallbackData_t& record) {
  use(record.pStartRegister1, 1024);
  use(record.pStartRegister2, 1024);
  ovk_serveWriteRegisters(record.srcFid, record.dstFid, record.refId, false, "no");
}

template <typename Record>
int useRecord(void* data, unsigned length) {
  Record& record = *static_cast<Record*>(data);
  check(length == sizeof record, "a record has its size");
  checkText(record.srcFid);
  checkText(record.dstFid);
  checkText(record.refId);
  if constexpr (ovk::isResponse<Record>) {
    checkText(record.errReason);
    check(record.success == 0 || record.success == 1, "success is 0 or 1");
  }
  useBody(record);
  std::memset(data, 0xA5, length); // also the pointers to its blocks
  return 0;
}

using Callback = int (*)(void*, unsigned);
constexpr Callback callbacks[] = {
    useRecord<ovk_DescriptorReadRspCallbackData_t>, useRecord<ovk_DescriptorReadReqCallbackData_t>,
    useRecord<ovk_TagReadRspCallbackData_t>,        useRecord<ovk_TagReadReqCallbackData_t>,
    useRecord<ovk_RegisterReadRspCallbackData_t>,   useRecord<ovk_RegisterReadReqCallbackData_t>,
    useRecord<ovk_RegisterWriteRspCallbackData_t>,  useRecord<ovk_RegisterWriteReqCallbackData_t>,
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fake::reset();
  ovk_Init(true, ownFid, nullptr, nullptr, nullptr);
  for (int service = 0; service < 8; ++service) {
    ovk_RegisterForService(static_cast<ovk_Service_t>(service), reinterpret_cast<void*>(callbacks[service]), nullptr,
                           nullptr, nullptr);
  }
  auto& requests = fake::platform().inbound[IPC_TC_QMX_SERVER_REQ_IDX];
  requests.emplace_back(reinterpret_cast<const char*>(data), size);
  ovk_DoWork(nullptr, nullptr, nullptr);
  check(requests.empty(), "a message is read, whatever it is");
  return 0;
}
