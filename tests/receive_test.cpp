// From the channel to the callback: dispatch, records and their lives, counters.

#include <cstddef>
#include <stdexcept>

#include "callback/callback_data.h"
#include "support/messages.h"

using namespace messages;

// The layouts are part of what applications were built against.
#define AT(record, field, offset) (sizeof(void*) != 8 || offsetof(record, field) == (offset))
#define SIZE(record, size) (sizeof(void*) != 8 || sizeof(record) == (size))
static_assert(offsetof(ovk_CommonData_t, refId) == 50 && sizeof(ovk_CommonData_t) == 91);
static_assert(AT(InfoRsp, success, 92) && AT(InfoRsp, errReason, 96) && AT(InfoRsp, numTagRegBlocks, 180) &&
              AT(InfoRsp, pTagRegBlocks, 184) && AT(InfoRsp, numResRegBlocks, 192) && SIZE(InfoRsp, 216));
static_assert(AT(TagRsp, numTagItems, 180) && SIZE(TagRsp, 192) && AT(TagReq, numTags, 92) && SIZE(TagReq, 104));
static_assert(AT(ReadRsp, startRegister1, 180) && AT(ReadRsp, pStartRegister1, 192) && SIZE(ReadRsp, 216));
static_assert(AT(ReadReq, numberRegisters1, 96) && AT(ReadReq, startRegister2, 100) && sizeof(ReadReq) == 108);
static_assert(AT(WriteReq, sendNotification, 92) && AT(WriteReq, pStartRegister1, 104) && SIZE(WriteReq, 128));
static_assert(sizeof(InfoReq) == 91 && sizeof(WriteRsp) == 180 && sizeof(Tag_t) == 8 && sizeof(_TagItem_t) == 64);
static_assert(AT(_TagItem_t, tag_type, 28) && AT(_TagItem_t, idd, 34) && AT(_TagItem_t, data, 36) &&
              AT(_TagItem_t, startReg, 56));

