// Register requests, responses and the values read back from them.

#include <gmock/gmock.h>

#include <functional>
#include <numeric>

#include "core/receive_loop.h"
#include "ovk/ovk.h"
#include "register/register_callback_data.h"
#include "register/register_payload.h"
#include "support/messages.h"

using messages::own;
using messages::peer;
using testing::HasSubstr;

namespace {

const std::string longRef(41, 'r');
const uint16_t values[] = {1, 65535, 0};

class Registers : public messages::Test {
protected:
  Registers() { registerClients(); }
  void registerClients() {
    for (const int service : {4, 6}) OrvaneServices[static_cast<std::size_t>(service)].p_ServiceCallback = this;
  }
};

TEST_F(Registers, WriteRequestsCarryTheUsedAreas) {
  const struct {
    const char* what;
    int start2, count2;
    const char* data;
  } rows[] = {
      {"two areas", 4096, 1, R"([{"start":100,"words":[1,65535]},{"start":4096,"words":[1]}])"},
      {"negative start", -1, 1, R"([{"start":100,"words":[1,65535]}])"},
      {"no registers", 7, 0, R"([{"start":100,"words":[1,65535]}])"},
      {"count -1", 7, -1, R"([{"start":100,"words":[1,65535]}])"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    fake::reset();
    registerClients();
    EXPECT_EQ(ovk_WriteRegisters(peer.c_str(), "rw-1", 1, 100, values, 2, row.start2, values, row.count2), 0U);
    EXPECT_EQ(onlyWritten().channel, 0);
    EXPECT_EQ(onlyWritten().text, R"({"msg_type":202,"ver":"1.0","ref_id":"rw-1","sendNotification":1,"src":{"fid":")" +
                                      own + R"("},"dst":{"fid":")" + peer + R"(","at":")" + platform().parentFid +
                                      R"("},"data":)" + row.data + "}");
    EXPECT_EQ(platform().counters, (std::map<int, int>{{69, 1}}));
    const bool skipped = std::string(row.what) != "two areas";
    EXPECT_EQ(traced(6, "skip startRegister2/numberRegisters2 information"), skipped);
    EXPECT_EQ(traced(6, "skip area start_address 0/0x0, num_regs 0"), skipped);
    EXPECT_TRUE(traced(6, "process register area start_address 100/0x64, num_regs 2"));
  }
}

