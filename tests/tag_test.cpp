// Tag selectors from configuration, and tag values as texts.

#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <random>

#include "core/text.h"
#include "support/messages.h"
#include "tag/value_conversion.h"

using namespace messages;

namespace {

class Tags : public Receiver {};

const std::string fid24(24, 'f');
const std::string tag17 = R"({"telegram":[{"fid":"F","portlist":[{"tag":17}]}]})";
const std::string parsing = "Parsing error! (MSG)\n";
const std::string noTelegram = "No telegram found in config_item MSG\n";

const struct {
  const char* what;
  std::string config;
  unsigned status;
  int type, number;
  std::string fid; // "-": untouched
  std::string errors;
} configRows[] = {
    {"tag", tag17, 0, 1, 17, "F", ""},
    {"device information", replaced(tag17, "\"tag\"", "\"deviceinfo\""), 0, 2, 17, "F", ""},
    {"both", replaced(tag17, "17", R"(17,"deviceinfo":3)"), 0, 1, 17, "F", ""},
    {"fid of 24", replaced(tag17, "F", fid24), 0, 1, 17, fid24, ""},
    {"second ones ignored", replaced(tag17, "}]}]", R"(},{"tag":1}]},{"fid":"G"}])"), 0, 1, 17, "F", ""},
    {"70000", replaced(tag17, "17", "70000"), 0, 1, 4464, "F", ""},
    {"-1", replaced(tag17, "17", "-1"), 0, 1, 65535, "F", ""},
    {"text", replaced(tag17, "17", "\" +12abc\""), 0, 1, 12, "F", ""},
    {"no hexadecimal", replaced(tag17, "17", "\"0x1A\""), 0, 1, 0, "F", ""},
    {"fraction", replaced(tag17, "17", "12.7"), 0, 1, 12, "F", ""},
    {"letters", replaced(tag17, "17", "\"abc\""), 2, 9, 9, "F", parsing},
    {"two signs", replaced(tag17, "17", "\"+-1\""), 2, 9, 9, "F", parsing},
    {"out of range", replaced(tag17, "17", "3000000000"), 2, 9, 9, "F", parsing},
    {"empty", "", 2, 9, 9, "-", "Invalid tag request: tagConfig.size()=0\n"},
    {"no telegram", "{}", 2, 9, 9, "-", noTelegram},
    {"no JSON", tag17 + "x", 2, 9, 9, "-", noTelegram},
    {"empty telegram object", R"({"telegram":{}})", 7, 9, 9, "-", ""},
    {"empty telegram", R"({"telegram":[]})", 7, 9, 9, "-", ""},
    {"no fid", replaced(tag17, "fid", "f"), 2, 9, 9, "-", "No fid found in configuration_item MSG\n"},
    {"fid of 25", replaced(tag17, "F", fid24 + "f"), 2, 9, 9, "-", "fid " + fid24 + "f > 24!\n"},
    {"no tag", replaced(tag17, "\"tag\"", "\"gat\""), 2, 9, 9, "F", "No tag found in configuration_item MSG\n"},
};

TEST_F(Tags, SelectorsFromConfiguration) {
  std::map<std::string, std::string> traces; // by row
  for (const auto& row : configRows) {
    SCOPED_TRACE(row.what);
    fake::reset();
    DevTagDevInfoTag tag{9, 9};
    std::string fid = "-";
    EXPECT_EQ(getTagFromConfig(row.config, tag, fid), row.status);
    EXPECT_EQ(std::pair(int{tag.tag_type}, int{tag.tag_num}), std::pair(row.type, row.number));
    EXPECT_EQ(fid, row.fid);
    EXPECT_EQ(platform().errors(row.config), row.errors);
    traces[row.what] = platform().lines(row.config);
  }
  const std::string f = "6 getTagFromConfig: ";
  const std::string start = f + "tagConfig = MSG\n";
  const std::string end = f + "getTagFromConfig: DevTag or DevInfoTag found, handle it\n" + f +
                          "fusionIdReturn=F  tag_vector.push_back  tag_type=";
  EXPECT_EQ(traces["tag"], start + f + "getTagFromConfig: DevTag found\n" + end + "1, tag_num=17\n");
  EXPECT_EQ(traces["device information"], start + f + "getTagFromConfig: DevInfoTag found\n" + end + "2, tag_num=17\n");
  EXPECT_EQ(traces["empty telegram"], start + f + "Empty configuration MSG\n");
}

TagItem_t item(int idd) {
  TagItem_t result{};
  result.idd = static_cast<uint8_t>(idd);
  result.data.ui = 0x7F0A5A5AU; // what a text that does not convert leaves
  return result;
}

uint32_t bitsRead(int idd, const std::string& text) {
  TagItem_t tag = item(idd);
  ovk::readTagValue("test", text, tag);
  return tag.data.ui;
}

// What scanf makes of the text, which is what other controllers do.
uint32_t bitsScanned(int idd, const char* text) {
  TagItem_t tag = item(idd);
  if (idd == 0) std::sscanf(text, "%f", &tag.data.f);             // NOLINT(cert-err34-c)
  if (idd == 1) std::sscanf(text, "%u", &tag.data.ui);            // NOLINT(cert-err34-c)
  if (idd != 0 && idd != 1) std::sscanf(text, "%i", &tag.data.i); // NOLINT(cert-err34-c)
  return tag.data.ui;
}

const struct {
  std::vector<int> idds;
  std::vector<const char*> texts;
} scannedRows[] = {
    {{0, 1, 2, 5, 8, 9},
     {" \t+7x", "010", "-0", "", "x", "0x1A", "017", "08", "0x", "0xg", "- 5", "--5", "+-5", "21.5", ".5", "+0x",
      "1,5"}},
    {{0}, {" -1e3x", "+.5", "1e", "0x1.8p1", "INF", "-infinity", "-nan", ".", "0x-1", "1e+", "infx", "in", "3.4e38"}},
    {{1}, {"4294967295"}},
    {{2, 5, 8, 9}, {"-5", "-0X1a", "2147483647", "-2147483648", "0x7FFFFFFF", "-08", "-"}},
};

TEST_F(Tags, ValueTextsReadAsScanfReadsThem) {
  for (const auto& row : scannedRows) {
    for (const int idd : row.idds) {
      for (const char* text : row.texts) EXPECT_EQ(bitsRead(idd, text), bitsScanned(idd, text)) << idd << ": " << text;
    }
  }
}

TEST_F(Tags, ValueTextsThatDoNotConvert) {
  const std::pair<int, const char*> rows[] = {
      {1, "4294967296"}, {1, "-1"},   {2, "2147483648"}, {2, "-2147483649"}, {2, "99999999999999999999"},
      {2, "0xFFFFFFFF"}, {0, "1e39"}, {0, "-1e39"},      {3, "7"},           {6, "empty"},
      {7, "7"},          {10, "7"},   {255, "7"}};
  for (const auto& [idd, text] : rows) EXPECT_EQ(bitsRead(idd, text), 0x7F0A5A5AU) << idd << ": " << text;
}

TEST_F(Tags, Words) {
  const auto read = [](const std::string& text) {
    TagItem_t word{};
    word.idd = 4;
    ovk::readTagValue("test", text, word);
    return std::string(word.data.str, strnlen(word.data.str, sizeof word.data.str));
  };
  const std::string x19(19, 'x');
  for (const char* text : {"  first second", "first\n", "first"}) EXPECT_EQ(read(text), "first") << text;
  EXPECT_EQ(read(x19 + " y"), x19);
  EXPECT_EQ(platform().errors(), "");
  EXPECT_EQ(read(x19 + 'x'), x19);
  EXPECT_EQ(platform().errors(x19 + 'x'), "value MSG of tag 0 cut to 19 characters\n");
  TagItem_t unterminated = item(4);
  std::memset(unterminated.data.str, 'x', sizeof unterminated.data.str);
  EXPECT_EQ(ovk::tagValueText(unterminated), x19);
}

TEST_F(Tags, FloatsAgreeWithTheStandardConversions) {
  std::mt19937 random(42); // NOLINT(cert-msc51-cpp): the same values each time
  for (int i = 0; i < 5000; ++i) {
    TagItem_t real{};
    real.data.ui = static_cast<uint32_t>(random());
    char text[256];
    std::snprintf(text, sizeof text, "%f", static_cast<double>(real.data.f));
    ASSERT_EQ(ovk::tagValueText(real), text);
    for (const char* format : {"%f", "%.9g", "%a", "%.3e"}) {
      std::snprintf(text, sizeof text, format, static_cast<double>(real.data.f));
      TagItem_t scanned{};
      scanned.data.ui = bitsScanned(0, text);
      if (std::isinf(scanned.data.f) != std::isinf(real.data.f)) continue; // rounded out of range
      ASSERT_EQ(bitsRead(0, text), scanned.data.ui) << text;
    }
  }
}

std::vector<TagItem_t> allKindsOfItems() {
  using Floats = std::numeric_limits<float>;
  const float extremes[] = {Floats::max(), Floats::lowest(),   0.F,       -0.F, 1.0F / 3,
                            123456.789F,   Floats::infinity(), 16777216.F};
  std::vector<TagItem_t> items(100);
  for (int i = 0; i < 100; ++i) {
    TagItem_t& tag = items[static_cast<std::size_t>(i)];
    tag.idd = static_cast<uint8_t>(i % 12);
    if (tag.idd == 0) tag.data.f = extremes[(i / 12) % 8];
    if (tag.idd == 1) tag.data.ui = 0xFFFFFFFFU - static_cast<uint32_t>(i);
    if (tag.idd == 2 || tag.idd == 5 || tag.idd == 8 || tag.idd == 9) tag.data.i = std::numeric_limits<int>::min() + i;
    if (tag.idd == 4) std::memcpy(tag.data.str, "nineteen_characters", 19);
    tag.tag = static_cast<uint16_t>(65535 - i);
    tag.startReg = -i;
    tag.regLen = std::numeric_limits<int>::max() - i;
    ovk::copyText(tag.fid, peer);
  }
  return items;
}

// A hundred items of all kinds come back bit for bit. Of floats the text form keeps six decimals, so that 1/3 and
// 123456.789 come back as the nearest float to that.
TEST_F(Tags, ThereAndBack) {
  std::vector<TagItem_t> arrived;
  onMessage = [&](void* data, const std::string&) {
    const auto& record = *static_cast<ovk_TagReadRspCallbackData_t*>(data);
    arrived.assign(record.pTagItems, record.pTagItems + record.numTagItems);
    return 0;
  };
  std::vector<TagItem_t> items = allKindsOfItems();
  ASSERT_EQ(ovk_serveReadTag(peer.c_str(), own.c_str(), "r", 100, items.data(), true, nullptr), 0U);
  ASSERT_LT(onlyWritten().text.size(), 16384U);
  ASSERT_EQ(process(onlyWritten().text), 0) << platform().errors();
  ASSERT_EQ(arrived.size(), items.size());
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (items[i].idd == 0) items[i].data.f = std::strtof(ovk::tagValueText(items[i]).c_str(), nullptr);
    EXPECT_EQ(std::memcmp(&arrived[i], &items[i], sizeof(TagItem_t)), 0) << "item " << i;
  }
}

