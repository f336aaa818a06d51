// Tag selectors, tag requests and responses, and tag values as texts.

#include <gmock/gmock.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <random>

#include "core/receive_loop.h"
#include "core/text.h"
#include "ovk/ovk.h"
#include "support/messages.h"
#include "tag/tag_callback_data.h"
#include "tag/value_conversion.h"

using messages::own;
using messages::peer;
using messages::replaced;
using testing::HasSubstr;

namespace {

class Tags : public messages::Test {};

TagItem_t item(int idd) {
  TagItem_t result{};
  result.idd = static_cast<uint8_t>(idd);
  return result;
}

TEST_F(Tags, SelectorsFromConfiguration) {
  const std::string fid24(24, 'f');
  const std::string good = R"({"telegram":[{"fid":"F","portlist":[{"tag":17}]}]})";
  const struct {
    const char* what;
    std::string config;
    unsigned status;
    int type, number;
    std::string fid; // "-": untouched
    std::string refusal;
  } rows[] = {
      {"tag", good, 0, 1, 17, "F", ""},
      {"device information", replaced(good, "\"tag\"", "\"deviceinfo\""), 0, 2, 17, "F", ""},
      {"both", replaced(good, "17", R"(17,"deviceinfo":3)"), 0, 1, 17, "F", ""},
      {"fid of 24", replaced(good, "F", fid24), 0, 1, 17, fid24, ""},
      {"second ones ignored", replaced(good, "}]}]", R"(},{"tag":1}]},{"fid":"G"}])"), 0, 1, 17, "F", ""},
      {"70000", replaced(good, "17", "70000"), 0, 1, 4464, "F", ""},
      {"-1", replaced(good, "17", "-1"), 0, 1, 65535, "F", ""},
      {"text", replaced(good, "17", "\" +12abc\""), 0, 1, 12, "F", ""},
      {"no hexadecimal", replaced(good, "17", "\"0x1A\""), 0, 1, 0, "F", ""},
      {"fraction", replaced(good, "17", "12.7"), 0, 1, 12, "F", ""},
      {"letters", replaced(good, "17", "\"abc\""), 2, 9, 9, "F", "Parsing error! ("},
      {"two signs", replaced(good, "17", "\"+-1\""), 2, 9, 9, "F", "Parsing error! ("},
      {"out of range", replaced(good, "17", "3000000000"), 2, 9, 9, "F", "Parsing error! ("},
      {"empty", "", 2, 9, 9, "-", "Invalid tag request: tagConfig.size()=0"},
      {"no telegram", "{}", 2, 9, 9, "-", "No telegram found in config_item {}"},
      {"no JSON", good + "x", 2, 9, 9, "-", "No telegram found in config_item "},
      {"empty telegram", R"({"telegram":[]})", 7, 9, 9, "-", ""},
      {"empty telegram object", R"({"telegram":{}})", 7, 9, 9, "-", ""},
      {"no fid", replaced(good, "fid", "f"), 2, 9, 9, "-", "No fid found in configuration_item "},
      {"fid of 25", replaced(good, "F", fid24 + "f"), 2, 9, 9, "-", "fid " + fid24 + "f > 24!"},
      {"no tag", replaced(good, "\"tag\"", "\"gat\""), 2, 9, 9, "F", "No tag found in configuration_item "},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    fake::reset();
    DevTagDevInfoTag tag{9, 9};
    std::string fid = "-";
    EXPECT_EQ(getTagFromConfig(row.config, tag, fid), row.status);
    EXPECT_EQ(tag.tag_type, row.type);
    EXPECT_EQ(tag.tag_num, row.number);
    EXPECT_EQ(fid, row.fid);
    EXPECT_THAT(platform().errors(), HasSubstr(row.refusal));
    EXPECT_EQ(platform().errors().empty(), row.refusal.empty());
  }
  EXPECT_EQ(
      getTagFromConfig(R"({"telegram":[]})", *std::make_unique<DevTagDevInfoTag>(), *std::make_unique<std::string>()),
      7U);
  EXPECT_TRUE(traced(6, R"(Empty configuration {"telegram":[]})"));
}

TEST_F(Tags, Requests) {
  EXPECT_EQ(ovk_ReadTags("d", "r", {}), 6U);
  OrvaneServices[2].p_ServiceCallback = this;
  EXPECT_EQ(ovk_ReadTags("d", "r", {}), 2U);
  EXPECT_TRUE(traced(2, "Invalid tag request: tag_vector.size=0"));
  EXPECT_EQ(ovk_ReadTags("", "r", {{1, 17}}), 2U);
  EXPECT_TRUE(platform().written.empty());
  EXPECT_EQ(ovk_ReadTags("d", "r", {{1, 17}, {-9, 65535}}), 0U);
  EXPECT_THAT(onlyWritten().text,
              HasSubstr(R"("data":{"num":2,"tags":[{"tag_type":1,"tag_num":17},{"tag_type":-9,"tag_num":65535}]}})"));
  EXPECT_TRUE(traced(6, "tag_vector.at(1)=-9"));
  EXPECT_TRUE(traced(6, "tag_type=-9, tag_num=65535 "));
  platform().writeResult = 1;
  EXPECT_EQ(ovk_ReadTags("d", "r", {{1, 17}}), 7U);
}

TEST_F(Tags, Responses) {
  TagItem_t items[2] = {item(0), item(4)};
  items[0].tag = 17;
  items[0].data.f = 21.5F;
  items[0].startReg = 100;
  items[0].regLen = -2;
  std::snprintf(items[1].data.str, sizeof items[1].data.str, "V1.2");
  EXPECT_EQ(ovk_serveReadTag(peer.c_str(), own.c_str(), "r", 2, items, true, nullptr), 0U);
  EXPECT_THAT(onlyWritten().text,
              HasSubstr(R"("success":true,"data":{"num":2,"tag_items":[{"fid":")" + peer +
                        R"(","tag":17,"idd":0,"data":"21.500000","startReg":100,"regLen":-2},{"fid":")" + peer +
                        R"(","tag":0,"idd":4,"data":"V1.2","startReg":0,"regLen":0}]}})"));
  const struct {
    const char* what;
    const char *dst, *src, *ref;
    unsigned count;
    TagItem_t* items;
    bool success;
    unsigned status;
    std::string traceOrText;
  } rows[] = {
      {"no items", "d", "s", "r", 0, nullptr, true, 0, R"("data":{"num":0,"tag_items":[]}})"},
      {"failure", "d", "s", "r", 0, nullptr, false, 0, R"("success":false,"err_reason":"why","data":{"num":0,)"},
      {"failure with items", "d", "s", "r", 1, items, false, 0, R"("data":{"num":1,"tag_items":[{"fid":"d")"},
      {"failure, null items", "d", "s", "r", 5, nullptr, false, 0, R"("data":{"num":0,"tag_items":[]}})"},
      {"null items", "d", "s", "r", 5, nullptr, true, 2, "No tag items for numTags=5: null pointer"},
      {"empty source first", "", "", "r", 0, nullptr, true, 2, "Empty source fid"},
      {"empty destination", "", "s", "r", 0, nullptr, true, 2, "Empty destination fid"},
      {"null source", "d", nullptr, "r", 0, nullptr, true, 2, "Empty source fid"},
      {"null destination", nullptr, "s", "r", 0, nullptr, true, 2, "Empty destination fid"},
      {"null reference", "d", "s", nullptr, 0, nullptr, true, 2, "failed to build register read message"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    fake::reset();
    EXPECT_EQ(ovk_serveReadTag(row.dst, row.src, row.ref, row.count, row.items, row.success, "why"), row.status);
    if (row.status == 0) {
      EXPECT_THAT(onlyWritten().text, HasSubstr(row.traceOrText));
    } else {
      EXPECT_TRUE(traced(2, row.traceOrText)) << platform().errors();
      EXPECT_TRUE(platform().written.empty());
    }
  }
}

