// Tag selectors from configuration, and tag values as texts.

#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <random>
#include <sstream>

#include "support/messages.h"
#include "support/temporary_directory.h"
#include "tag/value_conversion.h"

using namespace messages;

namespace {

class Tags : public Receiver {};

// Of a configuration come the lines of level 2, or all where the title says so, in which MSG stands for the configuration;
// the status, the selector and the identifier, which were 9/9 and "-" before. An empty one is called nothing there.
TEST_F(Tags, SelectorsFromConfiguration) {
  expectOutcomes(OVK_TEST_DATA "/tag_configurations.txt", [this](const std::string& title, const std::string& config) {
    fake::reset();
    DevTagDevInfoTag tag{9, 9};
    std::string fid = "-";
    const unsigned status = getTagFromConfig(config == "nothing" ? "" : config, tag, fid);
    const bool isTraced = title.find(", traced") != std::string::npos;
    return joined(isTraced ? platform().lines(config) : platform().errors(config), status, ": ", tag.tag_type, '/',
                  tag.tag_num, ' ', fid, '\n');
  });
}

TagItem_t item(int idd) {
  TagItem_t result{};
  result.idd = static_cast<uint8_t>(idd);
  result.data.ui = 0x7F0A5A5AU; // what a text that does not convert leaves
  return result;
}

TagItem_t itemRead(int idd, const std::string& text) {
  TagItem_t tag = item(idd);
  ovk::readTagValue("test", text, tag);
  return tag;
}
uint32_t bitsRead(int idd, const std::string& text) { return itemRead(idd, text).data.ui; }
std::string textRead(int idd, const std::string& text) { return ovk::tagValueText(itemRead(idd, text)); }

// What scanf makes of the text, which is what other controllers do.
uint32_t bitsScanned(int idd, const char* text) {
  TagItem_t tag = item(idd);
  if (idd == 0) std::sscanf(text, "%f", &tag.data.f);  // NOLINT(cert-err34-c)
  if (idd == 1) std::sscanf(text, "%u", &tag.data.ui); // NOLINT(cert-err34-c)
  if (idd > 1) std::sscanf(text, "%i", &tag.data.i);   // NOLINT(cert-err34-c)
  return tag.data.ui;
}

// tag_values.txt names the types, then the texts, each in quotes.
template <typename Expect>
void forEachValueText(const std::string& title, Expect expect) {
  std::istringstream lines(sections(OVK_TEST_DATA "/tag_values.txt")[title]);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream row(line);
    std::vector<int> idds;
    for (int idd = 0; row >> idd;) idds.push_back(idd);
    row.clear();
    for (std::string text; row >> std::quoted(text, '\'');)
      for (const int each : idds) expect(each, text);
  }
}

TEST_F(Tags, ValueTextsReadAsScanfReadsThem) {
  forEachValueText("as scanf", [](int idd, const std::string& text) {
    EXPECT_EQ(bitsRead(idd, text), bitsScanned(idd, text.c_str())) << idd << ": " << text;
  });
  forEachValueText("not converted", [](int idd, const std::string& text) {
    EXPECT_EQ(bitsRead(idd, text), 0x7F0A5A5AU) << idd << ": " << text;
  });
  forEachValueText("there and back",
                   [](int idd, const std::string& text) { EXPECT_EQ(textRead(idd, text), text) << idd; });
}

TEST_F(Tags, Words) {
  const std::string x19(19, 'x');
  for (const char* text : {"  first second", "first\n", "first"}) EXPECT_EQ(textRead(4, text), "first") << text;
  EXPECT_EQ(textRead(4, x19 + " y"), x19);
  EXPECT_EQ(platform().errors(), "");
  EXPECT_EQ(textRead(4, x19 + 'x'), x19);
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

// Makes a locale with a decimal comma; whether it could be set.
bool setCommaLocale(const std::string& directory) {
  // The test may run under emulation, localedef does not.
  const std::string order = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? "--big-endian " : "--little-endian ";
  const std::string command = "localedef -i de_DE -f UTF-8 " + order + directory + "/comma 2>/dev/null";
  if (std::system(command.c_str()) != 0) return false; // NOLINT(cert-env33-c,concurrency-mt-unsafe)
  setenv("LOCPATH", directory.c_str(), 1);             // NOLINT(concurrency-mt-unsafe)
  return std::setlocale(LC_ALL, "comma") != nullptr;   // NOLINT(concurrency-mt-unsafe)
}

TEST_F(Tags, ValuesDoNotDependOnTheLocale) {
  const TemporaryDirectory directory;
  EXPECT_TRUE(setCommaLocale(directory.path())) << "localedef could not make a locale (it needs the package locales)";
  char comma[16];
  std::snprintf(comma, sizeof comma, "%.1f", 0.5);
  const std::string text = textRead(0, "21.500000");
  std::setlocale(LC_ALL, "C"); // NOLINT(concurrency-mt-unsafe)
  unsetenv("LOCPATH");         // NOLINT(concurrency-mt-unsafe)
  EXPECT_STREQ(comma, "0,5");
  EXPECT_EQ(text, "21.500000");
}

} // namespace
