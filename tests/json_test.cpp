// The bundled JSON class: what counts as a document, what look-ups find, how documents grow.

#include <gmock/gmock.h>

#include <limits>

#include "platform/json.h"

namespace {

std::string nestedArrays(int levels) {
  return std::string(static_cast<std::size_t>(levels), '[') + std::string(static_cast<std::size_t>(levels), ']');
}

TEST(Json, TheWholeTextOrNothing) {
  using namespace std::string_literals;
  const struct {
    std::string text; // the value of a member "v"
    bool valid;
  } rows[] = {
      {"0", true},
      {"-0.5e+10", true},
      {"1E2", true},
      {"true", true},
      {"null", true},
      {R"("\q\"\\")", true},
      {"\"\x01\xFF\n\"", true},
      {"[ ]", true},
      {"{ }", true},
      {"[1,[2,{}]]", true},
      {R"({"a":1 , "a":2})", true},
      {"01", false},
      {"+1", false},
      {"1.", false},
      {".5", false},
      {"1e", false},
      {"-", false},
      {"tru", false},
      {"nulll", false},
      {"", false},
      {"[1,]", false},
      {"[1 2]", false},
      {"[,1]", false},
      {"{\"a\"}", false},
      {"{\"a\":}", false},
      {"{a:1}", false},
      {"{\"a\":1,}", false},
      {"[1}", false},
      {"\"abc", false},
      {"\"abc\\", false},
      {"\"a\0b\""s, false},
      {"1 2", false},
      {"1]", false},
      {"\xEF\xBB\xBF"
       "1",
       false},
      {nestedArrays(31), true},
      {nestedArrays(32), false}, // the document itself is a level
  };
  for (const auto& row : rows) {
    Json json;
    json.load(" {\"first\":1,\"v\":" + row.text + "}\t\r\n ");
    int first = 0;
    EXPECT_EQ(json.GetValueAsInt("first", &first), row.valid) << row.text;
    Json cut;
    cut.load("{\"first\":1,\"v\":" + row.text);
    EXPECT_FALSE(cut.GetValueAsInt("first", &first)) << "cut off: " << row.text;
  }
  for (const char* text : {"", " ", "{} {}", "{}x", "}", "{\"first\":1}\0"}) {
    Json json;
    json.load(text);
    Json value;
    EXPECT_FALSE(json.getObject("a", value)) << text;
  }
}

TEST(Json, IntegersOnlyIn32Bits) {
  const struct {
    const char* text;
    bool found;
    int value;
  } rows[] = {{"0", true, 0},
              {"-0", true, 0},
              {"2147483647", true, std::numeric_limits<int>::max()},
              {"-2147483648", true, std::numeric_limits<int>::min()},
              {"2147483648", false, 0},
              {"-2147483649", false, 0},
              {"99999999999999999999999", false, 0},
              {"1.0", false, 0},
              {"1e1", false, 0},
              {"1E1", false, 0},
              {"\"1\"", false, 0},
              {"true", false, 0},
              {"null", false, 0},
              {"[1]", false, 0}};
  for (const auto& row : rows) {
    Json json;
    json.load(std::string("[") + row.text + "]");
    int value = 77;
    EXPECT_EQ(json.GetValueAsInt("[0]", &value), row.found) << row.text;
    if (row.found) {
      EXPECT_EQ(value, row.value) << row.text;
    }
  }
}

TEST(Json, LookUpsInAnyOrder) {
  Json json;
  json.load(R"({"a":{"b":[10,{"c":"x\"y\\"},[20,[21]],"30"],"d":true,"a":{"b":5}},
               "a":"second", "":{"e":false}, "long":[0,1,2,3,4,5,6,7,8,9,10,11],
               "k1":1,"k2":2,"k3":3,"k4":4,"k5":5,"k6":6,"k7":7,"k8":8,"k9":9,"l":[{"n":1},{"n":2}]})");
  const struct {
    const char* path;
    const char* value; // null: not there
  } rows[] = {{"a.b[0]", "10"},
              {"a.b[3]", "30"},
              {"a.b[1].c", R"(x\"y\\)"},
              {"a.b[2][1][0]", "21"},
              {"a.b[4]", nullptr},
              {"a.b[4]", nullptr},
              {"a.b[0]", "10"},
              {"a.a.b", "5"},
              {"a.d", "true"},
              {"a.d.x", nullptr},
              {"a.b.c", nullptr},
              {"a[0]", nullptr},
              {"long[11]", "11"},
              {"long[12]", nullptr},
              {"long[3]", "3"},
              {"longer", nullptr},
              {"k9", "9"},
              {"k8", "8"},
              {"zz", nullptr},
              {"k9", "9"},
              {"l[1].n", "2"},
              {"l[0].n", "1"},
              {"l[1].m", nullptr},
              {"l[1].n", "2"},
              {"a.b[-1]", nullptr},
              {"a.b[]", nullptr},
              {"a.b[1", nullptr},
              {"a.b[x]", nullptr},
              {"a.b[99999999999]", nullptr},
              {"[0]", nullptr},
              {"a.b[2]", "[20,[21]]"}};
  // Every look-up after every other: what one remembers must not mislead the next.
  for (const auto& before : rows) {
    for (const auto& row : rows) {
      Json value;
      int number = 0;
      json.GetValueAsInt(before.path, &number);
      ASSERT_EQ(json.getObject(row.path, value), row.value != nullptr) << before.path << ", then " << row.path;
      if (row.value != nullptr) {
        ASSERT_EQ(value.text(), row.value) << before.path << ", then " << row.path;
      }
    }
  }
  bool flag = true;
  std::string text;
  EXPECT_FALSE(json.GetValueAsString("a.d", text));
  EXPECT_FALSE(json.GetValueAsString("a.b[0]", text));
  EXPECT_FALSE(json.GetValueAsBool("a.b[0]", flag));
  EXPECT_TRUE(json.GetValueAsBool("a.d", flag));
}

