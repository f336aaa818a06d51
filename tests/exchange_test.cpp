// One good message of each type, there and back: its whole text, what is traced of it, and the record it becomes; the same
// without memory. The documented examples.

#include "support/messages.h"

using namespace messages;

namespace {

constexpr const char* d = peer;
constexpr const char* s = own;
const uint16_t words[] = {1, 65535};
int tagBlock = 100;
int resBlock = 300;

unsigned askTags() { return ovk_ReadTags(d, "r", {{1, 17}, {-9, 65535}}); }

unsigned serveTag() {
  TagItem_t item{"F", 9, 17, 2, {}, -2147483647, 2147483647}; // the item's own identifier and type are not sent
  item.data.i = 7;
  return ovk_serveReadTag(d, s, "r", 1, &item, true, nullptr);
}

// By service. exchanged.txt has the message and the record of each, and what is traced while it is sent and received.
const struct {
  const char* what;
  unsigned (*send)();
  int counter = 0; // of the sender; 0 for none
} rows[] = {
    {"device information request", [] { return ovk_ReadDeviceInfo(d, "r"); }},
    {"device information response",
     [] { return ovk_serveReadDeviceInfo(d, s, "r", 1, &tagBlock, 1, &resBlock, 256, true, nullptr); }},
    {"tag request", askTags},
    {"tag response", serveTag},
    {"register read request", [] { return ovk_ReadRegisters(d, "r", 100, -1, -1, 6); }},
    {"register read response",
     [] { return ovk_serveReadRegisters(d, s, "r", 100, words, 2, 7, nullptr, 0, true, nullptr); }, 49},
    {"register write request", [] { return ovk_WriteRegisters(d, "r", 1, 100, words, 2, 4096, words, 1); }, 69},
    {"register write response", [] { return ovk_serveWriteRegisters(d, s, "r", true, nullptr); }},
};

// The functions whose lines all messages have in common; they are compared for the first row only.
const std::string common = " ovk_build_common_message ovk_build_and_transfer_message processReceivedMessage getMsgType "
                           "getService allocateCallbackData getCallbackData getCommonMessageParameters ";

using Call = std::function<void()>;

class Exchange : public Receiver {
protected:
  // The lines traced since the last time.
  std::string trace(const std::string& message, int service) {
    const std::string lines = platform().lines(message, service == 0 ? "" : common);
    platform().trace.clear();
    return lines;
  }
};

TEST_F(Exchange, EveryType) {
  std::map<std::string, std::string> expected = sections(OVK_TEST_DATA "/exchanged.txt");
  for (int service = 0; service < 8; ++service) {
    const auto& row = rows[service];
    SCOPED_TRACE(row.what);
    startOver();
    EXPECT_EQ(row.send(), 0U);
    const fake::WrittenMessage message = onlyWritten();
    EXPECT_EQ(message.channel, service % 2 == 0 ? 0 : 3);
    EXPECT_EQ(platform().counters, row.counter == 0 ? Counters() : Counters({{row.counter, 1}}));
    EXPECT_EQ(trace(message.text, service), expected[row.what + std::string(" sent")]);
    platform().counters.clear();
    EXPECT_EQ(process(message.text), 0);
    EXPECT_EQ(platform().counters, (Counters{{okCounters[service ^ 1], 1}}));
    EXPECT_EQ(trace(message.text, service), expected[row.what + std::string(" received")]);
    ASSERT_EQ(records_.size(), 1U);
    EXPECT_EQ(message.text + "\n" + records_[0] + "\n", expected[row.what]);
  }
}

// Where operator new fails on the way of a message, the exception reaches the caller, nothing is written or delivered or
// counted as a success, and the next try works.
TEST_F(Exchange, WithoutMemory) {
  for (int service = 0; service < 8; ++service) {
    const auto& row = rows[service];
    startOver();
    row.send();
    const std::string message = onlyWritten().text;
    const Call receive = [&] {
      platform().inbound[1] = {message};
      ovk_DoWork(nullptr, nullptr, nullptr);
    };
    for (const Call& step : {Call(row.send), receive}) {
      SCOPED_TRACE(row.what);
      const int failures =
          fake::failEachNew([this] { startOver(); }, step,
                            [&](fake::Ending ending) {
                              if (ending == fake::Ending::complete) return;
                              EXPECT_EQ(ending, fake::Ending::failed);
                              EXPECT_EQ(platform().written.size() + records_.size(), 0U);
                              EXPECT_EQ(platform().counters[row.counter] + platform().counters[okCounters[service ^ 1]],
                                        row.counter == 0 ? platform().counters[0] : 0);
                              step();
                              EXPECT_EQ(platform().written.size() + records_.size(), 1U);
                            });
      if (failures == 0) GTEST_SKIP() << "operator new is not the tests' own, as under valgrind";
    }
  }
}

// The examples of the page on messages are received without complaint.
TEST_F(Exchange, DocumentedExamples) {
  std::ifstream page(OVK_MESSAGES_PAGE);
  std::vector<std::string> examples;
  bool inside = false;
  for (std::string line; std::getline(page, line);) {
    if (line.rfind("```", 0) == 0) {
      inside = line == "```json";
      if (inside) examples.emplace_back();
    } else if (inside) {
      examples.back() += line + "\n";
    }
  }
  EXPECT_GE(examples.size(), 8U);
  for (const std::string& example : examples) EXPECT_EQ(process(example), 0) << example;
  EXPECT_EQ(platform().errors(), "");
  for (const int counter : okCounters) EXPECT_GE(platform().counters[counter], 1);
}

} // namespace
