// Requests and answers that are sent in one of their variants, and those that are refused.

#include "message/envelope.h"
#include "register/register_payload.h"
#include "support/messages.h"

using namespace messages;

namespace {

const uint16_t words[] = {1, 65535, 0};
int blocks[] = {100, 2, 3, 4, 5, 6, 7, 8, 9, 10};
TagItem_t items[2] = {};

// A function and the arguments that are not as usual, as in "write start=5 words2=null".
class Call {
public:
  explicit Call(const std::string& line) : words_(line) {
    words_ >> function_;
    for (std::string each; words_ >> each;) given_[each.substr(0, each.find('='))] = each.substr(each.find('=') + 1);
  }
  const std::string& function() const { return function_; }
  const char* text(const char* name, const char* usual) const {
    const auto found = given_.find(name);
    return found == given_.end() ? usual : found->second == "null" ? nullptr : found->second.c_str();
  }
  int number(const char* name, int usual) const { return std::stoi(text(name, std::to_string(usual).c_str())); }
  template <typename Item>
  Item* list(const char* name, Item* usual) const {
    return text(name, "") == nullptr ? nullptr : usual;
  }

private:
  std::istringstream words_;
  std::string function_;
  std::map<std::string, std::string> given_;
};

unsigned statusOf(const Call& c) {
  const char* const dst = c.text("dst", peer);
  const char* const src = c.text("src", own);
  const char* const ref = c.text("ref", "r");
  const bool success = c.number("success", 1) != 0;
  const char* const reason = c.text("reason", "why");
  const int start = c.number("start", 1);
  const int count = c.number("count", 1);
  const uint16_t* const values = c.list("words", words);
  const uint16_t* const values2 = c.list("words2", words);
  if (c.function() == "write")
    return ovk_WriteRegisters(dst, ref, c.number("notification", 0), start, values, count, c.number("start2", -1),
                              values2, c.number("count2", 9));
  if (c.function() == "read")
    return ovk_ReadRegisters(dst, ref, start, count, c.number("start2", 0), c.number("count2", 0));
  if (c.function() == "serve-words")
    return ovk_serveReadRegisters(dst, src, ref, 4, values, count, 7, values2, c.number("count2", 1), success, reason);
  if (c.function() == "serve-write") return ovk_serveWriteRegisters(dst, src, ref, success, reason);
  if (c.function() == "ask-info") return ovk_ReadDeviceInfo(dst, ref);
  if (c.function() == "serve-info")
    return ovk_serveReadDeviceInfo(dst, src, ref, count, c.list("blocks", blocks), c.number("count2", 1),
                                   c.list("blocks2", blocks), 256, success, reason);
  if (c.function() == "ask-tags")
    return ovk_ReadTags(dst, ref, std::vector<DevTagDevInfoTag>(static_cast<std::size_t>(count), {1, 17}));
  if (c.function() == "serve-tags")
    return ovk_serveReadTag(dst, src, ref, static_cast<unsigned>(count), c.list("items", items), success, reason);
  EXPECT_EQ(c.function(), "transfer");
  return ovk_build_and_transfer_message(ovk_Service_TagReadServer, dst, src, ref, false, false, nullptr, Json());
}

class Sending : public Receiver {
protected:
  // The lines of level 2, the message written, the status, and what was counted.
  std::string outcome(const Call& call) {
    startOver();
    const int unregistered = call.number("unregistered", -1);
    if (unregistered >= 0) OrvaneServices[static_cast<std::size_t>(unregistered)].p_ServiceCallback = nullptr;
    const std::string fault = call.text("platform", "");
    if (fault == "empty-own-fid") platform().myFid.clear();
    platform().knowsMyFid = fault != "no-own-fid";
    platform().knowsParents = fault != "no-parent";
    platform().writeResult = fault == "channel-refuses" ? 1 : fault == "channel-fails" ? -1 : 0;
    const unsigned status = statusOf(call);
    std::string all = platform().errors();
    for (const auto& [channel, text] : platform().written) all += text + "\n";
    return all + std::to_string(status) + counted();
  }
};

TEST_F(Sending, SentOrRefused) {
  testing::internal::CaptureStdout();
  expectOutcomes(OVK_TEST_DATA "/sent.txt",
                 [this](const std::string& /*title*/, const std::string& call) { return outcome(Call(call)) + "\n"; });
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "### Invalid value 2 for sendNotification parameter\n");
}

// The first of the texts that is empty decides.
TEST_F(Sending, BuildersRefuseEmptyIdentifiers) {
  const std::tuple<const char*, const char*, const char*, int> rows[] = {
      {"", "", "", -1}, {"d", "", "", -2}, {"d", "g", "", -3}};
  Json msg;
  for (const auto& [dst, gateway, src, result] : rows) {
    EXPECT_EQ(ovk_build_register_write_message(dst, gateway, src, "r", 0, {}, msg), result);
    EXPECT_EQ(ovk_build_data_read_response_message(dst, gateway, src, "r", true, "", {}, msg), result);
  }
  EXPECT_TRUE(msg.empty());
  EXPECT_EQ(ovk_build_register_write_message("d", "g", "s", "r", -1, {}, msg), -4);
  EXPECT_EQ(msg.text(), R"({"msg_type":202,"ver":"1.0","ref_id":"r"})");
}

TEST_F(Sending, AreasThatAreSkipped) {
  outcome(Call("write start=0 start2=0 count2=0"));
  EXPECT_TRUE(traced(6, "skip startRegister2/numberRegisters2 information"));
  EXPECT_TRUE(traced(6, "skip area start_address 0/0x0, num_regs 0"));
}

TEST_F(Sending, ChannelOfTheRegistration) {
  OrvaneServices[7].TransferChannelWriteIdx = 0; // as long as it was never registered with the bus
  ovk_serveWriteRegisters(peer, own, "r", true, nullptr);
  EXPECT_TRUE(traced(6, "Service 7 gives TC_WriteIdx 0"));
  OrvaneServices.clear();
  ovk_serveWriteRegisters(peer, own, "r", true, nullptr);
  EXPECT_TRUE(platform().written[0].channel == 0 && platform().written[1].channel == 0);
}

} // namespace
