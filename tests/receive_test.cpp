// From the channel to the callback: dispatch, records and their lives, counters.

#include <gmock/gmock.h>

#include <cstddef>
#include <functional>
#include <stdexcept>

#include "callback/callback_data.h"
#include "core/receive_loop.h"
#include "core/registry.h"
#include "ovk/ovk.h"
#include "support/messages.h"

using messages::own;
using messages::peer;
using messages::replaced;

// The layouts are part of what applications were built against.
#define EXPECT_AT(record, field, offset) static_assert(sizeof(void*) != 8 || offsetof(record, field) == (offset))
EXPECT_AT(ovk_DescriptorReadRspCallbackData_t, success, 92);
EXPECT_AT(ovk_DescriptorReadRspCallbackData_t, errReason, 96);
EXPECT_AT(ovk_DescriptorReadRspCallbackData_t, numTagRegBlocks, 180);
EXPECT_AT(ovk_DescriptorReadRspCallbackData_t, pTagRegBlocks, 184);
EXPECT_AT(ovk_DescriptorReadRspCallbackData_t, numResRegBlocks, 192);
EXPECT_AT(ovk_DescriptorReadRspCallbackData_t, pResRegBlocks, 200);
EXPECT_AT(ovk_DescriptorReadRspCallbackData_t, ModbusBufferSize, 208);
EXPECT_AT(ovk_TagReadRspCallbackData_t, numTagItems, 180);
EXPECT_AT(ovk_TagReadRspCallbackData_t, pTagItems, 184);
EXPECT_AT(ovk_TagReadReqCallbackData_t, numTags, 92);
EXPECT_AT(ovk_TagReadReqCallbackData_t, pTags, 96);
EXPECT_AT(ovk_RegisterReadRspCallbackData_t, startRegister1, 180);
EXPECT_AT(ovk_RegisterReadRspCallbackData_t, pStartRegister1, 192);
EXPECT_AT(ovk_RegisterReadRspCallbackData_t, startRegister2, 200);
EXPECT_AT(ovk_RegisterReadRspCallbackData_t, pStartRegister2, 208);
EXPECT_AT(ovk_RegisterReadReqCallbackData_t, numberRegisters2, 104);
EXPECT_AT(ovk_RegisterWriteReqCallbackData_t, sendNotification, 92);
EXPECT_AT(ovk_RegisterWriteReqCallbackData_t, pStartRegister1, 104);
EXPECT_AT(ovk_RegisterWriteReqCallbackData_t, pStartRegister2, 120);
EXPECT_AT(_TagItem_t, tag_type, 28);
EXPECT_AT(_TagItem_t, idd, 34);
EXPECT_AT(_TagItem_t, data, 36);
EXPECT_AT(_TagItem_t, regLen, 60);
static_assert(offsetof(ovk_CommonData_t, refId) == 50 && sizeof(ovk_CommonData_t) == 91);
EXPECT_AT(_TagItem_t, tag, 32);
EXPECT_AT(_TagItem_t, startReg, 56);
EXPECT_AT(ovk_RegisterReadReqCallbackData_t, startRegister1, 92);
EXPECT_AT(ovk_RegisterReadReqCallbackData_t, numberRegisters1, 96);
EXPECT_AT(ovk_RegisterReadReqCallbackData_t, startRegister2, 100);
EXPECT_AT(ovk_RegisterWriteReqCallbackData_t, startRegister1, 96);
EXPECT_AT(ovk_RegisterWriteReqCallbackData_t, numberRegisters1, 100);
EXPECT_AT(ovk_RegisterWriteReqCallbackData_t, startRegister2, 112);
EXPECT_AT(ovk_RegisterWriteReqCallbackData_t, numberRegisters2, 116);
EXPECT_AT(OrvaneServiceRegistration_t, p_UserContext, 16);
EXPECT_AT(OrvaneServiceRegistration_t, TransferChannelReadIdx, 40);
static_assert(sizeof(void*) != 8 ||
              (sizeof(ovk_DescriptorReadRspCallbackData_t) == 216 && sizeof(ovk_TagReadRspCallbackData_t) == 192 &&
               sizeof(ovk_TagReadReqCallbackData_t) == 104 && sizeof(ovk_RegisterReadRspCallbackData_t) == 216 &&
               sizeof(ovk_RegisterWriteReqCallbackData_t) == 128));
