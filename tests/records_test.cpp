// What received messages become: the records of all services, and their refusals.

#include "devinfo/devinfo_callback_data.h"
#include "message/parse.h"
#include "register/register_callback_data.h"
#include "register/register_payload.h"
#include "support/messages.h"

using namespace messages;

namespace {

class Records : public Receiver {};

std::string words(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += (i == 0 ? "" : ",") + std::to_string(i);
  return text;
}

const std::string failed = R"("success":false,"err_reason":"no")";

// Of read responses and write requests. A request refuses a negative start, a response takes it.
const struct {
  const char* what;
  std::string data, record, errors = "", inRequest = ""; // of a request where it differs
} blockRows[] = {
    {"two areas", R"([{"start":5,"words":[1,2]},{"start":6,"words":[]}])", "5:2[1 2] 6:0[]"},
    {"one area", R"([{"start":5,"words":[1,2,3]}])", "5:3[1 2 3] -1:-1[]"},
    {"no area", "[]", "-1:-1[] -1:-1[]"},
    {"no words", R"([{"start":5}])", "5:0[] -1:-1[]"},
    {"no start", R"([{"words":[1]},{"start":6,"words":[1]}])", "-1:-1[] -1:-1[]"},
    {"negative start", R"([{"start":-5,"words":[1]},{"start":6,"words":[2]}])", "-5:1[1] 6:1[2]", "", "-1:-1[] 6:1[2]"},
    {"start -1", R"([{"start":0,"words":[1]},{"start":-1,"words":[2]}])", "0:1[1] -1:1[2]", "", "0:1[1] -1:-1[]"},
    {"three areas", R"([{"start":1,"words":[]},{"start":2,"words":[]},{"start":3}])", "1:0[] 2:0[]",
     "Cannot handle more than 2 register areas\n"},
    {"words of other types", R"([{"start":1,"words":[1,"2",3]},{"start":2,"words":[1.5]}])", "1:1[1] 2:0[]",
     "'data[0].words[1]' is no integer: 2; the words end there\n"
     "'data[1].words[0]' is no integer: 1.5; the words end there\n"},
    {"low 16 bits", R"([{"start":1,"words":[65535,-1,65536,70000]}])", "1:4[65535 65535 0 4464] -1:-1[]"},
    {"1024 words", R"([{"start":1,"words":[)" + words(1024) + R"(]},{"start":2,"words":[7]}])",
     "1:1024[0 1 2 3 1023] 2:1[7]"},
    {"1025 words", R"([{"start":1,"words":[)" + words(1025) + R"(]},{"start":2,"words":[7]}])",
     "1:-1[0 1 2 3 1023] -1:-1[]", "requested more registers than allowed, maximum is 1024 registers per block \n"},
    {"an object", R"({"start":1,"words":[1]})", "-1:-1[] -1:-1[]"},
};

TEST_F(Records, Blocks) {
  for (const auto& row : blockRows) {
    SCOPED_TRACE(row.what);
    expectRecord(4, response(201, row.data), "1 " + row.record, row.errors);
    expectRecord(7, writeRequest(row.data, "0"), "0 " + (row.inRequest.empty() ? row.record : row.inRequest),
                 row.errors);
  }
}

const std::string two = R"([{"start":5,"num":-1},{"start":6,"num":7}])";
const std::string block = R"([{"start":1,"words":[2]}])";

std::string lacks(const char* token) { return joined("token '", token, "' not found in message\n"); }

std::string tags(const char* num, const char* elements) {
  return request(206, joined(R"({"num":)", num, R"(,"tags":[)", elements, "]}"));
}

std::string items(const char* num, const std::string& elements) {
  return response(207, joined(R"({"num":)", num, R"(,"tag_items":[)", elements, "]}"));
}

const std::string item = R"({"fid":"F","tag":17,"idd":2,"data":"-5","startReg":-1,"regLen":2})";
const std::string absurd = " taken as missing, possible are 0 to 16384\n";
const std::string info = R"({"numTagRegBlocks":2,"TagRegBlocks":[100,70000],"numResRegBlocks":1,"ResRegBlocks":[-1],)"
                         R"("ModbusBufferSize":256})";
const std::string unparsed = "failed to parse data.";
const std::string noNotification = "Cannot read mandatory sendNotification parameter from message\n";
const std::string unread = "getReadResponseDevInfoContent() failed for message MSG\n";

std::string counts(const char* tagCount, const char* resCount) {
  const std::string all = "[1,2,3,4,5,6,7,8,9,10,11,12]";
  return response(205, joined(R"({"numTagRegBlocks":)", tagCount, R"(,"TagRegBlocks":)", all, R"(,"numResRegBlocks":)",
                              resCount, R"(,"ResRegBlocks":)", all, R"(,"ModbusBufferSize":-7})"));
}

const struct {
  const char* what;
  int service;
  std::string text, record, errors = "";
} messageRows[] = {
    {"failed read", 4, response(201, "{}", failed), "0no -1:-1[] -1:-1[]"},
    {"failed write", 6, response(203, "{}", failed), "0no response"},
    {"any notification", 7, writeRequest(block, "-7"), "-7 1:1[2] -1:-1[]"},
    {"no notification", 7, replaced(writeRequest(block), "sendNot", "Not"), "", noNotification},
    {"notification a text", 7, writeRequest(block, "\"1\""), "", noNotification},
    {"two areas asked for", 5, request(200, two), "5:-1 6:7"},
    {"area 2 left empty", 5, request(200, R"([{"start":5,"num":1},{"start":0,"num":0}])"), "5:1 0:0"},
    {"one area asked for", 5, request(200, R"([{"start":5,"num":1}])"), "5:1 -1:0",
     lacks("data[1].start") + lacks("data[1].num")},
    {"start 1 missing", 5, request(200, replaced(two, "start", "s")), "", lacks("data[0].start")},
    {"count 1 a text", 5, request(200, replaced(two, "-1", "\"1\"")), "", lacks("data[0].num")},
    {"no data", 5, replaced(request(200, two), "data", "atad"), "",
     lacks("data[0].start") + lacks("data[0].num") + lacks("data[1].start") + lacks("data[1].num")},
    {"selectors", 3, tags("2", R"({"tag_type":1,"tag_num":70000},{"tag_num":5,"tag_type":2})"), "2 1/4464 2/5"},
    {"a selector without type", 3, tags("3", R"({"tag_type":1,"tag_num":1},{"tag_num":5},{"tag_type":1})"),
     "3 1/1 0/5 0/0"},
    {"fewer selectors announced", 3, tags("0", R"({"tag_type":1})"), "0"},
    {"as many as possible", 3, tags("16384", ""), "16384 0/0 0/0 0/0"},
    {"one more", 3, tags("16385", ""), "", "impossible 'data.num' 16385" + absurd},
    {"fewer than none", 3, tags("-1", ""), "", "impossible 'data.num' -1" + absurd},
    {"selectors not announced", 3, request(206, R"({"tags":[]})"), "", lacks("num")},
    {"item", 2, items("1", item), "1 1 {F 0 17 2 '-5' -1 2}"},
    {"failure", 2, response(207, R"({"num":0,"tag_items":[]})", failed), "0no 0"},
    {"low bits", 2, items("1", replaced(replaced(item, "17", "70000"), "\"idd\":2", "\"idd\":511")),
     "1 1 {F 0 4464 255 'empty' -1 2}"},
    {"long fid", 2, items("1", replaced(item, "\"F\"", "\"1234567890123456789012345\"")),
     "1 1 {123456789012345678901234 0 17 2 '-5' -1 2}", "fid 1234567890123456789012345 cut to 24 characters\n"},
    {"three announced", 2, items("3", item + R"(,{"tag":5,"tag_type":6,"idd":1},)" + item),
     "1 3 {F 0 17 2 '-5' -1 2} { 6 5 1 '0' 0 0} { 0 0 0 '0.000000' 0 0}",
     "JSON_HOST: parse \"data.tag_items[1].fid\" failed at \"MSG\"\n"
     "JSON_HOST: parse \"data.tag_items[1].data\" failed at \"MSG\"\n"},
    {"items not announced", 2, response(207, R"({"tag_items":[]})"), "1 0", lacks("num")},
    {"negative", 2, items("-5", item), "1 0", "impossible 'data.num' -5" + absurd},
    {"absurd", 2, items("2000000000", item), "1 0", "impossible 'data.num' 2000000000" + absurd},
    {"information", 0, response(205, info), "1 2[100 4464] 1[65535] 256"},
    {"fewer blocks", 0, response(205, replaced(info, ",70000", "")), "1 2[100] 1[65535] 256"},
    {"more blocks", 0, response(205, replaced(info, "Blocks\":2", "Blocks\":1")), "1 1[100] 1[65535] 256"},
    {"all blocks", 0, counts("10", "4"), "1 10[1 2 3 4 5 6 7 8 9 10] 4[1 2 3 4] -7"},
    {"no blocks", 0, counts("0", "0"), "1 0[] 0[] -7"},
    {"too many blocks", 0, counts("11", "5"), "1 -1[1 2 3 4 5 6 7 8 9 10] -1[1 2 3 4] -7",
     "numTagRegBlocks of 11 is not usable, possible are 0 to 10\n"
     "numResRegBlocks of 5 is not usable, possible are 0 to 4\n"},
    {"negative counts", 0, counts("-5", "-1"), "1 -1[] -1[] -7",
     "numTagRegBlocks of -5 is not usable, possible are 0 to 10\n"
     "numResRegBlocks of -1 is not usable, possible are 0 to 4\n"},
    {"no tag count", 0, response(205, replaced(info, "numTag", "Tag")), "", unparsed + "numTagRegBlocks\n" + unread},
    {"no reserved count", 0, response(205, replaced(info, "numRes", "Res")), "",
     unparsed + "numResRegBlocks\n" + unread},
    {"no buffer size", 0, response(205, replaced(info, "Modbus", "Bus")), "", unparsed + "ModbusBufferSize\n" + unread},
    {"failed information", 0, response(205, "{}", failed), "",
     unparsed + "numTagRegBlocks\n" + unparsed + "numResRegBlocks\n" + unparsed + "ModbusBufferSize\n" + unread},
};

TEST_F(Records, Messages) {
  for (const auto& row : messageRows) {
    SCOPED_TRACE(row.what);
    expectRecord(row.service, row.text, row.record, row.errors);
  }
}

// The code of the last value missing stands in the trace alone.
TEST_F(Records, CodesOfMissingValues) {
  const std::pair<std::string, int> codes[] = {
      {info, 0}, {replaced(info, "numT", "T"), -1}, {replaced(info, "numR", "R"), -2}, {"{}", -3}};
  for (const auto& [data, code] : codes) {
    process(response(205, data));
    EXPECT_TRUE(traced(6, "getReadResponseDevInfoContent returned " + std::to_string(code))) << data;
  }
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

const std::string written = good(6);
const std::string refused = response(203, "{}", failed);
const std::string longRef(41, 'r');
const std::string unusable = "getCommonMessageParameters() failed for message MSG\n";
const std::string noSuccess = lacks("success") + unusable;
const std::string missing = "JSON_HOST: parse \"";
const std::string at = "\" failed at \"MSG\"\n";
const std::string empty = "FusionIdentifier string  is 0 characters long\n";

std::string ids(const std::string& dst, const std::string& src, const std::string& ref) {
  return "Invalid destination (" + dst + "), source (" + src + ") or reference identifier (" + ref + ")\n" + unusable;
}

// A response or a request with one thing changed.
const struct {
  const char* what;
  int service;
  std::string text;
  const char* record; // empty: refused, which counts on number 0
  std::string errors = "";
} headerRows[] = {
    {"success", 6, written, "1 response"},
    {"success with a reason", 6, replaced(written, "true", R"(true,"err_reason":"x")"), "1 response"},
    {"failure", 6, refused, "0no response"},
    {"a quote in the reason", 6, replaced(refused, "\"no\"", R"("said \"no\"")"), R"(0said \"no\" response)"},
    {"failure without reason", 6, replaced(refused, "err_reason", "reason"), "",
     missing + "err_reason" + at + unusable},
    {"failure without ref_id", 6, replaced(refused, "ref_id", "ref"), "0no response", missing + "ref_id" + at},
    {"no ref_id", 6, replaced(written, "ref_id", "ref"), "", missing + "ref_id" + at + unusable},
    {"request without ref_id", 5, replaced(good(5), "ref_id", "ref"), "", missing + "ref_id" + at + unusable},
    {"no success", 6, replaced(written, "success", "succeeded"), "", noSuccess},
    {"success a number", 6, replaced(written, "true", "1"), "", noSuccess},
    {"no source", 6, replaced(written, "src", "source"), "", missing + "src.fid" + at + empty + ids(own, "", "r-17")},
    {"no destination", 6, replaced(written, "dst", "dest"), "",
     missing + "dst.fid" + at + empty + ids("", peer, "r-17")},
    {"25 characters", 5, replaced(good(5), own, own + "x"), "",
     "FusionIdentifier string " + own + "x is 25 characters long\n" + ids(own + "x", peer, "r-17")},
    {"41 characters", 5, replaced(good(5), "r-17", longRef), "",
     "ReferenceIdentifier string is too long, max. length is 40 characters\n" + ids(own, peer, longRef)},
};

// Reasons are cut to 80 bytes, between characters.
const std::string x77(77, 'x');
const struct {
  const char* what;
  std::string kept, rest = "";
} reasonRows[] = {
    {"80 bytes, the last the start of a character", x77 + "xx\xC3"},
    {"81 bytes", x77 + "xxx", "x"},
    {"a backslash before its partner", x77 + "xx", "\\nxxx"},
    {"an escaped backslash", x77 + "x\\\\", "xxx"},
    {"two bytes", x77 + "xx", "\xC0\x80xxx"},
    {"three bytes", x77 + "x", "\xE0\xA4\x85xxx"},
    {"four bytes", x77, "\xF0\x9F\x98\x80xxx"},
    {"three bytes that fit", x77 + "\xE2\x82\xAC", "xxx"},
    {"a backslash before two bytes", x77 + "x", "\\\xC3\xA4xxx"},
};

TEST_F(Records, LongReasons) {
  for (const auto& row : reasonRows) {
    SCOPED_TRACE(row.what);
    const std::string all = row.kept + row.rest;
    const std::string cut = joined("err_reason of ", all.size(), " bytes cut to ", row.kept.size(), ": ", all);
    expectRecord(6, replaced(refused, "\"no\"", '"' + all + '"'), "0" + row.kept + " response",
                 row.rest.empty() ? "" : cut + "\n");
  }
}

TEST_F(Records, Headers) {
  for (const auto& row : headerRows) {
    SCOPED_TRACE(row.what);
    expectRecord(row.service, row.text, row.record, row.errors, 0);
  }
}

// Extractors that read the header again: what is found is not validated, what is not found stays or is cleared.
TEST_F(Records, HeadersReadAgain) {
  ovk::CommonMembers m;
  m.success = 9;
  const std::string text = replaced(replaced(request(202, "[]"), own, std::string(30, 'x')), "src", "s");
  EXPECT_EQ(getRequestMessageParameters(text.c_str(), 0, &m.msgType, m.dstFid, m.srcFid, m.refId), 0);
  EXPECT_EQ(joined(m.msgType, m.dstFid, m.srcFid, m.refId), "202" + std::string(24, 'x') + "r-17");
  EXPECT_EQ(getRequestMessageParameters("{}", 0, &m.msgType, m.dstFid, m.srcFid, m.refId), -1);
  EXPECT_EQ(getMsgType("{}", 0, &m.msgType), -1);
  EXPECT_EQ(getCommonMessageParameters("{}", 0, &m.msgType, m.dstFid, m.srcFid, m.refId, true, &m.success, m.errReason),
            -1);
  EXPECT_TRUE(m.msgType == 202 && m.success == 9);
  ovk_DescriptorReadReqCallbackData_t ask{};
  ovk_RegisterWriteReqCallbackData_t write{};
  ask.srcFid[0] = write.srcFid[0] = 'x';
  EXPECT_EQ(getDescriptorReadReqCallbackData("{}", 0, &ask), -1);
  EXPECT_TRUE(traced(2, "getRequestMessageParameters() failed for message {}"));
  EXPECT_EQ(getRegisterWriteReqCallbackData("{}", 0, &write), -1);
  EXPECT_TRUE(*ask.srcFid == '\0' && *write.srcFid == '\0');
}

} // namespace
