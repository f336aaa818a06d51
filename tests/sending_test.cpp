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
  const char* dst() const { return text("dst", peer); }
  const char* src() const { return text("src", own); }
  const char* ref() const { return text("ref", "r"); }
  bool success() const { return number("success", 1) != 0; }
  const char* reason() const { return text("reason", "why"); }

private:
  std::istringstream words_;
  std::string function_;
  std::map<std::string, std::string> given_;
};

const std::map<std::string, unsigned (*)(const Call&)> functions = {
    {"write",
     [](const Call& c) {
       return ovk_WriteRegisters(c.dst(), c.ref(), c.number("notification", 0), c.number("start", 1),
                                 c.list("words", words), c.number("count", 1), c.number("start2", -1),
                                 c.list("words2", words), c.number("count2", 9));
     }},
    {"read",
     [](const Call& c) {
       return ovk_ReadRegisters(c.dst(), c.ref(), c.number("start", 1), c.number("count", 1), c.number("start2", 0),
                                c.number("count2", 0));
     }},
    {"serve-words",
     [](const Call& c) {
       return ovk_serveReadRegisters(c.dst(), c.src(), c.ref(), 4, c.list("words", words), c.number("count", 1), 7,
                                     c.list("words2", words), c.number("count2", 1), c.success(), c.reason());
     }},
    {"serve-write",
     [](const Call& c) { return ovk_serveWriteRegisters(c.dst(), c.src(), c.ref(), c.success(), c.reason()); }},
    {"ask-info", [](const Call& c) { return ovk_ReadDeviceInfo(c.dst(), c.ref()); }},
    {"serve-info",
     [](const Call& c) {
       return ovk_serveReadDeviceInfo(c.dst(), c.src(), c.ref(), c.number("count", 1), c.list("blocks", blocks),
                                      c.number("count2", 1), c.list("blocks2", blocks), 256, c.success(), c.reason());
     }},
    {"ask-tags", [](const Call& c) { return ovk_ReadTags(c.dst(), c.ref(), {}); }},
    {"serve-tags",
     [](const Call& c) {
       return ovk_serveReadTag(c.dst(), c.src(), c.ref(), static_cast<unsigned>(c.number("count", 1)),
                               c.list("items", items), c.success(), c.reason());
     }},
    {"transfer",
     [](const Call& c) {
       return ovk_build_and_transfer_message(ovk_Service_TagReadServer, c.dst(), c.src(), c.ref(), false, false,
                                             nullptr, Json());
     }},
};

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
    const unsigned status = functions.at(call.function())(call);
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
