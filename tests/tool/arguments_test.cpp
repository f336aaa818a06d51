// What the command line takes and what it refuses, row by row. Refusals must name the text that was wrong.

#include "arguments.h"

#include <functional>
#include <gtest/gtest.h>
#include <sstream>

#include "failure.h"
#include "table.h"

namespace tool {
namespace {

/// The parsers with their results as text.
using Parser = std::string (*)(const std::string&);

std::string identifier(const std::string& text) { return requireIdentifier(text), text; }
std::string area(const std::string& text) { return areaText(parseArea(text)); }
std::string tag(const std::string& text) { return tagLabel(parseTag(text).tag_type, parseTag(text).tag_num); }
std::string seconds(const std::string& text) { return std::to_string(parseSeconds(text).count()) + " ms"; }
std::string assignment(const std::string& text) {
  const Assignment parsed = parseAssignment(text);
  std::string result = std::to_string(parsed.start) + "=";
  for (const uint16_t value : parsed.values) result += (result.back() == '=' ? "" : ",") + std::to_string(value);
  return result;
}

/// START=1,1,... with so many values.
std::string ones(size_t count) {
  std::string text = "0=1";
  while (text.size() < 1 + 2 * count) text += ",1";
  return text;
}

TEST(Arguments, AreTaken) {
  const struct {
    Parser parse;
    std::string text, result;
  } rows[] = {
      {identifier, "VR017_00042_00A0B1C2D3E4", "VR017_00042_00A0B1C2D3E4"},
      {identifier, "VR017_00042_00a0b1c2d3e4", "VR017_00042_00a0b1c2d3e4"},
      {area, "100", "100:1"},
      {area, "0x64:0x10", "100:16"},
      {area, "0:65536", "0:65536"},
      {area, "65535", "65535:1"},
      {area, "64512:1024", "64512:1024"},
      {assignment, "0x64=0xFFFF,0,65535", "100=65535,0,65535"},
      {assignment, "65535=7", "65535=7"},
      {assignment, ones(1024), ones(1024)},
      {tag, "17", "port:17"},
      {tag, "port:0x11", "port:17"},
      {tag, "info:65535", "info:65535"},
      {seconds, "2", "2000 ms"},
      {seconds, ".25", "250 ms"},
      {seconds, "0.001", "1 ms"},
      {seconds, "86400", "86400000 ms"},
  };
  for (const auto& row : rows) EXPECT_EQ(row.parse(row.text), row.result) << row.text;
}

TEST(Arguments, AreRefused) {
  const struct {
    Parser parse;
    std::vector<std::string> texts;
  } rows[] = {
      {identifier,
       {"", "VR017_00042_00A0B1C2D3E", "VR017_00042_00A0B1C2D3E4F", "VR 17_   42_00A0B1C2D3E4",
        "vr017_00042_00A0B1C2D3E4", "VR017-00042_00A0B1C2D3E4", "VR017_00042_00A0B1C2D3G4",
        "VR0A7_00042_00A0B1C2D3E4"}},
      {area,
       {"", "abc", "-1", "+1", " 1", "1 ", "0x", "1:", ":1", "1:0", "0:65537", "1:-1", "1:2:3", "65536", "65535:2",
        "99999999999999999999", "0x1G", "1.5"}},
      {assignment,
       {"", "100", "=1", "100=", "100=1,", "100=,1", "100=65536", "100=-1", "x=1", "100=1=2", "65535=1,2", "65536=1",
        ones(1025)}},
      {tag, {"", "port:", "info", "device:1", "PORT:1", "65536", "-1", ":1", "info:1:2"}},
      {seconds, {"", "0", "-1", "nan", "inf", "1e3", "0,5", "2s", "86401", "0.0001"}},
  };
  for (const auto& row : rows)
    for (const std::string& text : row.texts) {
      try {
        ADD_FAILURE() << "'" << text << "' was taken as " << row.parse(text);
      } catch (const Failure& failure) {
        EXPECT_EQ(failure.code, Exit_Usage) << text;
        EXPECT_NE(std::string(failure.what()).find("'" + text.substr(0, 20)), std::string::npos) << failure.what();
      }
    }
}

TEST(Notation, ValuesStandInRegisters) {
  const struct {
    const char* name;
    bool swap;
    const char* text;
    std::vector<uint16_t> words;
    const char* printed;
  } rows[] = {
      {"u16", false, "0xFFFF", {65535}, "65535"},
      {"i16", false, "-32768", {0x8000}, "-32768"},
      {"hex", false, "1f", {0x1F}, "0x001F"},
      {"hex", false, "0x1F", {0x1F}, "0x001F"},
      {"u32", false, "65538", {1, 2}, "65538"},
      {"u32", true, "65538", {2, 1}, "65538"},
      {"u32", false, "0xFFFFFFFF", {65535, 65535}, "4294967295"},
      {"i32", true, "-2", {0xFFFE, 0xFFFF}, "-2"},
      {"f32", false, "1e-3", {0x3A83, 0x126F}, "0.001"},
      {"f32", true, "21.5", {0, 0x41AC}, "21.5"},
  };
  for (const auto& row : rows) {
    const Notation notation(row.name, row.swap);
    ASSERT_EQ(notation.wordsOf(row.text), row.words) << row.name << ' ' << row.text;
    EXPECT_EQ(notation.textOf(row.words.data()), row.printed) << row.name;
  }
  const std::pair<const char*, std::vector<const char*>> refused[] = {
      {"i16", {"32768", "-32769", "0x-1", "--1"}},
      {"hex", {"10000", "g", "-1", "0x"}},
      {"u32", {"4294967296", "-1"}},
      {"f32", {"inf", "nan", "1e99", "1,5", "1.5x", ""}}};
  for (const auto& [name, texts] : refused)
    for (const char* text : texts) EXPECT_FALSE(Notation(name, false).wordsOf(text)) << name << ' ' << text;
}

TEST(Table, ColumnsStandStillWhateverTheCells) {
  std::ostringstream out;
  Table table(out, {{"name", 6, Column::Left}, {"n", 3, Column::Right}, {"last", 8, Column::Left}});
  table.row({"\xC3\xA4\xC3\xB6", "7", "x"});
  table.row({"longer than that", "1", ""});
  table.row({"\x1B[2J", "1000", "y"});
  EXPECT_EQ(out.str(), "name      n  last\n\xC3\xA4\xC3\xB6        7  x\nlonger than that    1\n?[2J    1000  y\n");
}

} // namespace
} // namespace tool
