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
using Parser = std::function<std::string(const std::string&)>;

std::string identifier(const std::string& text) { return requireIdentifier(text), text; }
std::string area(const std::string& text) { return areaText(parseArea(text)); }
std::string tag(const std::string& text) { return tagLabel(parseTag(text).tag_type, parseTag(text).tag_num); }
std::string seconds(const std::string& text) { return std::to_string(parseSeconds(text).count()) + " ms"; }

std::string listed(const std::vector<uint16_t>& words) {
  std::string text;
  for (const uint16_t word : words) text += (text.empty() ? "" : ",") + std::to_string(word);
  return text;
}
std::string assignment(const std::string& text) {
  const Assignment parsed = parseAssignment(text);
  return std::to_string(parsed.start) + "=" + listed(parsed.values);
}
/// Of a value the registers, and how they are printed again.
Parser value(const char* type, bool swap = false) {
  return [notation = Notation(type, swap)](const std::string& text) {
    const auto words = notation.wordsOf(text);
    return words ? listed(*words) + " is " + notation.textOf(words->data()) : "refused";
  };
}

/// START=1,1,... with so many values.
std::string ones(size_t count) { return "0=" + listed(std::vector<uint16_t>(count, 1)); }

std::string outcome(const Parser& parse, const std::string& text) {
  try {
    return parse(text);
  } catch (const Failure& failure) {
    const bool named = std::string(failure.what()).find("'" + text.substr(0, 20)) == 0;
    return failure.code == Exit_Usage && named ? "refused" : failure.what();
  }
}

void expectRows(const Parser& parse, const std::vector<std::pair<std::string, std::string>>& taken,
                const std::vector<std::string>& refused) {
  for (const auto& [text, result] : taken) EXPECT_EQ(outcome(parse, text), result) << text;
  for (const std::string& text : refused) EXPECT_EQ(outcome(parse, text), "refused") << text;
}

TEST(Arguments, AreTakenOrRefusedByName) {
  expectRows(identifier, {{"VR019_00042_0A9Fa0B1f2D3", "VR019_00042_0A9Fa0B1f2D3"}},
             {"", "VR017_00042_00A0B1C2D3E", "VR017_00042_00A0B1C2D3E4F", "VR 17_   42_00A0B1C2D3E4",
              "vr017_00042_00A0B1C2D3E4", "VR017-00042_00A0B1C2D3E4", "VR017_00042_00A0B1C2D3G4",
              "VR0A7_00042_00A0B1C2D3E4"});
  expectRows(area, {{"0x64:0x10", "100:16"}, {"0:65536", "0:65536"}, {"65535", "65535:1"}},
             {"", "abc", "-1", "+1", " 1", "1 ", "0x", "1:", ":1", "1:0", "0:65537", "1:-1", "1:2:3", "65536",
              "65535:2", "99999999999999999999", "0x1G", "1.5"});
  expectRows(assignment,
             {{"0x64=0xFFFF,0,65535", "100=65535,0,65535"}, {"65535=7", "65535=7"}, {ones(1024), ones(1024)}},
             {"", "100", "=1", "100=", "100=1,", "100=,1", "100=65536", "100=-1", "x=1", "100=1=2", "65535=1,2",
              "65536=1", ones(1025)});
  expectRows(tag, {{"17", "port:17"}, {"port:0x11", "port:17"}, {"info:65535", "info:65535"}},
             {"", "port:", "info", "device:1", "PORT:1", "65536", "-1", ":1", "info:1:2"});
  expectRows(seconds, {{".25", "250 ms"}, {"0.001", "1 ms"}, {"86400", "86400000 ms"}},
             {"", "0", "-1", "nan", "inf", "1e3", "0,5", "2s", "86401", "0.0001"});
}

TEST(Arguments, ValuesStandInRegisters) {
  expectRows(value("i16"), {{"-32768", "32768 is -32768"}}, {"32768", "-32769", "0x-1", "--1"});
  expectRows(value("hex"), {{"1f", "31 is 0x001F"}, {"0x1F", "31 is 0x001F"}}, {"10000", "g", "-1", "0x"});
  expectRows(value("u32"), {{"65538", "1,2 is 65538"}, {"0xFFFFFFFF", "65535,65535 is 4294967295"}},
             {"4294967296", "-1"});
  expectRows(value("i32", true), {{"-2", "65534,65535 is -2"}}, {});
  expectRows(value("f32"), {{"1e-3", "14979,4719 is 0.001"}}, {"inf", "nan", "1e99", "1,5", "1.5x", ""});
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