static_assert(sizeof(ovk_DescriptorReadReqCallbackData_t) == 91 && sizeof(ovk_RegisterReadReqCallbackData_t) == 108 &&
              sizeof(ovk_RegisterWriteRspCallbackData_t) == 180 && sizeof(_TagItem_t) == 64);
static_assert(sizeof(DevTagDevInfoTag) == 8 && sizeof(Tag_t) == 8);

namespace {

constexpr unsigned recordSizes[] = {216, 91, 192, 104, 216, 108, 180, 128};
constexpr int okCounters[] = {67, 63, 59, 55, 51, 47, 75, 71};

// One good message for each service.
std::string goodMessage(int service) {
  const std::string block = R"([{"start":1,"words":[2,3]}])";
  switch (service) {
  case 0:
    return messages::response(205, R"({"numTagRegBlocks":1,"TagRegBlocks":[7],"numResRegBlocks":1,)"
                                   R"("ResRegBlocks":[8],"ModbusBufferSize":256})");
  case 1: return messages::request(204, "[]");
  case 2: return messages::response(207, R"({"num":1,"tag_items":[{"fid":"F","tag":1,"data":"","regLen":2}]})");
  case 3: return messages::request(206, R"({"num":1,"tags":[{"tag_type":1,"tag_num":17}]})");
  case 4: return messages::response(201, block);
  case 5: return messages::request(200, R"([{"start":1,"num":2},{"start":0,"num":0}])");
  case 6: return messages::response(203, "{}");
  default: return messages::writeRequest(block);
  }
}

std::function<int(void*, unsigned)> onMessage;
int callback(void* data, unsigned length) { return onMessage(data, length); }

class Receive : public messages::Test {
protected:
  Receive() {
    ovk::enableBus(true);
    for (auto& entry : OrvaneServices) entry.p_ServiceCallback = reinterpret_cast<void*>(callback);
    onMessage = [this](void* data, unsigned length) {
      ++calls_;
      lastLength_ = length;
      refIds_.emplace_back(static_cast<ovk_CommonData_t*>(data)->refId);
      return 0;
    };
  }
  ~Receive() override { onMessage = nullptr; }

  int process(const std::string& text) {
    return processReceivedMessage(text.c_str(), static_cast<unsigned>(text.size()));
  }
  // Runs one work call with these messages waiting on a channel.
  void work(int channel, std::initializer_list<std::string> texts) {
    platform().inbound[channel] = texts;
    ovk_DoWork(nullptr, nullptr, nullptr);
  }