TEST(Json, DeepPathsAndCopies) {
  Json json;
  json.load(R"([[[[[[[[[1,2,{"x":[3,4]}]]]]]]]]])");
  const std::string deep = "[0][0][0][0][0][0][0][0]";
  const Json copy = json;
  int value = 0;
  for (const Json* document : std::initializer_list<const Json*>{&json, &copy, &json}) {
    EXPECT_TRUE(document->GetValueAsInt(deep + "[1]", &value) && value == 2);
    EXPECT_TRUE(document->GetValueAsInt(deep + "[2].x[1]", &value) && value == 4);
    EXPECT_TRUE(document->GetValueAsInt(deep + "[2].x[0]", &value) && value == 3);
    EXPECT_FALSE(document->GetValueAsInt(deep + "[3]", &value));
  }
  json.load("[7]");
  EXPECT_TRUE(json.GetValueAsInt("[0]", &value) && value == 7);
  json = copy;
  EXPECT_TRUE(json.GetValueAsInt(deep + "[0]", &value) && value == 1);
}

TEST(Json, GrowsMemberByMember) {
  Json array(Json::Kind::array);
  EXPECT_TRUE(array.empty());
  array.add("1");
  array.add("\"two\"");
  Json object;
  EXPECT_TRUE(object.empty());
  object.add("a", "true");
  object.add("list", array.text());
  EXPECT_FALSE(object.empty());
  EXPECT_EQ(object.text(), R"({"a":true,"list":[1,"two"]})");
  object.clear();
  EXPECT_EQ(object.text(), "{}");
  array.clear();
  EXPECT_EQ(array.text(), "[]");
}

TEST(Json, MemberNames) {
  Json json;
  json.load(R"({"o":{"b":1, "a":{"x":1} ,"b\"":[1,2]},"e":{},"n":1})");
  std::vector<std::string> names;
  EXPECT_TRUE(json.getNames("o", names));
  EXPECT_THAT(names, testing::ElementsAre("b", "a", "b\\\""));
  EXPECT_TRUE(json.getNames("e", names) && names.empty());
  EXPECT_TRUE(json.getNames("", names) && names.size() == 3);
  EXPECT_FALSE(json.getNames("n", names));
}

} // namespace
