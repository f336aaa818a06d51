// One good message of each type, there and back: its whole text, what is traced of it, and the record it becomes. The
// documented examples.

#include <fstream>

#include "support/messages.h"

using namespace messages;

namespace {

using Counters = std::map<int, int>;

const uint16_t values[] = {1, 65535};
int tagBlock = 100;
int resBlock = 300;

unsigned serveTag() {
  TagItem_t item{"F", 9, 17, 2, {}, 100, -2}; // the item's own identifier and type are not sent
  item.data.i = 7;
  return ovk_serveReadTag(peer.c_str(), own.c_str(), "r", 1, &item, true, nullptr);
}

const char* const d = peer.c_str();
const char* const s = own.c_str();

unsigned askInfo() { return ovk_ReadDeviceInfo(d, "r"); }
unsigned serveInfo() { return ovk_serveReadDeviceInfo(d, s, "r", 1, &tagBlock, 1, &resBlock, 256, true, nullptr); }
unsigned askTags() { return ovk_ReadTags(d, "r", {{1, 17}, {-9, 65535}}); }
unsigned askWords() { return ovk_ReadRegisters(d, "r", 100, -1, -1, 6); }
unsigned serveWords() { return ovk_serveReadRegisters(d, s, "r", 100, values, 2, 7, nullptr, 0, true, nullptr); }
unsigned writeWords() { return ovk_WriteRegisters(d, "r", 1, 100, values, 2, 4096, values, 1); }
unsigned serveWrite() { return ovk_serveWriteRegisters(d, s, "r", true, nullptr); }

const char* const toPeer = R"("src":{"fid":"OWN"},"dst":{"fid":"PEER","at":"parent of PEER"},"data":)";
const char* const fromOwn = R"("src":{"fid":"OWN","at":"parent of OWN"},"dst":{"fid":"PEER"},"success":true,"data":)";
const char* const notifying =
    R"("sendNotification":1,"src":{"fid":"OWN"},"dst":{"fid":"PEER","at":"parent of PEER"},"data":)";
const char* const atOwn = R"("src":{"fid":"OWN","at":"OWN"},"dst":{"fid":"PEER"},"success":true,"data":)";

// By service. OWN and PEER stand for the two identifiers, in good_traces.txt too.
const struct {
  const char* what;
  unsigned (*send)();
  int counter; // of the sender, 0 for none
  int msgType;
  const char *middle, *data, *record;
} rows[] = {
    {"device information request", askInfo, 0, 204, toPeer, "[]", "request"},
    {"device information response", serveInfo, 0, 205, fromOwn,
     R"({"numTagRegBlocks":1,"TagRegBlocks":[100],"numResRegBlocks":1,"ResRegBlocks":[300],"ModbusBufferSize":256})",
     "1 1[100] 1[300] 256"},
    {"tag request", askTags, 0, 206, toPeer,
     R"({"num":2,"tags":[{"tag_type":1,"tag_num":17},{"tag_type":-9,"tag_num":65535}]})", "2 1/17 -9/65535"},
    {"tag response", serveTag, 0, 207, fromOwn,
     R"({"num":1,"tag_items":[{"fid":"PEER","tag":17,"idd":2,"data":"7","startReg":100,"regLen":-2}]})",
     "1 1 {PEER 0 17 2 '7' 100 -2}"},
    {"register read request", askWords, 0, 200, toPeer, R"([{"start":100,"num":-1},{"start":0,"num":0}])",
     "100:-1 0:0"},
    {"register read response", serveWords, 49, 201, atOwn,
     R"([{"start":100,"words":[1,65535]},{"start":7,"words":[]}])", "1 100:2[1 65535] 7:0[]"},
    {"register write request", writeWords, 69, 202, notifying,
     R"([{"start":100,"words":[1,65535]},{"start":4096,"words":[1]}])", "1 100:2[1 65535] 4096:1[1]"},
    {"register write response", serveWrite, 0, 203, fromOwn, "{}", "1 response"},
};

// The functions whose lines all messages have in common; they are compared for the first row only.
const std::string common = " ovk_build_common_message ovk_build_and_transfer_message processReceivedMessage getMsgType "
                           "getService allocateCallbackData getCallbackData getCommonMessageParameters ";

// The sections of good_traces.txt by their titles.
std::map<std::string, std::string> goodTraces() {
  std::ifstream in(OVK_GOOD_TRACES);
  std::map<std::string, std::string> sections;
  std::string title;
  for (std::string line; std::getline(in, line);) {
    const bool isTitle = line.rfind("== ", 0) == 0;
    if (isTitle) title = line.substr(3);
    sections[title] += isTitle ? "" : line + "\n";
  }
  return sections;
}

class Exchange : public Receiver {
protected:
  static std::string named(std::string text) {
    for (const auto& [fid, name] : {std::pair(own, "OWN"), std::pair(peer, "PEER")}) {
      while (text.find(fid) != std::string::npos) text.replace(text.find(fid), fid.size(), name);
    }
    return text;
  }
  // The lines traced since the last time.
  std::string trace(const std::string& message, int service) {
    const std::string lines = platform().lines(message, service == 0 ? "" : common);
    platform().trace.clear();
    return named(lines);
  }
};

TEST_F(Exchange, EveryType) {
  std::map<std::string, std::string> traces = goodTraces();
  for (int service = 0; service < 8; ++service) {
    const auto& row = rows[service];
    SCOPED_TRACE(row.what);
    startOver();
    EXPECT_EQ(row.send(), 0U);
    const fake::WrittenMessage message = onlyWritten();
    EXPECT_EQ(message.channel, service % 2 == 0 ? 0 : 3);
    EXPECT_EQ(named(message.text),
              joined(R"({"msg_type":)", row.msgType, R"(,"ver":"1.0","ref_id":"r",)", row.middle, row.data, "}"));
    EXPECT_EQ(platform().counters, row.counter == 0 ? Counters() : Counters({{row.counter, 1}}));
    EXPECT_EQ(trace(message.text, service), traces[row.what + std::string(" sent")]);
    platform().counters.clear();
    EXPECT_EQ(process(message.text), 0);
    EXPECT_EQ(platform().counters, (Counters{{okCounters[service ^ 1], 1}}));
    EXPECT_EQ(trace(message.text, service), traces[row.what + std::string(" received")]);
    ASSERT_EQ(records_.size(), 1U);
    EXPECT_EQ(named(records_[0]), row.record);
  }
}

// Where operator new fails on the way, the exception reaches the caller, nothing was written or counted, and the next try
// works.
TEST_F(Exchange, SendingWithoutMemory) {
  for (const auto& row : rows) {
    startOver();
    bool failed = true;
    int n = 0;
    for (; failed && n < 100; ++n) {
      fake::failNewAfter(n);
      failed = false;
      try {
        row.send();
      } catch (const std::bad_alloc&) {
        failed = true;
      }
      fake::failNewAfter(-1);
      EXPECT_EQ(platform().written.size(), failed ? 0U : 1U) << row.what << ", operator new " << n;
      EXPECT_EQ(platform().counters.empty(), failed || row.counter == 0) << row.what << ", operator new " << n;
    }
    EXPECT_FALSE(failed) << row.what;
    if (n == 1) GTEST_SKIP() << "operator new is not the tests' own, as under valgrind";
    EXPECT_EQ(row.send(), 0U);
  }
}

// The examples of the page on messages are received without complaint.
TEST_F(Exchange, DocumentedExamples) {
  std::ifstream page(OVK_MESSAGES_PAGE);
  std::vector<std::string> examples;
  bool inside = false;
  for (std::string line; std::getline(page, line);) {
    const bool isFence = line.rfind("```", 0) == 0;
    if (isFence) inside = line == "```json";
    if (isFence && inside) examples.emplace_back();
    if (!isFence && inside) examples.back() += line + "\n";
  }
  EXPECT_GE(examples.size(), 8U);
  for (const std::string& example : examples) EXPECT_EQ(process(example), 0) << example;
  EXPECT_EQ(platform().errors(), "");
  for (const int counter : okCounters) EXPECT_GE(platform().counters[counter], 1);
}

} // namespace
