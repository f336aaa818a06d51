// Requests and answers: one good message of each type, there and back, the same without memory; those that are sent in one
// of their variants, and those that are refused. The documented examples.

#include "message/envelope.h"
#include "register/register_payload.h"
#include "support/messages.h"

using namespace messages;

namespace {

const uint16_t words[] = {1, 65535, 0};
int blocks[] = {100, 2, 3, 4, 5, 6, 7, 8, 9, 10};
int blocks2[] = {300, 301, 302, 303};
TagItem_t items[] = {{"F", 9, 17, 0, {0.5F}, -2147483647, 2147483647}, {}}; // identifier and type are not sent

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
    return ovk_serveReadRegisters(dst, src, ref, start, values, count, 7, values2, c.number("count2", 1), success,
                                  reason);
  if (c.function() == "serve-write") return ovk_serveWriteRegisters(dst, src, ref, success, reason);
  if (c.function() == "ask-info") return ovk_ReadDeviceInfo(dst, ref);
  if (c.function() == "serve-info")
    return ovk_serveReadDeviceInfo(dst, src, ref, count, c.list("blocks", blocks), c.number("count2", 1),
                                   c.list("blocks2", blocks2), 256, success, reason);
  if (c.function() == "ask-tags") {
    std::vector<DevTagDevInfoTag> tags = {{1, 17}, {-9, 65535}};
    tags.resize(static_cast<std::size_t>(count));
    return ovk_ReadTags(dst, ref, tags);
  }
  if (c.function() == "serve-tags")
    return ovk_serveReadTag(dst, src, ref, static_cast<unsigned>(count), c.list("items", items), success, reason);
  EXPECT_EQ(c.function(), "transfer");
  return ovk_build_and_transfer_message(ovk_Service_TagReadServer, dst, src, ref, false, false, nullptr, Json());
}

// The functions whose lines all messages have in common; they are compared for the first service only.
const std::string common = " ovk_build_common_message ovk_build_and_transfer_message processReceivedMessage getMsgType "
                           "getService allocateCallbackData getCallbackData getCommonMessageParameters ";

std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

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
    return all + std::to_string(status) + counted() + "\n";
  }

  // The lines traced since the last time.
  std::string trace(const std::string& message, int service) {
    const std::string lines = platform().lines(message, service == 0 ? "" : common);
    platform().trace.clear();
    return lines;
  }
};

// exchanged.txt has a call for each service, its message, its record and what is counted; and what is traced.
TEST_F(Sending, EveryTypeIsExchanged) {
  std::map<std::string, std::string> expected = sections(OVK_TEST_DATA "/exchanged.txt");
  for (int service = 0; service < 8; ++service) {
    const std::string name = joined("service ", service);
    const std::string call = firstLine(expected[name]);
    startOver();
    EXPECT_EQ(statusOf(Call(call)), 0U);
    const auto [channel, message] = onlyWritten();
    EXPECT_EQ(channel, service % 2 == 0 ? 0 : 3);
    std::string all = call + "\n" + message + counted() + "\n";
    EXPECT_EQ(trace(message, service), expected[name + " sent"]);
    platform().counters.clear();
    EXPECT_EQ(process(message), 0);
    EXPECT_EQ(trace(message, service), expected[name + " received"]);
    for (const std::string& record : records_) all += record + counted() + "\n";
    EXPECT_EQ(all, expected[name]);
  }
}

// Where operator new fails on the way of a message, the exception reaches the caller, nothing is written or delivered or
// counted as a success, and the next try works.
TEST_F(Sending, WithoutMemory) {
  std::map<std::string, std::string> calls = sections(OVK_TEST_DATA "/exchanged.txt");
  for (int service = 0; service < 8; ++service) {
    SCOPED_TRACE(service);
    const Call call(firstLine(calls[joined("service ", service)]));
    const auto send = [&] { statusOf(call); };
    startOver();
    send();
    const std::string message = onlyWritten().text;
    const auto receive = [&] {
      platform().inbound[1] = {message};
      ovk_DoWork(nullptr, nullptr, nullptr);
    };
    for (const std::function<void()>& step : std::initializer_list<std::function<void()>>{send, receive}) {
      const auto check = [&](fake::Ending ending) {
        if (ending == fake::Ending::complete) return;
        EXPECT_EQ(ending, fake::Ending::failed);
        EXPECT_EQ(platform().written.size() + records_.size(), 0U);
        EXPECT_EQ(platform().counters[49] + platform().counters[69] + platform().counters[okCounters[service ^ 1]], 0);
        step();
        EXPECT_EQ(platform().written.size() + records_.size(), 1U);
      };
      if (fake::failEachNew([this] { startOver(); }, step, check) == 0)
        GTEST_SKIP() << "operator new is not the tests' own, as under valgrind";
    }
  }
}

TEST_F(Sending, SentOrRefused) {
  testing::internal::CaptureStdout();
  expectOutcomes(OVK_TEST_DATA "/sent.txt",
                 [this](const std::string& /*title*/, const std::string& call) { return outcome(Call(call)); });
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

// The examples of the page on messages are received without complaint.
TEST_F(Sending, DocumentedExamples) {
  std::ifstream file(OVK_MESSAGES_PAGE);
  const std::string page(std::istreambuf_iterator<char>(file), {});
  const std::string start = "```json\n";
  std::size_t end = 0;
  for (std::size_t at = 0; (at = page.find(start, end)) != std::string::npos;) {
    end = page.find("```\n", at + start.size());
    const std::string example = page.substr(at + start.size(), end - at - start.size());
    EXPECT_EQ(process(example), 0) << example;
  }
  EXPECT_EQ(platform().errors(), "");
  for (const int counter : okCounters) EXPECT_GE(platform().counters[counter], 1);
}

} // namespace