TEST_F(Tags, RequestRecords) {
  const struct {
    const char* data;
    int result, count;
    std::vector<std::pair<int, int>> tags; // type, number
    const char* refusal;
  } rows[] = {
      {R"({"num":2,"tags":[{"tag_type":1,"tag_num":70000},{"tag_num":5,"tag_type":2}]})",
       0,
       2,
       {{1, 4464}, {2, 5}},
       ""},
      {R"({"num":3,"tags":[{"tag_type":1,"tag_num":1},{"tag_num":5},{"tag_type":1}]})",
       0,
       3,
       {{1, 1}, {0, 5}, {0, 0}},
       ""},
      {R"({"num":0,"tags":[{"tag_type":1}]})", 0, 0, {}, ""},
      {R"({"tags":[]})", -1, 0, {}, "token 'num' not found in message"},
      {R"({"num":-1})", -1, 0, {}, "impossible 'data.num' -1"},
      {R"({"num":16385})", -1, 0, {}, "impossible 'data.num' 16385"},
      {R"({"num":16384})", 0, 16384, {{0, 0}}, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.data);
    fake::reset();
    ovk_TagReadReqCallbackData_t record{};
    EXPECT_EQ(getTagReadReqCallbackData(messages::request(206, row.data).c_str(), 0, &record), row.result);
    ASSERT_EQ(record.numTags, row.count);
    for (std::size_t i = 0; i < row.tags.size(); ++i) {
      EXPECT_EQ(std::make_pair(int{record.pTags[i].tag_type}, int{record.pTags[i].tag_num}), row.tags[i]);
    }
    EXPECT_THAT(platform().errors(), HasSubstr(row.refusal));
    std::free(record.pTags);
  }
}

