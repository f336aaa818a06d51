// Any bytes as a received message, with a callback for every service: each reads all that its record announces, gives it
// other values, sends these as a message of its own, and writes over all of it. The message sent becomes the same record.

#include <algorithm>
#include <random>

#include "callback/record_table.h"
#include "check.h"
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

// Whether a message of this library can say all that the record does, and no more. In foreign ones areas may be missing,
// counts impossible, items name others than the requester; and a backslash at the end of a value spoils what it is put in.
template <typename Record>
bool isSendable(const Record& /*record*/) {
  return true;
}
bool isSendable(const InfoRsp& r) { return r.numTagRegBlocks >= 0 && r.numResRegBlocks >= 0; }
bool isSendable(const ReadRsp& r) { return r.success == 1 && r.numberRegisters1 >= 0 && r.numberRegisters2 >= 0; }
bool isSendable(const ReadReq& r) { return r.startRegister2 >= 0 && r.numberRegisters2 > 0; }
bool isSendable(const WriteReq& r) { return r.numberRegisters2 > 0; }
bool isSendable(const TagRsp& r) {
  return std::all_of(r.pTagItems, r.pTagItems + r.numTagItems, [&](const TagItem_t& item) {
    return item.tag_type == 0 && item.fid == std::string(r.dstFid) &&
           (item.idd != 4 || std::strchr(item.data.str, '\\') == nullptr);
  });
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

// Other values; the same in each run.
std::mt19937 numbers;

int anyNumber() { return static_cast<int>(numbers()); }

template <typename Word>
void change(Word& word) {
  word = static_cast<Word>(anyNumber() & 0xFFFF);
}
void change(Tag_t& tag) { tag = {anyNumber(), static_cast<uint16_t>(anyNumber())}; }
void change(TagItem_t& item) {
  checkText(item.fid);
  if (item.idd != 4) item.data.i = anyNumber();
  if (item.idd == 4) checkText(item.data.str);
  item.tag = static_cast<uint16_t>(anyNumber());
  item.startReg = anyNumber();
  item.regLen = anyNumber();
}

std::string received; // what the last record said
std::string sent;     // what was sent of it, as a record would say it; empty for what could not be sent

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
    received = header(record) + ": " + described(record);
    forBlocks(record, [](auto* items, int count, int room) {
      check(count <= room, "a count is possible");
      for (int i = 0; i < count; ++i) change(items[i]);
    });
    fake::platform().myFid = record.srcFid; // that of requests
    const bool isSent = sendOn(record) == ovk_Status_Done && isSendable(record);
    sent = isSent ? header(record) + ": " + described(record) : "";
    forBlocks(record, [](auto* items, int /*count*/, int room) {
      std::memset(static_cast<void*>(items), 0xA5, static_cast<std::size_t>(room) * sizeof *items);
    });
    std::memset(&record, 0xA5, sizeof record); // also the pointers to its blocks
    return 0;
  }
};

void receive(const std::string& message) {
  auto& requests = fake::platform().inbound[IPC_TC_QMX_SERVER_REQ_IDX];
  requests.push_back(message);
  received.clear();
  sent.clear();
  ovk_DoWork(nullptr, nullptr, nullptr);
  check(requests.empty(), "a message is read, whatever it is");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fake::reset();
  numbers.seed(1);
  ovk_Init(true, fake::platform().myFid.c_str(), nullptr, nullptr, nullptr);
  registerForAll<Use>();
  receive({reinterpret_cast<const char*>(data), size});
  const std::string expected = sent;
  if (expected.empty()) return 0;
  const std::string message = fake::platform().written[0].text;
  if (message.size() >= 16384) return 0; // too long to be received, as documented
  receive(message);
  check(received == expected, (received + "\nshould be " + expected).c_str());
  return 0;
}
