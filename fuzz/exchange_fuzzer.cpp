// What is written is what is read: legal arguments of every request and answer, sent, received again and compared.

#include <cmath>
#include <functional>
#include <vector>

#include "check.h"
#include "input.h"
#include "ovk/ovk.h"
#include "platform/transfer_channel.h"
#include "support/fake_platform.h"

namespace {

using fuzz::check;
using fuzz::Input;

constexpr const char* ownFid = "VR001_00001_0000000000A1";
constexpr const char* peerFid = "VR002_00002_0000000000B2";

std::function<void(const void*)> expectation;
int delivered = 0;

int compareRecord(void* data, unsigned /*length*/) {
  expectation(data);
  ++delivered;
  return 0;
}

template <typename Record>
void checkHeader(const Record& record, const std::string& refId) {
  check(record.srcFid == std::string(ownFid), "the source arrives");
  check(record.dstFid == std::string(peerFid), "the destination arrives");
  check(record.refId == refId, "the reference arrives");
}

template <typename Record>
void checkOutcome(const Record& record, const std::string& refId, bool success, const std::string& reason) {
  checkHeader(record, refId);
  check(record.success == (success ? 1 : 0), "success arrives");
  const std::string text = record.errReason;
  check(success ? text.empty() : !text.empty() == !reason.empty() && reason.compare(0, text.size(), text) == 0,
        "the reason arrives, or what fits of it");
}

// Sends, and receives what was written as the other side would.
template <typename Record, typename Send>
void exchange(Send send, std::function<void(const Record&)> expected) {
  expectation = [&](const void* data) { expected(*static_cast<const Record*>(data)); };
  delivered = 0;
  check(send() == ovk_Status_Done, "legal arguments are sent");
  const fake::WrittenMessage message = fake::platform().written.back();
  const bool isRequest = message.channel == IPC_TC_QMX_CLIENT_REQ_IDX;
  if (message.text.size() >= 16384) return; // too long to be received, as documented
  fake::platform().inbound[isRequest ? IPC_TC_QMX_SERVER_REQ_IDX : IPC_TC_QMX_CLIENT_RSP_IDX].push_back(message.text);
  ovk_DoWork(nullptr, nullptr, nullptr);
  check(delivered == 1, "what was sent is delivered");
}

struct Area {
  int start;
  std::vector<uint16_t> words;
  int count() const { return static_cast<int>(words.size()); }
};

Area area(Input& input, int fewest) {
  Area area{input.upTo(65535), std::vector<uint16_t>(static_cast<std::size_t>(std::max(fewest, input.upTo(1024))))};
  for (uint16_t& word : area.words) word = input.number<uint16_t>();
  return area;
}

void checkArea(const Area& sent, int start, int count, const uint16_t* words) {
  check(start == sent.start && count == sent.count(), "an area arrives");
  check(std::equal(sent.words.begin(), sent.words.end(), words), "its words arrive");
}

void readRequest(Input& input, const std::string& refId) {
  const int values[] = {input.upTo(65535), 1 + input.upTo(1024), input.upTo(65535), 1 + input.upTo(1024)};
  exchange<ovk_RegisterReadReqCallbackData_t>(
      [&] { return ovk_ReadRegisters(peerFid, refId.c_str(), values[0], values[1], values[2], values[3]); },
      [&](const auto& record) {
        checkHeader(record, refId);
        check(record.startRegister1 == values[0] && record.numberRegisters1 == values[1], "area 1 arrives");
        check(record.startRegister2 == values[2] && record.numberRegisters2 == values[3], "area 2 arrives");
      });
}

void readResponse(Input& input, const std::string& refId) {
  const Area one = area(input, 0);
  const Area two = area(input, 0);
  const bool success = input.upTo(3) != 0;
  const std::string reason = input.text(120);
  exchange<ovk_RegisterReadRspCallbackData_t>(
      [&] {
        return ovk_serveReadRegisters(peerFid, ownFid, refId.c_str(), one.start, one.words.data(), one.count(),
                                      two.start, two.words.data(), two.count(), success, reason.c_str());
      },
      [&](const auto& record) {
        checkOutcome(record, refId, success, reason);
        if (!success) return;
        checkArea(one, record.startRegister1, record.numberRegisters1, record.pStartRegister1);
        checkArea(two, record.startRegister2, record.numberRegisters2, record.pStartRegister2);
      });
}

void writeRequest(Input& input, const std::string& refId) {
  const int notify = input.upTo(1);
  const Area one = area(input, 1);
  const Area two = area(input, 1);
  exchange<ovk_RegisterWriteReqCallbackData_t>(
      [&] {
        return ovk_WriteRegisters(peerFid, refId.c_str(), notify, one.start, one.words.data(), one.count(), two.start,
                                  two.words.data(), two.count());
      },
      [&](const auto& record) {
        checkHeader(record, refId);
        check(record.sendNotification == notify, "sendNotification arrives");
        checkArea(one, record.startRegister1, record.numberRegisters1, record.pStartRegister1);
        checkArea(two, record.startRegister2, record.numberRegisters2, record.pStartRegister2);
      });
}

void writeResponse(Input& input, const std::string& refId) {
  const bool success = input.upTo(1) != 0;
  const std::string reason = input.text(120);
  exchange<ovk_RegisterWriteRspCallbackData_t>(
      [&] { return ovk_serveWriteRegisters(peerFid, ownFid, refId.c_str(), success, reason.c_str()); },
      [&](const auto& record) { checkOutcome(record, refId, success, reason); });
}

void tagRequest(Input& input, const std::string& refId) {
  std::vector<DevTagDevInfoTag> tags(static_cast<std::size_t>(1 + input.upTo(99)));
  for (DevTagDevInfoTag& tag : tags) tag = {input.number<int32_t>(), input.number<uint16_t>()};
  exchange<ovk_TagReadReqCallbackData_t>([&] { return ovk_ReadTags(peerFid, refId, tags); },
                                         [&](const auto& record) {
                                           checkHeader(record, refId);
                                           check(record.numTags == static_cast<int>(tags.size()), "the count arrives");
                                           for (std::size_t i = 0; i < tags.size(); ++i) {
                                             check(record.pTags[i].tag_type == tags[i].tag_type &&
                                                       record.pTags[i].tag_num == tags[i].tag_num,
                                                   "a selector arrives");
                                           }
                                         });
}

TagItem_t tagItem(Input& input) {
  constexpr uint8_t kinds[] = {0, 1, 2, 4, 5, 8, 9};
  TagItem_t item{};
  item.tag = input.number<uint16_t>();
  item.idd = kinds[input.upTo(6)];
  item.data.ui = input.number<uint32_t>();
  item.startReg = input.number<int32_t>();
  item.regLen = input.number<int32_t>();
  if (item.idd != 4) return item;
  std::string word = input.text(19);
  for (char& c : word) c = static_cast<char>('!' + static_cast<unsigned char>(c) % 90); // one word
  for (char& c : word) c = c == '"' || c == '\\' ? '_' : c;
  std::memcpy(item.data.str, word.c_str(), word.size() + 1);
  return item;
}

// A float travels with six decimals.
bool arrives(float sent, float received) {
  if (std::isnan(sent)) return std::isnan(received);
  char text[64];
  std::snprintf(text, sizeof text, "%f", static_cast<double>(sent));
  return received == std::strtof(text, nullptr);
}

void checkItem(const TagItem_t& sent, const TagItem_t& item) {
  check(item.tag == sent.tag && item.idd == sent.idd && item.startReg == sent.startReg && item.regLen == sent.regLen,
        "an item arrives");
  check(item.fid == std::string(peerFid), "an item names the requester");
  const bool same = sent.idd == 0   ? arrives(sent.data.f, item.data.f)
                    : sent.idd == 4 ? std::strcmp(sent.data.str, item.data.str) == 0
                                    : sent.data.ui == item.data.ui;
  check(same, "a value arrives");
}

void tagResponse(Input& input, const std::string& refId) {
  std::vector<TagItem_t> items(static_cast<std::size_t>(input.upTo(100)));
  for (TagItem_t& item : items) item = tagItem(input);
  const bool success = input.upTo(3) != 0;
  const std::string reason = input.text(120);
  exchange<ovk_TagReadRspCallbackData_t>(
      [&] {
        return ovk_serveReadTag(peerFid, ownFid, refId.c_str(), static_cast<unsigned>(items.size()), items.data(),
                                success, reason.c_str());
      },
      [&](const auto& record) {
        checkOutcome(record, refId, success, reason);
        check(record.numTagItems == static_cast<int>(items.size()), "the count arrives");
        for (std::size_t i = 0; i < items.size(); ++i) checkItem(items[i], record.pTagItems[i]);
      });
}

void infoRequest(Input& /*input*/, const std::string& refId) {
  exchange<ovk_DescriptorReadReqCallbackData_t>([&] { return ovk_ReadDeviceInfo(peerFid, refId.c_str()); },
                                                [&](const auto& record) { checkHeader(record, refId); });
}

void infoResponse(Input& input, const std::string& refId) {
  int blocks[14];
  for (int& block : blocks) block = input.number<uint16_t>();
  const int tagBlocks = input.upTo(10);
  const int resBlocks = input.upTo(4);
  const int bufferSize = input.number<int>();
  exchange<ovk_DescriptorReadRspCallbackData_t>(
      [&] {
        return ovk_serveReadDeviceInfo(peerFid, ownFid, refId.c_str(), tagBlocks, blocks, resBlocks, blocks + 10,
                                       bufferSize, true, nullptr);
      },
      [&](const auto& record) {
        checkOutcome(record, refId, true, "");
        check(record.numTagRegBlocks == tagBlocks && std::equal(blocks, blocks + tagBlocks, record.pTagRegBlocks),
              "the tag blocks arrive");
        check(record.numResRegBlocks == resBlocks &&
                  std::equal(blocks + 10, blocks + 10 + resBlocks, record.pResRegBlocks),
              "the reserved blocks arrive");
        check(record.ModbusBufferSize == bufferSize, "the buffer size arrives");
      });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fake::reset();
  fake::platform().myFid = ownFid;
  ovk_Init(true, ownFid, nullptr, nullptr, nullptr);
  for (int service = 0; service < 8; ++service) {
    ovk_RegisterForService(static_cast<ovk_Service_t>(service), reinterpret_cast<void*>(compareRecord), nullptr,
                           nullptr, nullptr);
  }
  constexpr void (*exchanges[])(Input&, const std::string&) = {readRequest, readResponse, writeRequest, writeResponse,
                                                               tagRequest,  tagResponse,  infoRequest,  infoResponse};
  Input input(data, size);
  const auto which = static_cast<std::size_t>(input.upTo(7));
  const std::string refId = input.text(40);
  exchanges[which](input, refId);
  return 0;
}
