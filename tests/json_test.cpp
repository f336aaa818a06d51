// The bundled JSON class: what counts as a document, what look-ups find, how documents grow.

#include <gmock/gmock.h>

#include <optional>
#include <sstream>

#include "platform/json.h"
#include "support/failing_heap.h"
#include "support/sections.h"

namespace {

// The document itself is one of the 32 levels.
const std::string thirtyOne = std::string(31, '[') + std::string(31, ']');

using namespace std::string_literals;

bool isWhole(const std::string& text) {
  Json json;
  json.load(text);
  int first = 0;
  return json.GetValueAsInt("first", &first);
}

// The lines below a title of the file of cases.
std::vector<std::string> casesOf(const std::string& title) {
  std::vector<std::string> cases;
  std::istringstream in(sections(OVK_TEST_DATA "/json.txt")[title]);
  for (std::string line; std::getline(in, line);) cases.push_back(line);
  EXPECT_FALSE(cases.empty()) << title;
  return cases;
}

// Each document of a message looks at the same text, which is checked only for the first.
TEST(Json, LongestMessagesAreCheckedOnce) {
  std::string text = R"({"items":[)";
  while (text.size() < 16200)
    text += R"({"fid":"VR001_00001_0000000000AA","tag":1,"idd":0,"data":"1","startReg":1,"regLen":1},)";
  text += R"({"last":1}]})";
  const auto read = [&text] {
    Json document;
    document.load(text);
    int value = 0;
    EXPECT_TRUE(document.GetValueAsInt("items[0].tag", &value));
  };
  read();
  EXPECT_EQ(0, fake::failEachNew([] {}, read, [](auto) {}));
}

TEST(Json, TheWholeTextOrNothing) {
  const std::string start = " {\"first\":1,\"v\":";
  std::vector<std::string> values = casesOf("values");
  values.insert(values.end(), {"\"\x01\xFF\n\"", thirtyOne});
  for (const std::string& text : values) {
    EXPECT_TRUE(isWhole(start + text + "}\t\r\n ")) << text;
    EXPECT_FALSE(isWhole(start + text)) << "cut off: " << text;
  }
  std::vector<std::string> noValues = casesOf("no values");
  noValues.insert(noValues.end(), {"", "\xEF\xBB\xBF[]", "[" + thirtyOne + "]", "\"a\0b\""s});
  for (const std::string& text : noValues) EXPECT_FALSE(isWhole(start + text + "}")) << text;
  for (const std::string& text : casesOf("no documents")) EXPECT_FALSE(isWhole(text)) << text;
}

// Numbers are looked at in blocks: the odd one may stand anywhere in them.
TEST(Json, ListsOfNumbers) {
  for (std::size_t digits = 1; digits <= 9; ++digits) { // so that a block may end anywhere in the rest
    std::string numbers = std::string(digits, '1') + ",";
    const auto isGoodAmong = [&](const std::string& text) {
      return isWhole("{\"first\":1,\"v\":[" + numbers + text + "," + numbers + "20]}");
    };
    for (int i = 0; i < 140; ++i, numbers += i % 2 != 0 ? "17," : "65535,") {
      for (const char* text : {"0", "1,0,100", "-1", "1.5", "[2,3]"})
        ASSERT_TRUE(isGoodAmong(text)) << i << ' ' << text;
      for (const char* text : {"", "01", "00", "1,", "1 2", ":", "/", "2:2", "2]"})
        ASSERT_FALSE(isGoodAmong(text)) << i << ' ' << text;
    }
  }
}

// The integer that the text is, read twice with another one in between.
std::optional<int> integer(const std::string& text) {
  Json json;
  json.load("[" + text + ",5," + text + "]");
  int value = 77, again = 77, other = 0;
  const bool found = json.GetValueAsInt("[0]", &value);
  EXPECT_TRUE(json.GetValueAsInt("[1]", &other) && other == 5) << text;
  EXPECT_TRUE(json.GetValueAsInt("[2]", &again) == found && again == value) << text;
  EXPECT_TRUE(found || value == 77) << text;
  return found ? std::optional(value) : std::nullopt;
}

TEST(Json, IntegersOnlyIn32Bits) {
  for (const std::string& text : casesOf("integers"))
    for (const std::string blank : {"", " "}) EXPECT_EQ(integer(blank + text + blank), std::stoi(text)) << text;
  for (const std::string& text : casesOf("no integers")) EXPECT_EQ(integer(text), std::nullopt) << text;
}

// Every look-up after every other: what one remembers must not mislead the next.
TEST(Json, LookUpsInAnyOrder) {
  Json json;
  json.load(sections(OVK_TEST_DATA "/json.txt")["nested"]);
  const std::vector<std::string> rows = casesOf("nested: path and value, none without one");
  const auto path = [](const std::string& row) { return row.substr(0, row.find(' ')); };
  for (const std::string& before : rows) {
    for (const std::string& row : rows) {
      Json value;
      int number = 0;
      json.GetValueAsInt(path(before), &number);
      const bool found = json.getObject(path(row), value);
      ASSERT_EQ(found ? path(row) + " " + std::string(value.text()) : path(row), row) << "after " << before;
    }
  }
}

// Reads an array by every step through it, and paths that are none.
void expectInts(const Json& json, const std::string& name, const std::vector<int>& values) {
  const int size = static_cast<int>(values.size());
  int value = 0;
  for (const int step : {1, 1, -1, 7, 1}) {
    for (int i = step < 0 ? size - 1 : 0; i >= 0 && i < size; i += step) {
      const std::string path = name + '[' + std::to_string(i) + ']';
      ASSERT_TRUE(json.GetValueAsInt(path, &value) && value == values[static_cast<std::size_t>(i)]) << path;
      const std::string wrongEnd = name + '[' + std::to_string(i + step) + '}';
      ASSERT_FALSE(json.GetValueAsInt(wrongEnd, &value)) << wrongEnd;
    }
    value = 7;
    EXPECT_FALSE(json.GetValueAsInt(name + '[' + std::to_string(size) + ']', &value) || value != 7);
  }
}

// Arrays are read ahead of those who ask in order, if the path is not too long; that must not show.
TEST(Json, ArraysElementByElement) {
  std::vector<int> values(1100);
  std::string list;
  for (int i = 0; i < static_cast<int>(values.size()); ++i) {
    int& value = values[static_cast<std::size_t>(i)];
    value = i % 97 == 5 ? -i : i % 211 == 0 ? 12345678 : i % 83 == 0 ? 0 : i * i % 65536;
    list += (i == 0 ? "" : i % 131 == 0 ? " , " : ",") + std::to_string(value);
  }
  Json json;
  for (const std::size_t length : {1U, 5U, 60U, 61U, 62U}) {
    const std::string name(length, 'w');
    for (const char* ending : {"]}", ",\"no number\"]}"}) {
      json.load("{\"" + name + "\":[" + list + ending);
      expectInts(json, name, values);
    }
  }
}

TEST(Json, DeepPathsAndCopies) {
  Json json;
  const std::string deep = "[0][0][0][0][0][0][0][0]";
  const std::string name(5000, 'x');
  json.load(R"([[[[[[[[[1,2,{")" + name + R"(":[3,4]}]]]]]]]]])");
  const Json copy = json;
  int value = 0;
  for (const Json* document : std::initializer_list<const Json*>{&json, &copy, &json}) {
    EXPECT_TRUE(document->GetValueAsInt(deep + "[1]", &value) && value == 2);
    EXPECT_TRUE(document->GetValueAsInt(deep + "[2]." + name + "[1]", &value) && value == 4);
    EXPECT_FALSE(document->GetValueAsInt(deep + "[3]", &value));
  }
  json.load("[[7,8]]"); // nothing is left of the text before
  EXPECT_TRUE(json.GetValueAsInt("[0][0]", &value) && value == 7);
  json.load("[[5,6]]");
  EXPECT_TRUE(json.GetValueAsInt("[0][1]", &value) && value == 6);
  json = copy;
  EXPECT_TRUE(json.GetValueAsInt(deep + "[0]", &value) && value == 1);
}

TEST(Json, GrowsMemberByMember) {
  Json array(Json::Kind::array);
  Json object;
  EXPECT_TRUE(array.empty() && object.empty());
  int one = 0;
  array.add("1");
  object.add("a", "1");
  EXPECT_TRUE(array.GetValueAsInt("[0]", &one) && object.GetValueAsInt("a", &one)); // does not end their growth
  array.add("\"two\"");
  object.add("list", array.text());
  EXPECT_EQ(object.text(), R"({"a":1,"list":[1,"two"]})");
  EXPECT_FALSE(array.empty() || object.empty());
  array.clear();
  object.clear();
  EXPECT_TRUE(array.text() == "[]" && object.text() == "{}");
}

TEST(Json, MemberNames) {
  Json json;
  json.load(R"({"o":{"b":1, "a":{"x":1} ,"b\"":[1,2]},"e":{},"n":1})");
  std::vector<std::string> names;
  EXPECT_TRUE(json.getNames("o", names));
  EXPECT_THAT(names, testing::ElementsAre("b", "a", "b\\\""));
  EXPECT_TRUE(json.getNames("e", names) && names.empty());
  EXPECT_FALSE(json.getNames("n", names));
}

} // namespace
