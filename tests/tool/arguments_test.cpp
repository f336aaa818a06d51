// What the command line takes and what it refuses, parser by parser. Refusals must name the text that was wrong.

#include "arguments.h"

#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <sstream>

#include "failure.h"
#include "support/sections.h"
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

// Below each title stand the texts that a parser takes, with what it makes of them behind an arrow, and those it refuses.
TEST(Arguments, AreTakenOrRefusedByName) {
  const std::map<std::string, Parser> parsers = {{"identifier", identifier},
                                                 {"area", area},
                                                 {"assignment", assignment},
                                                 {"tag", tag},
                                                 {"seconds", seconds},
                                                 {"value i16", value("i16")},
                                                 {"value hex", value("hex")},
                                                 {"value u32", value("u32")},
                                                 {"value i32 swapped", value("i32", true)},
                                                 {"value f32", value("f32")}};
  for (const auto& [title, rows] : sections(OVK_TEST_DATA "/tool/arguments.txt")) {
    std::istringstream lines(rows);
    for (std::string row; std::getline(lines, row);) {
      const std::size_t arrow = row.find(" -> ");
      const std::string expected = arrow == std::string::npos ? "refused" : row.substr(arrow + 4);
      EXPECT_EQ(outcome(parsers.at(title), row.substr(0, arrow)), expected) << title << ": " << row;
    }
  }
  for (const auto& [name, parse] : parsers) EXPECT_EQ(outcome(parse, ""), "refused") << name;
  EXPECT_EQ(outcome(area, "1 "), "refused");
  EXPECT_EQ(outcome(assignment, ones(1024)), ones(1024));
  EXPECT_EQ(outcome(assignment, ones(1025)), "refused");
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
