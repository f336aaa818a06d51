// Requests and answers that are sent in one of their variants, and those that are refused.

#include "message/envelope.h"
#include "register/register_payload.h"
#include "support/messages.h"

using namespace messages;

namespace {

using Call = std::function<unsigned()>;

const char* const d = peer.c_str();
const char* const s = own.c_str();
const char* const longRef = "01234567890123456789012345678901234567890";
const uint16_t words[] = {1, 65535, 0};
int blocks[] = {100, 2, 3, 4, 5, 6, 7, 8, 9, 10};
TagItem_t items[1] = {};

Call write(const char* dst, const char* ref, int notification, int start, int count, const uint16_t* values = words,
           int start2 = -1, const uint16_t* values2 = nullptr, int count2 = 9) {
  return [=] { return ovk_WriteRegisters(dst, ref, notification, start, values, count, start2, values2, count2); };
}
Call read(int start, int count, int start2 = 0, int count2 = 0, const char* dst = d, const char* ref = "r") {
  return [=] { return ovk_ReadRegisters(dst, ref, start, count, start2, count2); };
}
Call serveRead(const uint16_t* values, int count, const uint16_t* values2, int count2, bool success = true,
               const char* reason = "why") {
  return [=] { return ovk_serveReadRegisters(d, s, "r", 4, values, count, 7, values2, count2, success, reason); };
}
Call serveWrite(bool success, const char* reason) {
  return [=] { return ovk_serveWriteRegisters(d, s, "r", success, reason); };
}
Call askInfo(const char* dst) {
  return [=] { return ovk_ReadDeviceInfo(dst, "r"); };
}
Call serveInfo(const char* dst, const char* src, int tagCount, int* tags, int resCount, int* res, bool success = true) {
  return [=] { return ovk_serveReadDeviceInfo(dst, src, "r", tagCount, tags, resCount, res, 256, success, "why"); };
}
Call askTags(const char* dst, std::size_t count) {
  return [=] { return ovk_ReadTags(dst, "r", std::vector<DevTagDevInfoTag>(count, {1, 17})); };
}
Call serveTags(const char* dst, const char* src, const char* ref, unsigned count, TagItem_t* tags,
               bool success = true) {
  return [=] { return ovk_serveReadTag(dst, src, ref, count, tags, success, "why"); };
}
Call transfer(const char* src) {
  return [=] {
    return ovk_build_and_transfer_message(ovk_Service_TagReadServer, d, src, "r", false, false, nullptr, Json());
  };
}

class Sending : public Receiver {};

const std::string oneArea = R"(},"data":[{"start":0,"words":[1]}]})";
const std::string ok = R"(},"success":true,"data":)";
const std::string failed = R"(},"success":false,"err_reason":"why")";
const std::string unreasoned = "err_reason should be passed when success = false\n";

// All that stands behind the identifiers of "dst".
const struct {
  const char* what;
  Call call;
  std::string tail, errors = "";
} sentRows[] = {
    {"write, start 2 negative", write(d, "r", 0, 0, 1, words, -1, words, 1), oneArea},
    {"write, count 2 is 0", write(d, "r", 0, 0, 1, words, 7, words, 0), oneArea},
    {"write, count 2 is -1", write(d, "r", 0, 0, 1, words, 7, words, -1), oneArea},
    {"read two areas", read(100, 3, 5, 6), R"(},"data":[{"start":100,"num":3},{"start":5,"num":6}]})"},
    {"read with counts -1", read(0, -1, 0, -1), R"(},"data":[{"start":0,"num":-1},{"start":0,"num":-1}]})"},
    {"read, count 2 is 0", read(100, 3, 5, 0), R"(},"data":[{"start":100,"num":3},{"start":0,"num":0}]})"},
    {"read, identifiers unchecked", read(1, 1, 0, 0, "x", longRef),
     R"("dst":{"fid":"x","at":"parent of x"},"data":[{"start":1,"num":1},{"start":0,"num":0}]})"},
    {"failed read, areas not looked at", serveRead(nullptr, 5, nullptr, 5, false), failed + "}"},
    {"failed read without reason", serveRead(words, 3, words, 3, false, nullptr), R"(},"success":false})", unreasoned},
    {"failed write", serveWrite(false, "why"), failed + R"(,"data":{}})"},
    {"failed write, empty reason", serveWrite(false, ""), R"(},"success":false,"err_reason":"","data":{}})"},
    {"failed write without reason", serveWrite(false, nullptr), R"(},"success":false,"data":{}})", unreasoned},
    {"all blocks", serveInfo("d", "s", 10, blocks, 4, blocks),
     ok + R"({"numTagRegBlocks":10,"TagRegBlocks":[100,2,3,4,5,6,7,8,9,10],)"
          R"("numResRegBlocks":4,"ResRegBlocks":[100,2,3,4],"ModbusBufferSize":256}})"},
    {"negative numbers of blocks", serveInfo("d", "s", -3, nullptr, -1, nullptr),
     ok + R"({"numTagRegBlocks":-3,"TagRegBlocks":[],"numResRegBlocks":-1,"ResRegBlocks":[],"ModbusBufferSize":256}})"},
    {"no blocks", serveInfo("d", "s", 0, nullptr, 0, nullptr),
     ok + R"({"numTagRegBlocks":0,"TagRegBlocks":[],"numResRegBlocks":0,"ResRegBlocks":[],"ModbusBufferSize":256}})"},
    {"failed info, not looked at", serveInfo("d", "s", 99, nullptr, 99, nullptr, false), failed + R"(,"data":{}})"},
    {"no items", serveTags("d", "s", "r", 0, nullptr), ok + R"({"num":0,"tag_items":[]}})"},
    {"failed items, not looked at", serveTags("d", "s", "r", 5, nullptr, false),
     failed + R"(,"data":{"num":0,"tag_items":[]}})"},
    {"failed items, given all the same", serveTags("d", "s", "r", 1, items, false),
     failed + R"(,"data":{"num":1,"tag_items":[{"fid":"d","tag":0,"idd":0,"data":"0.000000","startReg":0,)"
              R"("regLen":0}]}})"},
};

TEST_F(Sending, Sent) {
  for (const auto& row : sentRows) {
    SCOPED_TRACE(row.what);
    startOver();
    EXPECT_EQ(row.call(), 0U);
    EXPECT_THAT(onlyWritten().text, testing::EndsWith(row.tail));
    EXPECT_EQ(platform().errors(), row.errors);
  }
  EXPECT_EQ(write(d, "r\"1", 0, 1, 1)(), 0U);
  EXPECT_THAT(platform().written.back().text, testing::HasSubstr(R"("ref_id":"r"1","sendNotification":0,)"));
  EXPECT_TRUE(traced(6, "skip startRegister2/numberRegisters2 information"));
  EXPECT_TRUE(traced(6, "skip area start_address 0/0x0, num_regs 0"));
}

// What makes a call fail; or the service whose callback is missing.
enum Fault : int { none = -1, noOwnFid = -2, emptyFid = -3, noParent = -4, refused = -5, failing = -6 };

const std::string noCallback = "No callback function registered for service ovk_Service_OrvaneBusClient\n";
const std::string noFid = "cannot not get my fid\n";
const std::string notBuilt = "failed to build register read message\n";
const std::string notBuilt108 = "failed to build register write message 108\n";
const std::string notWritten = "failed to write message to transfer channel IPC_TC_QMX_CLIENT_REQ_IDX\n";
const std::string area1 = "Invalid register request: startRegister1=";
const std::string noDst = "Empty destination fid\n";
const std::string noSrc = "Empty source fid\n";
const std::string twoWords = "No values for the 2 registers from ";
const std::string sizeOf = "FusionIdentifier string ";

const struct {
  const char* what;
  int fault;
  Call call;
  unsigned status;
  std::string errors;
  int counter = 0; // 0: none
} refusedRows[] = {
    {"write: callback first", 6, write("x", longRef, 3, -1, 0), 6, noCallback},
    {"write: fid", none, write("x", "r", 0, 1, 1), 2,
     sizeOf + "x is 1 characters long\nInvalid fusionId x or reference identifier r\n"},
    {"write: null fid", none, write(nullptr, "r", 0, 1, 1), 2,
     sizeOf + "(null) is 0 characters long\nInvalid fusionId (null) or reference identifier r\n"},
    {"write: null reference", none, write(d, nullptr, 0, 1, 1), 2,
     "ReferenceIdentifier string is null\nInvalid fusionId " + peer + " or reference identifier (null)\n"},
    {"write: own fid before area", noOwnFid, write(d, "r", 0, 1, 0), 4, noFid},
    {"write: own fid empty", emptyFid, write(d, "r", 0, 1, 1), 2, noSrc + notBuilt108},
    {"write: parent before area", noParent, write(d, "r", 0, 1, 0), 4, "cannot find parent fid for " + peer + "\n"},
    {"write: no registers", none, write(d, "r", 0, 1, 0), 2, area1 + "1, numberRegisters1=0\n"},
    {"write: count -1", none, write(d, "r", 0, 1, -1), 2, area1 + "1, numberRegisters1=-1\n"},
    {"write: start", none, write(d, "r", 0, -1, 1), 2, area1 + "-1, numberRegisters1=1\n"},
    {"write: null", none, write(d, "r", 0, 1, 1, nullptr), 2,
     "No values for the 1 registers from 1 on: null pointer\n"},
    {"write: null words 2", none, write(d, "r", 0, 1, 1, words, 5, nullptr, 2), 2, twoWords + "5 on: null pointer\n"},
    {"write: sendNotification", none, write(d, "r", 2, 1, 1), 2,
     "Invalid value 2 for sendNotification parameter\n" + notBuilt108},
    {"write: channel", failing, write(d, "r", 0, 1, 1), 7,
     "failed to write register write message 108 to transfer channel QMXB_API_REG_WRITE_REQ_TX_ERR\n", 70},
    {"read: callback first", 4, read(-1, 0, 0, 0, nullptr), 6, noCallback},
    {"read: no registers", none, read(1, 0), 2, area1 + "1, numberRegisters1=0\n"},
    {"read: count -2", none, read(1, -2), 2, area1 + "1, numberRegisters1=-2\n"},
    {"read: start", none, read(-1, -1), 2, area1 + "-1, numberRegisters1=-1\n"},
    {"read: null fid", none, read(1, 1, 0, 0, nullptr), 2,
     "Null destination ((null)), source (here) or reference identifier (r)\n" + notBuilt},
    {"read: own fid", noOwnFid, read(1, 1), 2, noFid + notBuilt},
    {"read: parent", noParent, read(1, 1), 2, "cannot not get parent fid\n" + notBuilt},
    {"read: channel refuses", refused, read(1, 1), 7, notWritten},
    {"read: channel fails", failing, read(1, 1), 7, notWritten},
    {"words: null", none, serveRead(nullptr, 2, words, 1), 2, twoWords + "4 on: null pointer\n"},
    {"words: null in area 2", none, serveRead(words, 1, nullptr, 2), 2, twoWords + "7 on: null pointer\n"},
    {"words: own fid", noOwnFid, serveRead(words, 1, words, 1), 4, noFid},
    {"words: own fid empty", emptyFid, serveRead(words, 1, words, 1), 2,
     "Empty src_at_fid\nfailed to build message 108\n"},
    {"words: channel", refused, serveRead(words, 1, words, 1), 7,
     "failed to write message 109 to transfer channel IPC_TC_QMX_SERVER_RSP_IDX\n", 50},
    {"written: own fid", noOwnFid, serveWrite(true, ""), 2, noFid + notBuilt},
    {"written: parent", noParent, serveWrite(true, ""), 2, "cannot not get parent fid\n" + notBuilt},
    {"written: channel", refused, serveWrite(true, ""), 7, notWritten},
    {"ask info: callback first", 0, askInfo(""), 6, noCallback},
    {"ask info: empty fid", none, askInfo(""), 2, noDst + notBuilt},
    {"ask info: null fid", none, askInfo(nullptr), 2,
     "Null destination ((null)), source (here) or reference identifier (r)\n" + notBuilt},
    {"info: empty source first", none, serveInfo("", "", 99, nullptr, 0, nullptr), 2, noSrc},
    {"info: null fid", none, serveInfo(nullptr, "s", 0, nullptr, 0, nullptr), 2, noDst},
    {"info: 11 blocks", none, serveInfo("d", "s", 11, blocks, 5, blocks), 2,
     "Invalid numTagRegisterBlocks of 11, must be < 10\n"},
    {"info: 5 reserved blocks", none, serveInfo("d", "s", 1, blocks, 5, blocks), 2,
     "Invalid numReservedRegisterBlocks of 5, must be < 4\n"},
    {"info: null blocks", none, serveInfo("d", "s", 1, nullptr, 1, blocks), 2,
     "No values for numTagRegBlocks=1: null pointer\n"},
    {"info: null reserved blocks", none, serveInfo("d", "s", 1, blocks, 4, nullptr), 2,
     "No values for numResRegBlocks=4: null pointer\n"},
    {"ask tags: callback first", 2, askTags("", 0), 6, noCallback},
    {"ask tags: none", none, askTags("d", 0), 2, "Invalid tag request: tag_vector.size=0\n"},
    {"ask tags: empty fid", none, askTags("", 1), 2, noDst + notBuilt},
    {"ask tags: channel", refused, askTags("d", 1), 7, notWritten},
    {"tags: null source first", none, serveTags(nullptr, nullptr, "r", 0, nullptr), 2, noSrc},
    {"tags: empty fid", none, serveTags("", "s", "r", 0, nullptr), 2, noDst},
    {"tags: empty source first", none, serveTags("", "", "r", 0, nullptr), 2, noSrc},
    {"tags: null fid", none, serveTags(nullptr, "s", "r", 0, nullptr), 2, noDst},
    {"tags: null items", none, serveTags("d", "s", "r", 5, nullptr), 2, "No tag items for numTags=5: null pointer\n"},
    {"tags: null reference", none, serveTags("d", "s", nullptr, 0, nullptr), 2,
     "Null destination (d), source (s) or reference identifier ((null))\n" + notBuilt},
    {"any: null source", none, transfer(nullptr), 2,
     "Null destination (" + peer + "), source ((null)) or reference identifier (r)\n" + notBuilt},
};

TEST_F(Sending, Refused) {
  testing::internal::CaptureStdout();
  for (const auto& row : refusedRows) {
    SCOPED_TRACE(row.what);
    startOver();
    if (row.fault >= 0) OrvaneServices[static_cast<std::size_t>(row.fault)].p_ServiceCallback = nullptr;
    if (row.fault == emptyFid) platform().myFid.clear();
    platform().knowsMyFid = row.fault != noOwnFid;
    platform().knowsParents = row.fault != noParent;
    platform().writeResult = row.fault == refused ? 1 : row.fault == failing ? -1 : 0;
    EXPECT_EQ(row.call(), row.status);
    EXPECT_EQ(platform().errors(), row.errors);
    EXPECT_TRUE(platform().written.empty());
    EXPECT_EQ(platform().counters, row.counter == 0 ? (std::map<int, int>{}) : (std::map<int, int>{{row.counter, 1}}));
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "### Invalid value 2 for sendNotification parameter\n");
}

TEST_F(Sending, IdentifiersOfRegisterAnswers) {
  const std::string shortFid = own.substr(1);
  for (const bool isNull : {false, true}) {
    for (int place = 0; place < 3; ++place) {
      startOver();
      const char* texts[] = {d, s, "r"};
      texts[place] = isNull ? nullptr : place == 2 ? longRef : shortFid.c_str();
      EXPECT_EQ(ovk_serveWriteRegisters(texts[0], texts[1], texts[2], true, nullptr), 2U);
      EXPECT_EQ(ovk_serveReadRegisters(texts[0], texts[1], texts[2], 1, nullptr, 0, 1, nullptr, 0, true, nullptr), 2U);
      const auto shown = [&](int at) { return texts[at] == nullptr ? "(null)" : texts[at]; };
      const std::string invalid = joined("Invalid destination (", shown(0), "), source (", shown(1),
                                         ") or reference identifier (", shown(2), ")\n");
      const std::string errors = platform().errors();
      EXPECT_EQ(errors, errors.substr(0, errors.size() / 2) + errors.substr(0, errors.size() / 2));
      EXPECT_THAT(errors, testing::EndsWith(invalid));
      EXPECT_TRUE(platform().written.empty());
    }
  }
}

TEST_F(Sending, BuildersRefuseEmptyIdentifiers) {
  Json msg;
  const std::vector<RegisterArea> areas(2);
  EXPECT_EQ(ovk_build_register_write_message("", "g", "s", "r", 0, areas, msg), -1);
  EXPECT_EQ(ovk_build_register_write_message("d", "", "s", "r", 0, areas, msg), -2);
  EXPECT_EQ(ovk_build_register_write_message("d", "g", "", "r", 0, areas, msg), -3);
  EXPECT_EQ(ovk_build_data_read_response_message("", "s", "a", "r", true, nullptr, areas, msg), -1);
  EXPECT_EQ(ovk_build_data_read_response_message("d", "", "a", "r", true, nullptr, areas, msg), -2);
  EXPECT_EQ(ovk_build_data_read_response_message("d", "s", "", "r", true, nullptr, areas, msg), -3);
  EXPECT_TRUE(msg.empty());
  EXPECT_EQ(platform().errors(), "Empty destination fid\nEmpty destination gateway fid\nEmpty source fid\n"
                                 "Empty destination fid\nEmpty source fid\nEmpty src_at_fid\n");
  EXPECT_EQ(ovk_build_register_write_message("d", "g", "s", "r", -1, areas, msg), -4);
  EXPECT_EQ(msg.text(), R"({"msg_type":202,"ver":"1.0","ref_id":"r"})");
}

TEST_F(Sending, ChannelOfTheRegistration) {
  OrvaneServices[7].TransferChannelWriteIdx = 0; // as long as it was never registered with the bus
  serveWrite(true, nullptr)();
  EXPECT_TRUE(traced(6, "Service 7 gives TC_WriteIdx 0"));
  OrvaneServices[7].TransferChannelWriteIdx = 3;
  serveWrite(true, nullptr)();
  OrvaneServices.clear();
  serveWrite(true, nullptr)();
  std::vector<int> channels;
  for (const auto& message : platform().written) channels.push_back(message.channel);
  EXPECT_THAT(channels, testing::ElementsAre(0, 3, 0));
}

} // namespace
