// Requests and answers that are sent in one of their variants, and those that are refused.

#include "message/envelope.h"
#include "register/register_payload.h"
#include "support/messages.h"

using namespace messages;

namespace {

using Call = std::function<unsigned()>;

constexpr const char* d = peer;
constexpr const char* s = own;
const char* const longRef = "01234567890123456789012345678901234567890";
const uint16_t words[] = {1, 65535, 0};
int blocks[] = {100, 2, 3, 4, 5, 6, 7, 8, 9, 10};
TagItem_t items[11] = {};

Call write(const char* dst, const char* ref, int notification, int start, int count, const uint16_t* values = words,
           int start2 = -1, const uint16_t* values2 = nullptr, int count2 = 9) {
  return [=] { return ovk_WriteRegisters(dst, ref, notification, start, values, count, start2, values2, count2); };
}
Call read(int start, int count, int start2 = 0, int count2 = 0, const char* dst = d, const char* ref = "r") {
  return [=] { return ovk_ReadRegisters(dst, ref, start, count, start2, count2); };
}
Call serveRead(const uint16_t* values, int count, const uint16_t* values2, int count2, bool success = true,
               const char* reason = "why", const char* src = s) {
  return [=] { return ovk_serveReadRegisters(d, src, "r", 4, values, count, 7, values2, count2, success, reason); };
}
Call serveWrite(bool success, const char* reason, const char* dst = d, const char* src = s, const char* ref = "r") {
  return [=] { return ovk_serveWriteRegisters(dst, src, ref, success, reason); };
}
Call askInfo(const char* dst) {
  return [=] { return ovk_ReadDeviceInfo(dst, "r"); };
}
Call serveInfo(const char* dst, const char* src, int tagCount, int* tags, int resCount, int* res, bool success = true) {
  return [=] { return ovk_serveReadDeviceInfo(dst, src, "r", tagCount, tags, resCount, res, 256, success, "why"); };
}
Call askTags(std::size_t count) {
  return [=] { return ovk_ReadTags("d", "r", std::vector<DevTagDevInfoTag>(count, {1, 17})); };
}
Call serveTags(const char* dst, const char* src, unsigned count, TagItem_t* tags, bool success = true,
               const char* ref = "r") {
  return [=] { return ovk_serveReadTag(dst, src, ref, count, tags, success, "why"); };
}
unsigned transferWithoutSource() {
  return ovk_build_and_transfer_message(ovk_Service_TagReadServer, d, nullptr, "r", false, false, nullptr, Json());
}

// What is wrong with the platform; or the service whose callback is missing.
enum Fault : int { none = -1, noOwnFid = -2, emptyFid = -3, noParent = -4, refused = -5, failing = -6 };

// sent.txt has the outcomes.
const struct {
  const char* what;
  Call call;
  int fault = none;
} rows[] = {
    {"write: start 2 negative", write(d, "r", 0, 0, 1, words, -1, words, 1)},
    {"write: count 2 is 0", write(d, "r", 0, 0, 1, words, 7, words, 0)},
    {"write: a quote in the reference", write(d, "r\"1", 0, 1, 1)},
    {"write: callback first", write("x", longRef, 3, -1, 0), ovk_Service_RegisterWriteClient},
    {"write: identifier of 1 character", write("x", "r", 0, 1, 1)},
    {"write: null identifier", write(nullptr, "r", 0, 1, 1)},
    {"write: null reference", write(d, nullptr, 0, 1, 1)},
    {"write: own identifier before the area", write(d, "r", 0, 1, 0), noOwnFid},
    {"write: own identifier empty", write(d, "r", 0, 1, 1), emptyFid},
    {"write: parent before the area", write(d, "r", 0, 1, 0), noParent},
    {"write: no registers", write(d, "r", 0, 1, 0)},
    {"write: count -1", write(d, "r", 0, 1, -1)},
    {"write: start -1", write(d, "r", 0, -1, 1)},
    {"write: null words", write(d, "r", 0, 1, 1, nullptr)},
    {"write: null words 2", write(d, "r", 0, 1, 1, words, 5, nullptr, 2)},
    {"write: notification 2", write(d, "r", 2, 1, 1)},
    {"write: channel fails", write(d, "r", 0, 1, 1), failing},
    {"read: two areas", read(100, 3, 5, 6)},
    {"read: counts -1", read(0, -1, 0, -1)},
    {"read: count 2 is 0", read(100, 3, 5, 0)},
    {"read: identifiers unchecked", read(1, 1, 0, 0, "x", longRef)},
    {"read: callback first", read(-1, 0, 0, 0, nullptr), ovk_Service_RegisterReadClient},
    {"read: no registers", read(1, 0)},
    {"read: count -2", read(1, -2)},
    {"read: start -1", read(-1, -1)},
    {"read: null identifier", read(1, 1, 0, 0, nullptr)},
    {"read: own identifier", read(1, 1), noOwnFid},
    {"read: parent", read(1, 1), noParent},
    {"read: channel refuses", read(1, 1), refused},
    {"words: failed, areas not looked at", serveRead(nullptr, 5, nullptr, 5, false)},
    {"words: failed without reason", serveRead(words, 3, words, 3, false, nullptr)},
    {"words: null", serveRead(nullptr, 2, words, 1)},
    {"words: null in area 2", serveRead(words, 1, nullptr, 2)},
    {"words: identifier of 1 character", serveRead(words, 1, words, 1, true, "why", "x")},
    {"words: own identifier", serveRead(words, 1, words, 1), noOwnFid},
    {"words: own identifier empty", serveRead(words, 1, words, 1), emptyFid},
    {"words: channel refuses", serveRead(words, 1, words, 1), refused},
    {"written: failed", serveWrite(false, "why")},
    {"written: failed, empty reason", serveWrite(false, "")},
    {"written: failed without reason", serveWrite(false, nullptr)},
    {"written: null identifiers", serveWrite(true, "", nullptr, nullptr, nullptr)},
    {"written: long reference", serveWrite(true, "", d, s, longRef)},
    {"written: parent", serveWrite(true, ""), noParent},
    {"ask info: callback first", askInfo(""), ovk_Service_DescriptorReadClient},
    {"ask info: empty identifier", askInfo("")},
    {"info: all blocks", serveInfo("d", "s", 10, blocks, 4, blocks)},
    {"info: negative numbers of blocks", serveInfo("d", "s", -3, nullptr, -1, nullptr)},
    {"info: no blocks", serveInfo("d", "s", 0, nullptr, 0, nullptr)},
    {"info: failed, not looked at", serveInfo("d", "s", 99, nullptr, 99, nullptr, false)},
    {"info: empty source first", serveInfo("", "", 99, nullptr, 0, nullptr)},
    {"info: null identifier", serveInfo(nullptr, "s", 0, nullptr, 0, nullptr)},
    {"info: 11 blocks", serveInfo("d", "s", 11, blocks, 5, blocks)},
    {"info: 5 reserved blocks", serveInfo("d", "s", 1, blocks, 5, blocks)},
    {"info: null blocks", serveInfo("d", "s", 1, nullptr, 1, blocks)},
    {"info: null reserved blocks", serveInfo("d", "s", 1, blocks, 4, nullptr)},
    {"ask tags: callback first", askTags(0), ovk_Service_TagReadClient},
    {"ask tags: none", askTags(0)},
    {"tags: no items", serveTags("d", "s", 0, nullptr)},
    {"tags: failed, items not looked at", serveTags("d", "s", 5, nullptr, false)},
    {"tags: failed, items all the same", serveTags("d", "s", 11, items, false)},
    {"tags: null source first", serveTags(nullptr, nullptr, 0, nullptr)},
    {"tags: empty identifier", serveTags("", "s", 0, nullptr)},
    {"tags: null items", serveTags("d", "s", 5, nullptr)},
    {"tags: null reference", serveTags("d", "s", 0, nullptr, true, nullptr)},
    {"any: null source", transferWithoutSource},
};

class Sending : public Receiver {
protected:
  // The lines of level 2, the message written, the status, and what was counted.
  std::string outcome(const Call& call, int fault) {
    startOver();
    if (fault >= 0) OrvaneServices[static_cast<std::size_t>(fault)].p_ServiceCallback = nullptr;
    if (fault == emptyFid) platform().myFid.clear();
    platform().knowsMyFid = fault != noOwnFid;
    platform().knowsParents = fault != noParent;
    platform().writeResult = fault == refused ? 1 : fault == failing ? -1 : 0;
    const unsigned status = call();
    std::string all = platform().errors();
    for (const auto& [channel, text] : platform().written) all += text + "\n";
    all += std::to_string(status);
    for (const auto& [counter, times] : platform().counters) all += joined(", counter ", counter, " +", times);
    return all + "\n";
  }
};

TEST_F(Sending, SentOrRefused) {
  std::map<std::string, std::string> outcomes = sections("sent.txt");
  EXPECT_EQ(outcomes.size(), std::size(rows));
  testing::internal::CaptureStdout();
  for (const auto& row : rows) EXPECT_EQ(outcome(row.call, row.fault), outcomes[row.what]) << row.what;
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "### Invalid value 2 for sendNotification parameter\n");
}

