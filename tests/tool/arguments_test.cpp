// What the command line takes and what it refuses, row by row. Refusals must name the text that was wrong.

#include "arguments.h"

#include <gtest/gtest.h>
#include <sstream>

#include "failure.h"
#include "table.h"

namespace tool {
namespace {

template <class Parsed>
void expectRefused(Parsed (*parse)(const std::string&), std::initializer_list<std::string> texts) {
  for (const std::string& text : texts) {
    try {
      parse(text);
      ADD_FAILURE() << "'" << text << "' was taken";
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.code, Exit_Usage) << text;
      EXPECT_NE(std::string(failure.what()).find("'" + text.substr(0, 20)), std::string::npos) << failure.what();
    }
  }
}

TEST(Arguments, Identifiers) {
  for (const char* text : {"VR017_00042_00A0B1C2D3E4", "VR017_00042_00a0b1c2d3e4"})
    EXPECT_NO_THROW(requireIdentifier(text));
  expectRefused(&requireIdentifier, {"", "VR017_00042_00A0B1C2D3E", "VR017_00042_00A0B1C2D3E4F",
                                     "VR 17_   42_00A0B1C2D3E4", "vr017_00042_00A0B1C2D3E4", "VR017-00042_00A0B1C2D3E4",
                                     "VR017_00042_00A0B1C2D3G4", "VR0A7_00042_00A0B1C2D3E4"});
}

TEST(Arguments, Areas) {
  const struct {
    const char* text;
    int start, count;
  } rows[] = {
      {"100", 100, 1}, {"0x64:0x10", 100, 16}, {"0:1024", 0, 1024}, {"65535", 65535, 1}, {"64512:1024", 64512, 1024}};
  for (const auto& row : rows) {
    const Area area = parseArea(row.text);
    EXPECT_EQ(std::pair(area.start, area.count), std::pair(row.start, row.count)) << row.text;
  }
  expectRefused(&parseArea, {"", "abc", "-1", "+1", " 1", "1 ", "0x", "1:", ":1", "1:0", "1:1025", "1:-1", "1:2:3",
                             "65536", "65535:2", "99999999999999999999", "0x1G", "1.5"});
}

TEST(Arguments, Assignments) {
  std::string most = "0=1";
  for (int i = 1; i < 1024; ++i) most += ",1";
  const struct {
    std::string text;
    int start;
    std::vector<uint16_t> values;
  } rows[] = {{"100=1", 100, {1}},
              {"0x64=0xFFFF,0,65535", 100, {65535, 0, 65535}},
              {"65535=7", 65535, {7}},
              {most, 0, std::vector<uint16_t>(1024, 1)}};
  for (const auto& row : rows) {
    const Assignment assignment = parseAssignment(row.text);
    EXPECT_EQ(assignment.start, row.start) << row.text;
    EXPECT_EQ(assignment.values, row.values) << row.text;
  }
  expectRefused(&parseAssignment, {"", "100", "=1", "100=", "100=1,", "100=,1", "100=65536", "100=-1", "x=1", "100=1=2",
                                   "65535=1,2", "65536=1", most + ",1"});
}

TEST(Arguments, Tags) {
  const struct {
    const char *text, *label;
  } rows[] = {{"17", "port:17"}, {"port:0x11", "port:17"}, {"info:65535", "info:65535"}};
  for (const auto& row : rows) {
    const DevTagDevInfoTag tag = parseTag(row.text);
    EXPECT_EQ(tagLabel(tag.tag_type, tag.tag_num), row.label);
  }
  expectRefused(&parseTag, {"", "port:", "info", "device:1", "PORT:1", "65536", "-1", ":1", "info:1:2"});
}

TEST(Arguments, Seconds) {
  const std::pair<const char*, int> rows[] = {
      {"2", 2000}, {"0.5", 500}, {".25", 250}, {"0.001", 1}, {"86400", 86400000}};
  for (const auto& [text, milliseconds] : rows) EXPECT_EQ(parseSeconds(text).count(), milliseconds) << text;
  expectRefused(&parseSeconds, {"", "0", "-1", "nan", "inf", "1e3", "0,5", "2s", "86401", "0.0001"});
}

TEST(Table, ColumnsStandStillWhateverTheCells) {
  std::ostringstream out;
  Table table(out, {{"name", 6, Column::Left}, {"n", 3, Column::Right}, {"last", 8, Column::Left}});
  table.row({"\xC3\xA4\xC3\xB6", "7", "x"});
  table.row({"longer than that", "1", ""});
  table.row({"\x1B[2J", "1000", "y"});
  EXPECT_EQ(out.str(), "name      n  last\n"
                       "\xC3\xA4\xC3\xB6        7  x\n"
                       "longer than that    1\n"
                       "?[2J    1000  y\n");
}

} // namespace
} // namespace tool