// Makes a locale with a decimal comma; whether it could be set.
bool setCommaLocale(const std::filesystem::path& directory) {
  const std::string command = "localedef -i de_DE -f UTF-8 " + (directory / "comma").string() + " 2>/dev/null";
  if (std::system(command.c_str()) != 0) return false; // NOLINT(cert-env33-c,concurrency-mt-unsafe)
  setenv("LOCPATH", directory.c_str(), 1);             // NOLINT(concurrency-mt-unsafe)
  return std::setlocale(LC_ALL, "comma") != nullptr;   // NOLINT(concurrency-mt-unsafe)
}

TEST_F(Tags, ValuesDoNotDependOnTheLocale) {
  std::string directory = testing::TempDir() + "comma-XXXXXX";
  ASSERT_NE(mkdtemp(directory.data()), nullptr);
  EXPECT_TRUE(setCommaLocale(directory)) << "localedef could not make a locale (it needs the package locales)";
  char comma[16];
  std::snprintf(comma, sizeof comma, "%.1f", 0.5);
  TagItem_t tag{};
  ovk::readTagValue("test", "21.500000", tag);
  const std::string text = ovk::tagValueText(tag);
  std::setlocale(LC_ALL, "C"); // NOLINT(concurrency-mt-unsafe)
  unsetenv("LOCPATH");         // NOLINT(concurrency-mt-unsafe)
  std::filesystem::remove_all(directory);
  EXPECT_STREQ(comma, "0,5");
  EXPECT_EQ(text, "21.500000");
}

} // namespace