// The first of the texts that is empty decides.
TEST_F(Sending, BuildersRefuseEmptyIdentifiers) {
  Json msg;
  const std::vector<RegisterArea> areas(2);
  for (int place = 0; place < 3; ++place) {
    std::string texts[] = {"d", "g", "s"};
    for (int i = place; i < 3; ++i) texts[i].clear();
    EXPECT_EQ(ovk_build_register_write_message(texts[0], texts[1], texts[2], "r", 0, areas, msg), -1 - place);
    EXPECT_EQ(ovk_build_data_read_response_message(texts[0], texts[1], texts[2], "r", true, "", areas, msg),
              -1 - place);
  }
  EXPECT_TRUE(msg.empty());
  EXPECT_EQ(platform().errors(), "Empty destination fid\nEmpty destination fid\nEmpty destination gateway fid\n"
                                 "Empty source fid\nEmpty source fid\nEmpty src_at_fid\n");
  EXPECT_EQ(ovk_build_register_write_message("d", "g", "s", "r", -1, areas, msg), -4);
  EXPECT_EQ(msg.text(), R"({"msg_type":202,"ver":"1.0","ref_id":"r"})");
}

TEST_F(Sending, AreasThatAreSkipped) {
  write(d, "r", 0, 0, 1)();
  EXPECT_TRUE(traced(6, "skip startRegister2/numberRegisters2 information"));
  EXPECT_TRUE(traced(6, "skip area start_address 0/0x0, num_regs 0"));
}

TEST_F(Sending, ChannelOfTheRegistration) {
  OrvaneServices[7].TransferChannelWriteIdx = 0; // as long as it was never registered with the bus
  serveWrite(true, nullptr)();
  EXPECT_TRUE(traced(6, "Service 7 gives TC_WriteIdx 0"));
  OrvaneServices.clear();
  serveWrite(true, nullptr)();
  EXPECT_TRUE(platform().written[0].channel == 0 && platform().written[1].channel == 0);
}

} // namespace