TEST_F(Registers, ReadRequestsAlwaysCarryTwoAreas) {
  const struct {
    int start1, count1, start2, count2;
    const char* data;
  } rows[] = {{100, 3, 5, 6, R"([{"start":100,"num":3},{"start":5,"num":6}])"},
              {0, -1, 0, -1, R"([{"start":0,"num":-1},{"start":0,"num":-1}])"},
              {100, 3, -1, 6, R"([{"start":100,"num":3},{"start":0,"num":0}])"},
              {100, 3, 5, 0, R"([{"start":100,"num":3},{"start":0,"num":0}])"}};
  for (const auto& row : rows) {
    platform().written.clear();
    EXPECT_EQ(ovk_ReadRegisters("any text", "r", row.start1, row.count1, row.start2, row.count2), 0U);
    EXPECT_THAT(onlyWritten().text, HasSubstr(R"("dst":{"fid":"any text","at":")"));
    EXPECT_THAT(onlyWritten().text, HasSubstr(std::string("\"data\":") + row.data + "}"));
    EXPECT_TRUE(traced(6, std::string("ovk_ReadRegisters  data ") + row.data));
  }
  EXPECT_TRUE(platform().counters.empty());
}

TEST_F(Registers, RequestRefusals) {
  using Call = std::function<unsigned()>;
  const auto write = [](const std::string& dst, const std::string& ref, int notification, int start, int count,
                        const uint16_t* words = values) {
    return
        [=] { return ovk_WriteRegisters(dst.c_str(), ref.c_str(), notification, start, words, count, -1, nullptr, 9); };
  };
  const Call nothing = [] { return 0U; };
  const Call noOwnFid = [] { return fake::platform().myFid.clear(), 0U; };
  const Call noParent = [] { return fake::platform().parentFid.clear(), 0U; };
  const Call noCallbacks = [] { return OrvaneServices.assign(8, {}), 0U; };
  const Call channelFails = [] { return fake::platform().writeResult = -1, 0U; };
  const struct {
    const char* what;
    Call before, call;
    unsigned status;
    std::string refusal;
    std::map<int, int> counters;
  } rows[] = {
      {"write: no callback",
       noCallbacks,
       write("x", longRef, 3, -1, 0),
       6,
       "No callback function registered for service ovk_Service_OrvaneBusClient",
       {}},
      {"write: destination", nothing, write("x", "r", 0, 1, 1), 2, "Invalid fusionId x or reference identifier r", {}},
      {"write: null destination",
       nothing,
       [] { return ovk_WriteRegisters(nullptr, "r", 0, 1, values, 1, -1, nullptr, 0); },
       2,
       "Invalid fusionId (null) or reference identifier r",
       {}},
      {"write: null reference",
       nothing,
       [] { return ovk_WriteRegisters(peer.c_str(), nullptr, 0, 1, values, 1, -1, nullptr, 0); },
       2,
       "Invalid fusionId " + peer + " or reference identifier (null)",
       {}},
      {"write: reference",
       nothing,
       write(peer, longRef, 0, 1, 1),
       2,
       "Invalid fusionId " + peer + " or reference identifier " + longRef,
       {}},
      {"write: own fid", noOwnFid, write(peer, "r", 0, 1, 0), 4, "cannot not get my fid", {}},
      {"write: parent, before the area",
       noParent,
       write(peer, "r", 0, 1, 0),
       4,
       "cannot find parent fid for " + peer,
       {}},
      {"write: no registers",
       nothing,
       write(peer, "r", 0, 1, 0),
       2,
       "Invalid register request: startRegister1=1, numberRegisters1=0",
       {}},
      {"write: count -1",
       nothing,
       write(peer, "r", 0, 1, -1),
       2,
       "Invalid register request: startRegister1=1, numberRegisters1=-1",
       {}},
      {"write: start",
       nothing,
       write(peer, "r", 0, -1, 1),
       2,
       "Invalid register request: startRegister1=-1, numberRegisters1=1",
       {}},
      {"write: null values",
       nothing,
       write(peer, "r", 0, 1, 2, nullptr),
       2,
       "No values for the 2 registers from 1 on: null pointer",
       {}},
      {"write: null values of area 2",
       nothing,
       [] { return ovk_WriteRegisters(peer.c_str(), "r", 0, 1, values, 1, 5, nullptr, 2); },
       2,
       "No values for the 2 registers from 5 on: null pointer",
       {}},
      {"write: sendNotification",
       nothing,
       write(peer, "r", 2, 1, 1),
       2,
       "Invalid value 2 for sendNotification parameter",
       {}},
      {"write: built", nothing, write(peer, "r", 2, 1, 1), 2, "failed to build register write message 108", {}},
      {"write: channel",
       channelFails,
       write(peer, "r", 0, 1, 1),
       7,
       "failed to write register write message 108 to transfer channel QMXB_API_REG_WRITE_REQ_TX_ERR",
       {{70, 1}}},
      {"read: no callback",
       noCallbacks,
       [] { return ovk_ReadRegisters(nullptr, nullptr, -1, 0, 0, 0); },
       6,
       "No callback function registered for service ovk_Service_OrvaneBusClient",
       {}},
      {"read: count -2",
       nothing,
       [] { return ovk_ReadRegisters("d", "r", 1, -2, 0, 0); },
       2,
       "Invalid register request: startRegister1=1, numberRegisters1=-2",
       {}},
      {"read: start",
       nothing,
       [] { return ovk_ReadRegisters("d", "r", -1, -1, 0, 0); },
       2,
       "Invalid register request: startRegister1=-1, numberRegisters1=-1",
       {}},
      {"read: null destination",
       nothing,
       [] { return ovk_ReadRegisters(nullptr, "r", 1, 1, 0, 0); },
       2,
       "failed to build register read message",
       {}},
      {"read: parent",
       noParent,
       [] { return ovk_ReadRegisters("d", "r", 1, 1, 0, 0); },
       2,
       "cannot not get parent fid",
       {}},
      {"read: channel",
       channelFails,
       [] { return ovk_ReadRegisters("d", "r", 1, 1, 0, 0); },
       7,
       "failed to write message to transfer channel IPC_TC_QMX_CLIENT_REQ_IDX",
       {}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    fake::reset();
    registerClients();
    row.before();
    testing::internal::CaptureStdout();
    EXPECT_EQ(row.call(), row.status);
    const bool printed = row.refusal.find("sendNotification") != std::string::npos;
    const std::string output = testing::internal::GetCapturedStdout();
    if (printed) {
      EXPECT_EQ(output, "### " + row.refusal + "\n");
    }
    EXPECT_TRUE(traced(2, row.refusal)) << platform().errors();
    EXPECT_TRUE(platform().written.empty());
    EXPECT_EQ(platform().counters, row.counters);
  }
}

TEST_F(Registers, ReadResponses) {
  const auto serve = [](bool success, const char* reason) {
    return ovk_serveReadRegisters(peer.c_str(), own.c_str(), "r", 100, values, 3, 7, nullptr, 0, success, reason);
  };
  const std::string head = R"({"msg_type":201,"ver":"1.0","ref_id":"r","src":{"fid":")" + own + R"(","at":")" + own +
                           R"("},"dst":{"fid":")" + peer + R"("},)";
  const struct {
    bool success;
    const char* reason;
    std::string tail;
  } rows[] = {{true, nullptr, R"("success":true,"data":[{"start":100,"words":[1,65535,0]},{"start":7,"words":[]}]})"},
              {false, "not readable", R"("success":false,"err_reason":"not readable"})"},
              {false, nullptr, R"("success":false})"}};
  for (const auto& row : rows) {
    fake::reset();
    EXPECT_EQ(serve(row.success, row.reason), 0U);
    EXPECT_EQ(onlyWritten().channel, 3);
    EXPECT_EQ(onlyWritten().text, head + row.tail);
    EXPECT_EQ(platform().counters, (std::map<int, int>{{49, 1}}));
    EXPECT_EQ(traced(6, "process register area start_address 100/0x64, num_regs 3"), row.success);
    EXPECT_EQ(traced(2, "err_reason should be passed when success = false"), !row.success && row.reason == nullptr);
  }
  fake::reset();
  EXPECT_EQ(ovk_serveReadRegisters(peer.c_str(), own.c_str(), "r", 1, nullptr, 5, 1, nullptr, 5, false, "no"), 0U);
  EXPECT_EQ(ovk_serveReadRegisters(peer.c_str(), own.c_str(), "r", 1, values, 1, 1, nullptr, 5, true, "no"), 2U);
  EXPECT_EQ(ovk_serveReadRegisters(peer.c_str(), own.c_str(), "r", 2, nullptr, 5, 1, values, 1, true, "no"), 2U);
  EXPECT_TRUE(traced(2, "No values for the 5 registers from 2 on: null pointer"));
  EXPECT_TRUE(traced(2, "No values for the 5 registers from 1 on: null pointer"));
  platform().writeResult = 1;
  EXPECT_EQ(serve(true, nullptr), 7U);
  EXPECT_TRUE(traced(2, "failed to write message 109 to transfer channel IPC_TC_QMX_SERVER_RSP_IDX"));
  EXPECT_EQ(platform().counters[50], 1);
  platform().myFid.clear();
  EXPECT_EQ(serve(true, nullptr), 4U);
}

