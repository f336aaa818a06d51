// Any bytes as a received message, with a callback for every service: each reads all that its record announces, sends it
// as a message of its own, and writes over all of it. What is legal must be sent, nothing else, and what was sent must
// become a record of which the same is sent again.

#include <algorithm>

#include "callback/record_table.h"
#include "check.h"
#include "ovk/service.h"
#include "platform/transfer_channel.h"
#include "support/fake_platform.h"
#include "support/records.h"

namespace {

using namespace records;
using fuzz::check;

// Each sends what its record says.

unsigned sendOn(InfoRsp& r) {
  return ovk_serveReadDeviceInfo(r.dstFid, r.srcFid, r.refId, r.numTagRegBlocks, r.pTagRegBlocks, r.numResRegBlocks,
                                 r.pResRegBlocks, r.ModbusBufferSize, r.success == 1, r.errReason);
}
unsigned sendOn(InfoReq& r) { return ovk_ReadDeviceInfo(r.dstFid, r.refId); }
unsigned sendOn(TagRsp& r) {
  for (int i = 0; i < r.numTagItems; ++i) { // a word may have been cut within an escape
    TagItem_t& item = r.pTagItems[i];
    if (item.idd == ovk_TagData_Text) std::replace(std::begin(item.data.str), std::end(item.data.str), '\\', '/');
  }
  return ovk_serveReadTag(r.dstFid, r.srcFid, r.refId, static_cast<unsigned>(r.numTagItems), r.pTagItems,
                          r.success == 1, r.errReason);
}
unsigned sendOn(TagReq& r) {
  std::vector<DevTagDevInfoTag> tags;
  for (int i = 0; i < r.numTags; ++i) tags.push_back({r.pTags[i].tag_type, r.pTags[i].tag_num});
  return ovk_ReadTags(r.dstFid, r.refId, tags);
}
unsigned sendOn(ReadRsp& r) {
  return ovk_serveReadRegisters(r.dstFid, r.srcFid, r.refId, r.startRegister1, r.pStartRegister1, r.numberRegisters1,
                                r.startRegister2, r.pStartRegister2, r.numberRegisters2, r.success == 1, r.errReason);
}
unsigned sendOn(ReadReq& r) {
  return ovk_ReadRegisters(r.dstFid, r.refId, r.startRegister1, r.numberRegisters1, r.startRegister2,
                           r.numberRegisters2);
}
unsigned sendOn(WriteRsp& r) {
  return ovk_serveWriteRegisters(r.dstFid, r.srcFid, r.refId, r.success == 1, r.errReason);
}
unsigned sendOn(WriteReq& r) {
  return ovk_WriteRegisters(r.dstFid, r.refId, r.sendNotification, r.startRegister1, r.pStartRegister1,
                            r.numberRegisters1, r.startRegister2, r.pStartRegister2, r.numberRegisters2);
}

// Whether the library takes what a record says as arguments. Foreign messages may say what it does not.
template <typename Record>
bool isLegal(const Record& /*record*/) {
  return true;
}
bool isLegal(const TagReq& r) { return r.numTags > 0; }
bool isLegal(const ReadReq& r) {
  return r.startRegister1 >= 0 && (r.numberRegisters1 >= 1 || r.numberRegisters1 == -1);
}
bool isLegal(const WriteReq& r) {
  return r.startRegister1 >= 0 && r.numberRegisters1 >= 1 && (r.sendNotification == 0 || r.sendNotification == 1);
}

template <std::size_t N>
void checkText(const char (&field)[N]) {
  check(std::memchr(field, '\0', N) != nullptr, "a text field ends in a NUL");
}

// Calls `each(items, count, room)` for every block of a record.
template <typename Record, typename Each>
void forBlocks(Record& r, Each each) {
  if constexpr (std::is_same_v<Record, InfoRsp>) {
    each(r.pTagRegBlocks, r.numTagRegBlocks, 10);
    each(r.pResRegBlocks, r.numResRegBlocks, 10);
  } else if constexpr (std::is_same_v<Record, TagRsp>) {
    each(r.pTagItems, r.numTagItems, r.numTagItems);
  } else if constexpr (std::is_same_v<Record, TagReq>) {
    each(r.pTags, r.numTags, r.numTags);
  } else if constexpr (std::is_same_v<Record, ReadRsp> || std::is_same_v<Record, WriteReq>) {
    each(r.pStartRegister1, r.numberRegisters1, 1024);
    each(r.pStartRegister2, r.numberRegisters2, 1024);
  }
}

bool isDelivered = false; // whether the last message has reached a callback

struct Use {
  template <typename Record>
  int operator()(Record& record) const {
    checkText(record.srcFid);
    checkText(record.dstFid);
    checkText(record.refId);
    if constexpr (ovk::isResponse<Record>) {
      checkText(record.errReason);
      check(record.success == 0 || record.success == 1, "success is 0 or 1");
    }
    isDelivered = true;
    fake::platform().myFid = record.srcFid; // that of requests
    const bool legal = isLegal(record);
    const unsigned status = sendOn(record); // the record may be another one afterwards
    check(status == (legal ? ovk_Status_Done : ovk_Status_Invalid), "what is legal is sent, and nothing else");
    check(fake::platform().written.size() == (legal ? 1 : 0), "what is sent is one message");
    forBlocks(record, [](auto* items, int count, int room) {
      check(count <= room, "a count is possible");
      std::memset(static_cast<void*>(items), 0xA5, static_cast<std::size_t>(room) * sizeof *items);
    });
    std::memset(&record, 0xA5, sizeof record); // also the pointers to its blocks
    return 0;
  }
};

// Returns what the callback has sent of the message, if anything.
std::string sentOf(const std::string& message) {
  auto& requests = fake::platform().inbound[IPC_TC_QMX_SERVER_REQ_IDX];
  requests.push_back(message);
  isDelivered = false;
  fake::platform().written.clear();
  ovk_DoWork(nullptr, nullptr, nullptr);
  check(requests.empty(), "a message is read, whatever it is");
  check(message.size() <= ovk_MaxMessageSize || !isDelivered, "a message that is too long reaches no callback");
  return fake::platform().written.empty() ? "" : fake::platform().written[0].text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fake::reset();
  ovk_Init(true, fake::platform().myFid.c_str(), nullptr, nullptr, nullptr);
  registerForAll<Use>();
  const std::string sent = sentOf({reinterpret_cast<const char*>(data), size});
  if (sent.empty() || sent.size() > ovk_MaxMessageSize) return 0;
  const std::string again = sentOf(sent);
  const bool isDescription = sent.find(R"("msg_type":205,)") != std::string::npos; // one that failed is not delivered
  check(isDelivered || isDescription, "what is sent reaches a callback");
  check(!isDelivered || again == sent, (again + "\nshould be " + sent).c_str());
  return 0;
}