namespace {

class Receive : public Receiver {
protected:
  // Runs one work call with these messages waiting on a channel.
  void work(int channel, std::initializer_list<std::string> texts) {
    platform().inbound[channel] = texts;
    ovk_DoWork(nullptr, nullptr, nullptr);
  }
};

TEST_F(Receive, HeadersHoldWhatTheMessageSays) {
  const std::string ref(40, 'r');
  onMessage = [&](void* data, const std::string&) {
    EXPECT_EQ(header(*static_cast<ovk_CommonData_t*>(data)), joined(peer, " ", own, " ", ref));
    return 0;
  };
  for (int service = 0; service < 8; ++service) EXPECT_EQ(process(replaced(good(service), "r-17", ref)), 0) << service;
}

TEST_F(Receive, ServicesThatAreNotRegistered) {
  OrvaneServices[4].p_ServiceCallback = nullptr;
  OrvaneServices.resize(7); // the table is the application's too
  for (const int service : {4, 7}) {
    EXPECT_EQ(process(good(service)), -3);
    EXPECT_EQ(platform().errors(), joined("no callback function registered for service ", service,
                                          "\nprocessReceivedMessage() returns -3\n"));
    platform().trace.clear();
  }
  EXPECT_TRUE(records_.empty() && platform().counters.empty());
}

TEST_F(Receive, ResponsesBeforeRequestsAndTheLoopGoesOn) {
  platform().inbound[2] = {good(5)};
  work(1, {good(4), "x", good(6)});
  EXPECT_THAT(records_, testing::ElementsAre("1 1:2[2 3] -1:-1[]", "1 response", "1:2 0:0"));
  EXPECT_THAT(platform().errors(), testing::EndsWith("processReceivedMessage() returns -1\nfailed to process Msg x\n"
                                                     "processReceivedMessage returns -1\n"));
  EXPECT_TRUE(traced(6, "readTransferChannel(IPC_TC_QMX_CLIENT_RSP_IDX) returned 1 bytes"));
  EXPECT_TRUE(traced(6, "readTransferChannel(IPC_TC_QMX_SERVER_REQ_IDX) returned " + std::to_string(good(5).size()) +
                            " bytes"));
  EXPECT_EQ(platform().offered, 16384U);
  EXPECT_TRUE(platform().offeredZeroed); // also behind the last message
}

TEST_F(Receive, NegativeCallbackResultsCountAsFailures) {
  onMessage = [](void*, const std::string&) { return -5; };
  work(2, {good(1)});
  EXPECT_EQ(platform().errors(good(1)),
            "6 Service 1 callback function returned -5\nprocessReceivedMessage() returns -5\n"
            "failed to process Msg MSG\nprocessReceivedMessage returns -5\n");
}

TEST_F(Receive, MessagesThatFillTheBufferAreRefused) {
  std::string text = good(5);
  text.resize(16383, ' ');
  work(2, {text, text + " ", good(5)});
  EXPECT_EQ(records_.size(), 2U);
  platform().readResult = 20000; // a platform that tells the length before it was cut
  work(2, {text});
  EXPECT_EQ(records_.size(), 2U);
  platform().readResult = static_cast<int>(good(5).size()); // and one that writes behind what it tells
  work(2, {good(5) + "}"});
  EXPECT_EQ(records_.size(), 3U);
  platform().readResult = -1; // nothing there, or an error
  platform().inbound[1] = {good(4), good(4)};
  work(2, {good(5), good(5)});
  EXPECT_TRUE(platform().inbound[1].size() == 1 && platform().inbound[2].size() == 1); // each asked once
  EXPECT_EQ(platform().errors(), "message of 16384 bytes refused, at most 16383 can be received\n"
                                 "message of 20000 bytes refused, at most 16383 can be received\n");
}

TEST_F(Receive, CallbacksMayCallAnything) {
  int calls = 0;
  onMessage = [&](void* data, const std::string&) {
    if (++calls > 1) return 0;
    const std::string refId = static_cast<ovk_CommonData_t*>(data)->refId;
    void* const any = OrvaneServices[0].p_ServiceCallback;
    platform().inbound[2].push_back(good(7));
    ovk_DoWork(nullptr, nullptr, nullptr);
    EXPECT_EQ(ovk_serveReadRegisters(peer, own, "r", 1, nullptr, 0, 0, nullptr, 0, true, nullptr), 0U);
    EXPECT_EQ(ovk_RegisterForService(ovk_Service_TagReadClient, any, nullptr, nullptr, nullptr), 0U);
    EXPECT_EQ(ovk_QMXBusShutdown(), 0);
    EXPECT_EQ(refId, static_cast<ovk_CommonData_t*>(data)->refId);
    return 0;
  };
  work(2, {good(5)});
  EXPECT_EQ(calls, 2);
}

TEST_F(Receive, NestedWorkCallsEndAtTheEighthLevel) {
  int depth = 0;
  int deepest = 0;
  std::string order;
  onMessage = [&](void* data, const std::string&) {
    order += joined(static_cast<ovk_CommonData_t*>(data)->refId, ' ');
    deepest = std::max(deepest, ++depth);
    ovk_DoWork(nullptr, nullptr, nullptr);
    --depth;
    return 0;
  };
  for (const int calls : {1, 2}) { // the second starts afresh
    order.clear();
    platform().trace.clear();
    for (int i = 0; i < 20; ++i) platform().inbound[2].push_back(replaced(good(5), "r-17", std::to_string(i)));
    work(1, {replaced(good(4), "r-17", "first")});
    EXPECT_EQ(order, "first 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 ");
    EXPECT_EQ(deepest, 8) << calls;
    EXPECT_EQ(platform().errors(), "work calls nested more than 8 deep by callbacks, nothing is read\n");
  }
}

// Run under the address sanitizer this also shows that nothing leaks and nothing foreign is freed.
TEST_F(Receive, RecordsAreReleasedWhateverTheCallbackDoes) {
  uint16_t foreign[4] = {};
  onMessage = [&](void* data, const std::string&) -> int {
    auto& record = *static_cast<WriteReq*>(data);
    record.pStartRegister1 = foreign;
    record.pStartRegister2 = nullptr;
    throw std::runtime_error("callback");
  };
  EXPECT_THROW(work(2, {good(7), good(7)}), std::runtime_error);
  EXPECT_EQ(platform().inbound[2].size(), 1U);
}

TEST_F(Receive, RecordFunctions) {
  void* record = nullptr;
  unsigned length = 7;
  EXPECT_EQ(allocateCallbackData(static_cast<ovk_Service_t>(8), &record, &length), -2);
  EXPECT_EQ(getCallbackData(static_cast<ovk_Service_t>(-1), "{}", 2, &record, &length), -4);
  EXPECT_EQ(platform().counters, (Counters{{0, 1}}));
  EXPECT_EQ(releaseCallbackData(static_cast<ovk_Service_t>(8), &length, 0), -1);
  EXPECT_EQ(releaseCallbackData(ovk_Service_TagReadClient, nullptr, 0), 0);
  EXPECT_TRUE(record == nullptr && length == 7);
  EXPECT_EQ(platform().errors(),
            "invalid service 8\ninvalid service -1\nfailed to allocate callback data for service -1\n"
            "6 for service -1  getCallbackData returns -4\ninvalid service 8\n");
}

TEST_F(Receive, NoReceiveBuffer) {
  fake::failMallocAfter(0);
  work(2, {good(5)});
  EXPECT_EQ(platform().inbound[2].size(), 1U);
  EXPECT_EQ(platform().errors(), "no memory for a receive buffer of 16384 bytes, nothing is read\n");
}

} // namespace