TEST_F(Registers, WriteResponsesAndIdentifiers) {
  OrvaneServices[7].TransferChannelWriteIdx = 3;
  EXPECT_EQ(ovk_serveWriteRegisters(peer.c_str(), own.c_str(), "r", false, nullptr), 0U);
  EXPECT_EQ(onlyWritten().channel, 3);
  EXPECT_THAT(onlyWritten().text, HasSubstr("\"at\":\"" + platform().parentFid + "\""));
  EXPECT_THAT(onlyWritten().text, HasSubstr(R"("success":false,"data":{}})"));
  EXPECT_TRUE(platform().counters.empty());
  const std::string shortFid = own.substr(1);
  const struct {
    const char *dst, *src, *ref;
  } rows[] = {{shortFid.c_str(), own.c_str(), "r"},
              {own.c_str(), shortFid.c_str(), "r"},
              {own.c_str(), own.c_str(), longRef.c_str()},
              {nullptr, own.c_str(), "r"},
              {own.c_str(), nullptr, "r"},
              {own.c_str(), own.c_str(), nullptr}};
  const auto shown = [](const char* text) { return std::string(text == nullptr ? "(null)" : text); };
  for (const auto& row : rows) {
    fake::reset();
    EXPECT_EQ(ovk_serveWriteRegisters(row.dst, row.src, row.ref, true, nullptr), 2U);
    EXPECT_EQ(ovk_serveReadRegisters(row.dst, row.src, row.ref, 1, nullptr, 0, 1, nullptr, 0, true, nullptr), 2U);
    EXPECT_EQ(platform().traced(2, "Invalid destination (" + shown(row.dst) + "), source (" + shown(row.src) +
                                       ") or reference identifier (" + shown(row.ref) + ")\n"),
              2);
    EXPECT_TRUE(platform().written.empty());
  }
}

