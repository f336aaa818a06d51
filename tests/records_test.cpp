// What received messages become: the records of all services, and their refusals.

#include "devinfo/devinfo_callback_data.h"
#include "message/parse.h"
#include "register/register_callback_data.h"
#include "register/register_payload.h"
#include "support/messages.h"

using namespace messages;

namespace {

// The two lines with which each refusal ends, in short.
std::string shortened(std::string lines) {
  for (int service = 0; service < 8; ++service) {
    const std::string ending = joined("could not get callback data for service ", service,
                                      ", message MSG\nprocessReceivedMessage() returns -4\n");
    const std::size_t at = lines.find(ending);
    if (at != std::string::npos) lines.replace(at, ending.size(), joined("refused by service ", service, ": "));
  }
  return lines;
}

class Records : public Receiver {
protected:
  // What becomes of a message: the lines of level 2, in which MSG stands for it, the result, what is counted, the record.
  std::string outcome(const std::string& text, int blocks = -1) {
    startOver();
    fake::failMallocAfter(blocks);
    const int result = process(text);
    std::string all = shortened(platform().errors(text)) + std::to_string(result) + counted();
    for (const std::string& record : records_) all += ": " + record;
    return all + "\n";
  }
};

// A message stands there whole, or as its type and its data. Where the title says that memory ends after some blocks,
// nothing half filled is delivered, and the same works the next time; the address sanitizer shows that nothing leaks.
TEST_F(Records, Received) {
  expectOutcomes(OVK_TEST_DATA "/received.txt", [this](const std::string& title, const std::string& in) {
    const bool isWhole = in.find_first_of("0123456789") != 0;
    const std::string text = isWhole ? in : message(std::stoi(in), in.substr(4));
    const std::string ending = "memory ends after ";
    const std::size_t at = title.find(ending);
    if (at == std::string::npos) return outcome(text);
    const std::string failed = outcome(text, std::stoi(title.substr(at + ending.size())));
    fake::failMallocAfter(-1);
    EXPECT_EQ(process(text), 0) << title;
    return failed;
  });
}

TEST_F(Records, AtMost1024Words) {
  std::string words = "0";
  for (int i = 1; i < 1024; ++i) words += "," + std::to_string(i);
  const auto twoAreas = [](const std::string& all) {
    return message(201, R"([{"start":1,"words":[)" + all + R"(]},{"start":2,"words":[7]}])");
  };
  std::string shown = "[" + words + "]";
  std::replace(shown.begin(), shown.end(), ',', ' ');
  EXPECT_EQ(outcome(twoAreas(words)), "0, counter 51 +1: 1 1:1024" + shown + " 2:1[7]\n");
  EXPECT_EQ(outcome(twoAreas(words + ",1024")),
            "requested more registers than allowed, maximum is 1024 registers per block \n"
            "0, counter 51 +1: 1 1:-1" +
                shown + " -1:-1[]\n");
}

// Reasons are cut to 80 bytes, between characters.
TEST_F(Records, LongReasons) {
  const std::string x77(77, 'x');
  const std::string x74(74, 'x');
  const std::pair<std::string, std::string> rows[] = {{x77 + "xx\xC3", ""},
                                                      {x77 + "xxx", "x"},
                                                      {x77 + "xx", "\\nxxx"},
                                                      {x77 + "x\\\\", "xxx"},
                                                      {x77 + "xx", "\xC0\x80xxx"},
                                                      {x77 + "x", "\xE0\xA4\x85xxx"},
                                                      {x77, "\xF0\x9F\x98\x80xxx"},
                                                      {x77 + "\xE2\x82\xAC", "xxx"},
                                                      {x77 + "x", "\\\xC3\xA4xxx"},
                                                      {x77 + "x\xC3\xA4", "x"},
                                                      {std::string(80, '\\'), "\\\\"},
                                                      {x77, "\\u00e4x"},
                                                      {x74 + "\\u00E4", "x"},
                                                      {x77 + "x\\u", "00exxx"},
                                                      {x74, "\\ud83d\\uDE00x"},
                                                      {x74 + "\\uDE00", "\\uDE00x"}};
  for (const auto& [kept, rest] : rows) EXPECT_EQ(ovk::fittingLength(kept + rest, 80), kept.size()) << kept << rest;
}

TEST_F(Records, OutputsThatAreNull) {
  int number = 0;
  uint16_t word = 0;
  EXPECT_EQ(getMsgRegisterContent("{}", 0, &number, &word, &number, &number, nullptr, &number), -1);
  EXPECT_EQ(getMsgRegisterContent("{}", 0, nullptr, &word, &number, &number, &word, &number), -1);
  const char* negative = R"({"sendNotification":0,"data":[{"start":-7,"words":[1]}]})";
  EXPECT_EQ(getWriteRequestMessageParameters(negative, 0, &number, &number, &word, &number, &number, &word, &number),
            0);
  EXPECT_EQ(number, -1); // whatever stood there before
  EXPECT_EQ(platform().errors(), "Null Pointer passed!\nNull Pointer passed!\n");
}

// Extractors that read the header again: what is found is not validated, what is not found stays or is cleared.
TEST_F(Records, HeadersReadAgain) {
  ovk::CommonMembers m;
  m.success = 9;
  const std::string text = replaced(replaced(message(202, "[]"), own, std::string(30, 'x')), "src", "s");
  EXPECT_EQ(getRequestMessageParameters(text.c_str(), 0, &m.msgType, m.dstFid, m.srcFid, m.refId), 0);
  EXPECT_EQ(joined(m.msgType, m.dstFid, m.srcFid, m.refId), "202" + std::string(24, 'x') + "r-17");
  EXPECT_EQ(getRequestMessageParameters("{}", 0, &m.msgType, m.dstFid, m.srcFid, m.refId), -1);
  EXPECT_EQ(getMsgType("{}", 0, &m.msgType), -1);
  EXPECT_EQ(getCommonMessageParameters("{}", 0, &m.msgType, m.dstFid, m.srcFid, m.refId, true, &m.success, m.errReason),
            -1);
  EXPECT_TRUE(m.msgType == 202 && m.success == 9);
  InfoReq ask{};
  WriteReq write{};
  ask.srcFid[0] = write.srcFid[0] = 'x';
  EXPECT_EQ(getDescriptorReadReqCallbackData("{}", 0, &ask), -1);
  EXPECT_TRUE(traced(2, "getRequestMessageParameters() failed for message {}"));
  EXPECT_EQ(getRegisterWriteReqCallbackData("{}", 0, &write), -1);
  EXPECT_TRUE(*ask.srcFid == '\0' && *write.srcFid == '\0');
}

} // namespace