TEST_F(Tags, ResponseRecords) {
  const std::string longFid(25, 'f');
  const std::string first =
      R"({"fid":")" + longFid + R"(","tag":70000,"idd":260,"data":"a b","startReg":-1,"regLen":2})";
  const struct {
    const char* what;
    std::string data;
    int count;
    const char* refusal;
  } rows[] = {
      {"one", R"({"num":1,"tag_items":[)" + first + "]}", 1, "cut to 24 characters"},
      {"more announced", R"({"num":3,"tag_items":[)" + first + R"(,{"tag":5,"tag_type":6}]})", 3,
       "JSON_HOST: parse \"data.tag_items[1].fid\" failed at "},
      {"none announced", R"({"tag_items":[]})", 0, "token 'num' not found in message"},
      {"negative", R"({"num":-5,"tag_items":[]})", 0, "impossible 'data.num' -5"},
      {"absurd", R"({"num":2000000000,"tag_items":[]})", 0, "impossible 'data.num' 2000000000"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    fake::reset();
    ovk_TagReadRspCallbackData_t record{};
    EXPECT_EQ(getTagReadRspCallbackData(messages::response(207, row.data).c_str(), 0, &record), 0);
    ASSERT_EQ(record.numTagItems, row.count);
    EXPECT_THAT(platform().errors(), HasSubstr(row.refusal));
    if (row.count > 0) {
      const TagItem_t& tag = record.pTagItems[0];
      EXPECT_EQ(tag.fid, longFid.substr(1));
      EXPECT_EQ(tag.tag, 4464);
      EXPECT_EQ(tag.idd, 4);
      EXPECT_STREQ(tag.data.str, "a");
      EXPECT_EQ(tag.startReg, -1);
      EXPECT_EQ(tag.regLen, 2);
    }
    if (row.count == 3) {
      EXPECT_EQ(record.pTagItems[1].tag, 5);
      EXPECT_EQ(record.pTagItems[1].tag_type, 6);
      EXPECT_EQ(record.pTagItems[1].data.ui, 0U); // its "data" is absent
      EXPECT_EQ(record.pTagItems[2].tag, 0);      // behind the item without "regLen"
    }
    std::free(record.pTagItems);
  }
}

// Texts as scanf would read them, but for numbers out of range.
TEST_F(Tags, ValueTextsRead) {
  const struct {
    int idd;
    const char* text;
    bool converts;
    double value;
  } rows[] = {
      {1, "4294967295", true, 4294967295.0},
      {1, " \t+7x", true, 7},
      {1, "010", true, 10},
      {1, "-0", true, 0},
      {1, "4294967296", false, 0},
      {1, "-1", false, 0},
      {1, "", false, 0},
      {1, "x", false, 0},
      {2, "-5", true, -5},
      {5, "0x1A", true, 26},
      {8, "017", true, 15},
      {9, "-0X1a", true, -26},
      {2, "08", true, 0},
      {2, "0x", true, 0},
      {2, "0xg", true, 0},
      {2, "2147483648", false, 0},
      {2, "-2147483648", true, -2147483648.0},
      {2, "0xFFFFFFFF", false, 0},
      {2, "- 5", false, 0},
      {2, "--5", false, 0},
      {2, "99999999999999999999", false, 0},
      {0, "21.500000", true, 21.5},
      {0, " -1e3x", true, -1000},
      {0, "+.5", true, .5},
      {0, "1e", true, 1},
      {0, "0x1.8p1", true, 3},
      {0, "INF", true, HUGE_VAL},
      {0, "-infinity", true, -HUGE_VAL},
      {0, "1e39", false, 0},
      {0, ".", false, 0},
      {0, "0x-1", false, 0},
      {0, "--1", false, 0},
      {0, "1,5", true, 1},
      {3, "7", false, 0},
      {6, "empty", false, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << "idd " << row.idd << ", text " << row.text);
    TagItem_t tag = item(row.idd);
    tag.data.ui = 0x7F0A5A5AU; // what a text that does not convert leaves
    ovk::readTagValue("test", row.text, tag);
    if (!row.converts) {
      EXPECT_EQ(tag.data.ui, 0x7F0A5A5AU);
    } else {
      EXPECT_EQ(row.idd == 0   ? static_cast<double>(tag.data.f)
                : row.idd == 1 ? double(tag.data.ui)
                               : double(tag.data.i),
                row.value);
    }
  }
  TagItem_t notANumber = item(0);
  ovk::readTagValue("test", "-nan", notANumber);
  EXPECT_TRUE(std::isnan(notANumber.data.f));
  for (const char* text : {"  first second", "first", "first\n"}) {
    TagItem_t word = item(4);
    ovk::readTagValue("test", text, word);
    EXPECT_STREQ(word.data.str, "first");
  }
  TagItem_t word = item(4);
  ovk::readTagValue("test", std::string(19, 'x') + " y", word);
  EXPECT_EQ(platform().errors(), "");
  ovk::readTagValue("test", std::string(300, 'x'), word);
  EXPECT_EQ(word.data.str, std::string(19, 'x'));
  EXPECT_TRUE(traced(2, "value " + std::string(300, 'x') + " of tag 0 cut to 19 characters"));
}

float randomFloat(std::mt19937& random) {
  const uint32_t bits = static_cast<uint32_t>(random());
  float value = 0;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

// printf and scanf are what other controllers use.
TEST_F(Tags, ValueTextsAgreeWithTheStandardConversions) {
  std::mt19937 random(42); // NOLINT(cert-msc51-cpp): the same values each time
  for (int i = 0; i < 20000; ++i) {
    TagItem_t real = item(0);
    real.data.f = randomFloat(random);
    char text[256];
    std::snprintf(text, sizeof text, "%f", static_cast<double>(real.data.f));
    ASSERT_EQ(ovk::tagValueText(real), text);
    for (const char* format : {"%f", "%.9g", "%a", "%.3e"}) {
      std::snprintf(text, sizeof text, format, static_cast<double>(real.data.f));
      float scanned = 0;
      TagItem_t read = item(0);
      std::sscanf(text, "%f", &scanned);                            // NOLINT(cert-err34-c)
      if (std::isinf(scanned) != std::isinf(real.data.f)) continue; // rounded out of range
      ovk::readTagValue("test", text, read);
      ASSERT_EQ(std::memcmp(&read.data.f, &scanned, sizeof scanned), 0) << text << " gives " << read.data.f;
    }
  }
}

std::vector<TagItem_t> arrived;
int keepItems(void* data, unsigned /*length*/) {
  const auto& record = *static_cast<ovk_TagReadRspCallbackData_t*>(data);
  arrived.assign(record.pTagItems, record.pTagItems + record.numTagItems);
  return 0;
}

std::vector<TagItem_t> allKindsOfItems() {
  const float extremes[] = {std::numeric_limits<float>::max(),
                            -std::numeric_limits<float>::max(),
                            0.F,
                            -0.F,
                            1.0F / 3,
                            123456.789F,
                            std::numeric_limits<float>::infinity(),
                            16777216.F};
  std::vector<TagItem_t> items;
  for (int i = 0; i < 100; ++i) {
    TagItem_t tag = item(i % 12);
    if (tag.idd == 0) tag.data.f = extremes[(i / 12) % 8];
    if (tag.idd == 1) tag.data.ui = 0xFFFFFFFFU - static_cast<uint32_t>(i);
    if (tag.idd == 2 || tag.idd == 5 || tag.idd == 8 || tag.idd == 9) tag.data.i = std::numeric_limits<int>::min() + i;
    if (tag.idd == 4) std::memcpy(tag.data.str, "nineteen_characters", 19);
    tag.tag = static_cast<uint16_t>(65535 - i);
    tag.startReg = -i;
    tag.regLen = std::numeric_limits<int>::max() - i;
    ovk::copyText(tag.fid, peer);
    items.push_back(tag);
  }
  return items;
}

// A hundred items of all kinds come back bit for bit. Of floats the text form keeps six decimals, so that 1/3 and
// 123456.789 come back as the nearest float to that.
TEST_F(Tags, ThereAndBack) {
  OrvaneServices[2].p_ServiceCallback = reinterpret_cast<void*>(keepItems);
  std::vector<TagItem_t> items = allKindsOfItems();
  ASSERT_EQ(ovk_serveReadTag(peer.c_str(), own.c_str(), "r", 100, items.data(), true, nullptr), 0U);
  ASSERT_LT(onlyWritten().text.size(), 16384U);
  ASSERT_EQ(processReceivedMessage(onlyWritten().text.c_str(), 0), 0) << platform().errors();
  ASSERT_EQ(arrived.size(), items.size());
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (items[i].idd == 0) items[i].data.f = std::strtof(ovk::tagValueText(items[i]).c_str(), nullptr);
    EXPECT_EQ(std::memcmp(&arrived[i], &items[i], sizeof(TagItem_t)), 0) << "item " << i;
  }
  TagItem_t unterminated = item(4);
  std::memset(unterminated.data.str, 'x', sizeof unterminated.data.str);
  EXPECT_EQ(ovk::tagValueText(unterminated), std::string(19, 'x'));
}

// Makes and sets a locale with a decimal comma.
class CommaLocale {
public:
  CommaLocale() {
    // The test may run under emulation, localedef does not.
    const std::string order = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? "--big-endian " : "--little-endian ";
    const std::string command =
        "localedef -i de_DE -f UTF-8 " + order + (directory_ / "comma").string() + " 2>/dev/null";
    if (std::system(command.c_str()) != 0) return;     // NOLINT(cert-env33-c,concurrency-mt-unsafe)
    setenv("LOCPATH", directory_.c_str(), 1);          // NOLINT(concurrency-mt-unsafe)
    set_ = std::setlocale(LC_ALL, "comma") != nullptr; // NOLINT(concurrency-mt-unsafe)
  }
  ~CommaLocale() {
    std::setlocale(LC_ALL, "C"); // NOLINT(concurrency-mt-unsafe)
    unsetenv("LOCPATH");         // NOLINT(concurrency-mt-unsafe)
    std::filesystem::remove_all(directory_);
  }
  bool isSet() const { return set_; }

private:
  std::filesystem::path directory_ = [] {
    std::string name = testing::TempDir() + "comma-XXXXXX";
    return std::filesystem::path(mkdtemp(name.data()));
  }();
  bool set_ = false;
};

TEST_F(Tags, ValuesDoNotDependOnTheLocale) {
  const CommaLocale locale;
  ASSERT_TRUE(locale.isSet()) << "localedef could not make a locale (it needs the package locales)";
  char comma[16];
  std::snprintf(comma, sizeof comma, "%.1f", 0.5);
  ASSERT_STREQ(comma, "0,5");
  TagItem_t tag = item(0);
  ovk::readTagValue("test", "21.500000", tag);
  EXPECT_EQ(tag.data.f, 21.5F);
  EXPECT_EQ(ovk::tagValueText(tag), "21.500000");
}

} // namespace