TEST_F(Registers, BuildersRefuseEmptyIdentifiers) {
  Json msg;
  const std::vector<RegisterArea> areas(2);
  EXPECT_EQ(ovk_build_register_write_message("", "g", "s", "r", 0, areas, msg), -1);
  EXPECT_EQ(ovk_build_register_write_message("d", "", "s", "r", 0, areas, msg), -2);
  EXPECT_EQ(ovk_build_register_write_message("d", "g", "", "r", 0, areas, msg), -3);
  EXPECT_EQ(ovk_build_data_read_response_message("", "s", "a", "r", true, nullptr, areas, msg), -1);
  EXPECT_EQ(ovk_build_data_read_response_message("d", "", "a", "r", true, nullptr, areas, msg), -2);
  EXPECT_EQ(ovk_build_data_read_response_message("d", "s", "", "r", true, nullptr, areas, msg), -3);
  EXPECT_TRUE(msg.empty());
  for (const char* refusal : {"Empty destination gateway fid", "Empty source fid", "Empty src_at_fid"}) {
    EXPECT_TRUE(traced(2, refusal));
  }
  EXPECT_EQ(ovk_build_register_write_message("d", "g", "s", "r", -1, areas, msg), -4);
  EXPECT_EQ(msg.text(), R"({"msg_type":202,"ver":"1.0","ref_id":"r"})");
}

std::string wordList(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += (i == 0 ? "" : ",") + std::to_string(i);
  return text;
}

// What both readers make of a register block array; a request refuses a negative start, a response takes it.
TEST_F(Registers, ReadBlocks) {
  struct Areas {
    int start1, count1, start2, count2;
    bool operator==(const Areas& o) const {
      return start1 == o.start1 && count1 == o.count1 && start2 == o.start2 && count2 == o.count2;
    }
  };
  const struct {
    const char* what;
    std::string data;
    Areas response, request;
    std::string refusal;
  } rows[] = {
      {"two areas", R"([{"start":5,"words":[1,2]},{"start":6,"words":[]}])", {5, 2, 6, 0}, {5, 2, 6, 0}, ""},
      {"one area", R"([{"start":5,"words":[1]}])", {5, 1, -1, -1}, {5, 1, -1, -1}, ""},
      {"no words", R"([{"start":5}])", {5, 0, -1, -1}, {5, 0, -1, -1}, ""},
      {"no start", R"([{"words":[1]},{"start":6,"words":[1]}])", {-1, -1, -1, -1}, {-1, -1, -1, -1}, ""},
      {"negative start", R"([{"start":-5,"words":[1]},{"start":6,"words":[1]}])", {-5, 1, 6, 1}, {-1, -1, 6, 1}, ""},
      {"three areas",
       R"([{"start":1,"words":[]},{"start":2,"words":[]},{"start":3}])",
       {1, 0, 2, 0},
       {1, 0, 2, 0},
       "Cannot handle more than 2 register areas"},
      {"a word of another type",
       R"([{"start":1,"words":[1,"2",3]},{"start":2,"words":[1.5]}])",
       {1, 1, 2, 0},
       {1, 1, 2, 0},
       "'data[0].words[1]' is no integer: 2; the words end there"},
      {"1024 words",
       R"([{"start":1,"words":[)" + wordList(1024) + R"(]},{"start":2,"words":[7]}])",
       {1, 1024, 2, 1},
       {1, 1024, 2, 1},
       ""},
      {"1025 words",
       R"([{"start":1,"words":[)" + wordList(1025) + R"(]},{"start":2,"words":[7]}])",
       {1, -1, -1, -1},
       {1, -1, -1, -1},
       "requested more registers than allowed, maximum is 1024 registers per block "},
      {"an object", R"({"start":1,"words":[1]})", {-1, -1, -1, -1}, {-1, -1, -1, -1}, ""},
  };
  std::vector<uint16_t> words1(1024);
  std::vector<uint16_t> words2(1024);
  for (const auto& row : rows) {
    for (const bool isRequest : {false, true}) {
      SCOPED_TRACE(testing::Message() << row.what << (isRequest ? ", request" : ", response"));
      platform().trace.clear();
      Areas found{-1, -1, -1, -1};
      int notification = 0;
      const std::string text = isRequest ? messages::writeRequest(row.data, "-7") : messages::response(201, row.data);
      const int result =
          isRequest ? getWriteRequestMessageParameters(text.c_str(), 0, &notification, &found.start1, words1.data(),
                                                       &found.count1, &found.start2, words2.data(), &found.count2)
                    : getMsgRegisterContent(text.c_str(), 0, &found.start1, words1.data(), &found.count1, &found.start2,
                                            words2.data(), &found.count2);
      EXPECT_EQ(result, 0);
      EXPECT_EQ(notification, isRequest ? -7 : 0);
      EXPECT_TRUE(found == (isRequest ? row.request : row.response));
      if (row.refusal.empty()) {
        EXPECT_EQ(platform().errors(), "");
      }
      EXPECT_EQ(traced(2, row.refusal), !row.refusal.empty()) << platform().errors();
      for (int i = 0; found.count1 == 1024 && i < 1024; ++i) ASSERT_EQ(words1[static_cast<std::size_t>(i)], i);
    }
  }
  int i = 0;
  uint16_t word = 0;
  EXPECT_EQ(getMsgRegisterContent("{}", 0, &i, &word, &i, &i, nullptr, &i), -1);
  EXPECT_TRUE(traced(2, "Null Pointer passed!"));
}