  int calls_ = 0;
  unsigned lastLength_ = 0;
  std::vector<std::string> refIds_;
};

TEST_F(Receive, EachServiceGetsItsRecord) {
  for (int service = 0; service < 8; ++service) {
    SCOPED_TRACE(service);
    platform().counters.clear();
    EXPECT_EQ(process(goodMessage(service)), 0) << platform().errors();
    EXPECT_EQ(calls_, service + 1);
    EXPECT_EQ(lastLength_, sizeof(void*) == 8 ? recordSizes[service] : lastLength_);
    EXPECT_EQ(platform().counters, (std::map<int, int>{{okCounters[service], 1}}));
    EXPECT_EQ(platform().errors(), "");
  }
}

TEST_F(Receive, HeadersHoldWhatTheMessageSays) {
  const std::string ref(40, 'r');
  onMessage = [&](void* data, unsigned) {
    const auto& record = *static_cast<ovk_RegisterWriteRspCallbackData_t*>(data);
    EXPECT_EQ(record.srcFid, peer);
    EXPECT_EQ(record.dstFid, own);
    EXPECT_EQ(record.refId, ref);
    EXPECT_EQ(record.success, 0);
    EXPECT_STREQ(record.errReason, R"(it said \"no\")");
    return 0;
  };
  std::string text = messages::response(203, "{}", R"("success":false,"err_reason":"it said \"no\"")");
  EXPECT_EQ(process(replaced(text, "r-17", ref)), 0);
  EXPECT_TRUE(traced(6, "pCommonData->dstFid " + own + " pCommonData->srcFid " + peer + " pCommonData->refId " + ref +
                            " pCommonData->success 0"));
}

// One good message with one thing changed: which counter rises, what is traced, and that no callback hears of it.
TEST_F(Receive, RefusedMessages) {
  const std::string longRef(41, 'r');
  const struct {
    const char* what;
    std::string text;
    int result;
    int counter; // -1: none
    std::string refusal;
  } rows[] = {
      {"no JSON", "hello", -1, -1, "invalid msg_type and/or operation in message hello"},
      {"cut off", goodMessage(7).substr(0, goodMessage(7).size() - 1), -1, -1, "token 'msg_type' not found in message"},
      {"msg_type a text", replaced(goodMessage(5), "200", "\"200\""), -1, -1, "token 'msg_type' not found in message"},
      {"unknown msg_type", replaced(goodMessage(5), "200", "999"), -2, -1, "no service found for MsgType 999"},
      {"long ref_id", replaced(goodMessage(5), "r-17", longRef), -4, 0, "could not get callback data for service 5"},
      {"no ref_id", replaced(goodMessage(1), "ref_id", "ref"), -4, 0,
       "getCommonMessageParameters() failed for message"},
      {"no success", replaced(goodMessage(4), "\"success\":true,", ""), -4, 0, "token 'success' not found in message"},
      {"failure without reason", replaced(goodMessage(6), "true", "false"), -4, 0, "could not get callback data"},
      {"read request without data", replaced(goodMessage(5), "data", "atad"), -4, 48,
       "token 'data[0].start' not found in message"},
      {"read request without num", replaced(goodMessage(5), "num", "n"), -4, 48,
       "token 'data[0].num' not found in message"},
      {"write request without sendNotification", replaced(goodMessage(7), "sendNotification", "send"), -4, 72,
       "Cannot read mandatory sendNotification parameter from message"},
      {"tag request without num", replaced(goodMessage(3), "num", "n"), -4, 56, "token 'num' not found in message"},
      {"device information without a count", replaced(goodMessage(0), "numTagRegBlocks", "n"), -4, 68,
       "failed to parse data.numTagRegBlocks"},
      {"failed device information", messages::response(205, "{}", R"("success":false,"err_reason":"no")"), -4, 68,
       "getReadResponseDevInfoContent() failed for message"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    platform().counters.clear();
    platform().trace.clear();
    EXPECT_EQ(process(row.text), row.result);
    EXPECT_EQ(platform().counters, row.counter < 0 ? (std::map<int, int>{}) : (std::map<int, int>{{row.counter, 1}}));
    EXPECT_THAT(platform().errors(), testing::HasSubstr(row.refusal));
    EXPECT_TRUE(traced(2, "processReceivedMessage() returns " + std::to_string(row.result)));
    EXPECT_EQ(calls_, 0);
  }
  OrvaneServices[4].p_ServiceCallback = nullptr;
  EXPECT_EQ(process(goodMessage(4)), -3);
  EXPECT_TRUE(traced(2, "no callback function registered for service 4"));
  OrvaneServices.resize(4);
  EXPECT_EQ(process(goodMessage(7)), -3);
}

TEST_F(Receive, ResponsesBeforeRequestsAndTheLoopGoesOn) {
  platform().inbound[2] = {replaced(goodMessage(5), "r-17", "request")};
  work(1, {replaced(goodMessage(4), "r-17", "first"), "rubbish", replaced(goodMessage(6), "r-17", "second")});
  EXPECT_THAT(refIds_, testing::ElementsAre("first", "second", "request"));
  EXPECT_TRUE(traced(2, "failed to process Msg rubbish"));
  EXPECT_TRUE(traced(2, "processReceivedMessage returns -1"));
  EXPECT_TRUE(traced(6, "readTransferChannel(IPC_TC_QMX_CLIENT_RSP_IDX) returned 7 bytes"));
  EXPECT_TRUE(traced(6, "readTransferChannel(IPC_TC_QMX_SERVER_REQ_IDX) returned " +
                            std::to_string(goodMessage(5).size() + 3) + " bytes"));
}

TEST_F(Receive, NegativeCallbackResultsCountAsFailures) {
  onMessage = [](void*, unsigned) { return -5; };
  work(2, {goodMessage(1)});
  EXPECT_TRUE(traced(2, "processReceivedMessage() returns -5"));
  EXPECT_TRUE(traced(2, "processReceivedMessage returns -5"));
  EXPECT_TRUE(traced(6, "Service 1 callback function returned -5"));
}

TEST_F(Receive, MessagesThatFillTheBufferAreRefused) {
  std::string text = goodMessage(5);
  text.resize(16383, ' ');
  work(2, {text, text + " ", goodMessage(5)});
  EXPECT_EQ(calls_, 2);
  EXPECT_TRUE(traced(2, "message of 16384 bytes refused, at most 16383 can be received"));
  platform().readResult = 20000; // a platform that tells the length before it was cut
  work(2, {text});
  EXPECT_EQ(calls_, 2);
}

TEST_F(Receive, CallbacksMayCallAnything) {
  onMessage = [this](void* data, unsigned) {
    if (++calls_ > 1) return 0;
    const std::string refId = static_cast<ovk_CommonData_t*>(data)->refId;
    platform().inbound[2].push_back(goodMessage(7));
    ovk_DoWork(nullptr, nullptr, nullptr);
    EXPECT_EQ(ovk_serveReadRegisters(peer.c_str(), own.c_str(), "r", 1, nullptr, 0, 0, nullptr, 0, true, nullptr), 0U);
    EXPECT_EQ(
        ovk_RegisterForService(ovk_Service_TagReadClient, reinterpret_cast<void*>(callback), nullptr, nullptr, nullptr),
        0U);
    EXPECT_EQ(ovk_QMXBusShutdown(), 0);
    EXPECT_EQ(refId, static_cast<ovk_CommonData_t*>(data)->refId);
    return 0;
  };
  work(2, {goodMessage(5)});
  EXPECT_EQ(calls_, 2);
}

// Run under the address sanitizer this also shows that nothing leaks and nothing foreign is freed.
TEST_F(Receive, RecordsAreReleasedWhateverTheCallbackDoes) {
  uint16_t foreign[4] = {};
  onMessage = [&](void* data, unsigned) {
    auto& record = *static_cast<ovk_RegisterWriteReqCallbackData_t*>(data);
    record.pStartRegister1 = foreign;
    record.pStartRegister2 = nullptr;
    throw std::runtime_error("callback");
    return 0;
  };
  platform().inbound[2] = {goodMessage(7), goodMessage(7)};
  EXPECT_THROW(ovk_DoWork(nullptr, nullptr, nullptr), std::runtime_error);
  EXPECT_EQ(platform().inbound[2].size(), 1U);
}

TEST_F(Receive, RecordFunctions) {
  void* record = nullptr;
  unsigned length = 7;
  EXPECT_EQ(allocateCallbackData(static_cast<ovk_Service_t>(8), &record, &length), -2);
  EXPECT_TRUE(record == nullptr && length == 7);
  EXPECT_TRUE(traced(2, "invalid service 8"));
  EXPECT_EQ(getCallbackData(static_cast<ovk_Service_t>(-1), "{}", 2, &record, &length), -4);
  EXPECT_EQ(platform().counters, (std::map<int, int>{{0, 1}}));
  int untouched = 5;
  EXPECT_EQ(releaseCallbackData(static_cast<ovk_Service_t>(8), &untouched, 0), -1);
  EXPECT_EQ(releaseCallbackData(ovk_Service_TagReadClient, nullptr, 0), 0);
  EXPECT_EQ(getCallbackData(ovk_Service_TagReadClient, goodMessage(2).c_str(), 0, &record, &length), 0);
  EXPECT_TRUE(traced(6, "for service 2  getCallbackData returns 0"));
  EXPECT_EQ(releaseCallbackData(ovk_Service_TagReadClient, record, length), 0);
}

// Every allocation of the receive path fails once: nothing half filled is delivered, nothing leaks, and the next message
// works.
TEST_F(Receive, AllocationsThatFail) {
  const int blocks[] = {3, 1, 2, 2, 3, 1, 1, 3}; // the record and what it owns
  for (int service = 0; service < 8; ++service) {
    for (int n = 0; n < blocks[service]; ++n) {
      SCOPED_TRACE(testing::Message() << "service " << service << ", allocation " << n);
      calls_ = 0;
      platform().counters.clear();
      fake::failMallocAfter(n);
      EXPECT_EQ(process(goodMessage(service)), -4);
      EXPECT_EQ(calls_, 0);
      EXPECT_EQ(platform().counters, (std::map<int, int>{{n == 0 ? 0 : okCounters[service] + 1, 1}}));
      fake::failMallocAfter(-1);
      EXPECT_EQ(process(goodMessage(service)), 0);
      EXPECT_EQ(calls_, 1);
    }
  }
  fake::failMallocAfter(0);
  work(2, {goodMessage(5)});
  EXPECT_EQ(platform().inbound[2].size(), 1U);
  EXPECT_TRUE(traced(2, "no memory for a receive buffer of 16384 bytes, nothing is read"));
}

} // namespace