TEST_F(Registers, WordsKeepTheirLow16Bits) {
  uint16_t words1[1024];
  uint16_t words2[1024];
  int start1 = 0;
  int count1 = 0;
  int start2 = 0;
  int count2 = 0;
  const std::string text = messages::response(201, R"([{"start":0,"words":[65535,-1,65536,70000]}])");
  EXPECT_EQ(getMsgRegisterContent(text.c_str(), 0, &start1, words1, &count1, &start2, words2, &count2), 0);
  EXPECT_THAT(std::vector<uint16_t>(words1, words1 + count1), testing::ElementsAre(65535, 65535, 0, 4464));
}

TEST_F(Registers, ReadRequestRecords) {
  const struct {
    const char* data;
    int result, start1, count1, start2, count2;
  } rows[] = {{R"([{"start":5,"num":-1},{"start":6,"num":7}])", 0, 5, -1, 6, 7},
              {R"([{"start":5,"num":1},{"start":0,"num":0}])", 0, 5, 1, 0, 0},
              {R"([{"start":5,"num":1}])", 0, 5, 1, -1, 0},
              {R"([{"num":1},{"start":6,"num":7}])", -1, -1, 1, 6, 7},
              {R"([{"start":5,"num":"1"}])", -1, 5, -1, -1, 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.data);
    ovk_RegisterReadReqCallbackData_t record{};
    EXPECT_EQ(getRegisterReadReqCallbackData(messages::request(200, row.data).c_str(), 0, &record), row.result);
    EXPECT_EQ(record.startRegister1, row.start1);
    EXPECT_EQ(record.numberRegisters1, row.count1);
    EXPECT_EQ(record.startRegister2, row.start2);
    EXPECT_EQ(record.numberRegisters2, row.count2);
  }
  EXPECT_TRUE(traced(2, "token 'data[1].start' not found in message"));
  EXPECT_TRUE(traced(2, "token 'data[1].num' not found in message"));
}

// What is written is what arrives, through the whole of both sides.
std::vector<uint16_t> arrived;
int keepWords(void* data, unsigned /*length*/) {
  const auto& record = *static_cast<ovk_RegisterWriteReqCallbackData_t*>(data);
  arrived.assign(record.pStartRegister1, record.pStartRegister1 + record.numberRegisters1);
  arrived.insert(arrived.end(), record.pStartRegister2, record.pStartRegister2 + record.numberRegisters2);
  // Behind the values the buffers are zero.
  EXPECT_EQ(record.numberRegisters2 < 1024 ? record.pStartRegister2[record.numberRegisters2] : 0, 0);
  return 0;
}

TEST_F(Registers, ThereAndBack) {
  std::vector<uint16_t> words(1300);
  std::iota(words.begin(), words.end(), static_cast<uint16_t>(65000));
  OrvaneServices[7].p_ServiceCallback = reinterpret_cast<void*>(keepWords);
  EXPECT_EQ(ovk_WriteRegisters(peer.c_str(), "r", 0, 0, words.data(), 1024, 5, words.data() + 1024, 276), 0U);
  EXPECT_EQ(processReceivedMessage(onlyWritten().text.c_str(), 0), 0) << platform().errors();
  EXPECT_EQ(arrived, words);
}

} // namespace
