#include <map>

#include "local_bus.h"

namespace {

using std::string_literals::operator""s;

class StaticList : public LocalBus {
protected:
  // "parent state: device name, ..." for each parent.
  static std::string list(const std::string& selector = "") {
    std::vector<orvane_parent> parents;
    EXPECT_TRUE(Topology().get_static_members(parents, selector));
    std::string all;
    for (const auto& parent : parents) {
      all += parent.attr1 + ' ' + parent.attr2 + ' ' + parent.attr5 + ':';
      for (const auto& member : parent.members)
        all += ' ' + member.attr1 + '=' + member.attr2 + member.attr3 + ',' + member.attr4;
      all += '\n';
    }
    return all;
  }
  std::string fileText() const {
    std::ifstream file(directory_ + "/topology.json");
    return {std::istreambuf_iterator<char>(file), {}};
  }
};

TEST_F(StaticList, IsEdited) {
  writeFile("topology.json", R"({ "controllers" : [ { "fid":")"s + fidB + R"(", "name":"a\\b\"", "model":"m",
            "version":"v", "sensors":[{"fid":"VR009_00001_000000000001","name":"n","model":"m"}]} ] })");
  start(fidA);
  Topology service;
  const std::string one = "VR009_00002_000000000002";
  const std::string two = "VR009_00003_000000000003";
  EXPECT_NE(0, service.set_static_member(fidB, two));
  EXPECT_NE(0, service.set_static_member(fidB, one, "Pump"));
  EXPECT_NE(0, service.set_static_member(fidA, "VR009_00004_000000000004", "Fan"));
  EXPECT_NE(0, service.set_static_member(fidB, one)); // keeps the name
  const std::string ofA = fidA + "  online: VR009_00004_000000000004=Fan,online\n"s;
  EXPECT_EQ(ofA + fidB + " a\\\\b\\\" offline: " + one + "=Pump,offline " + two + "=,offline\n", list());
  EXPECT_EQ(ofA, list(fidA));
  EXPECT_EQ("", list(fidC));
  EXPECT_NE(0, service.set_static_member(fidB, one, ""));
  EXPECT_NE(0, service.delete_static_member(fidB, two));
  EXPECT_EQ(0, service.delete_static_member(fidB, two));
  EXPECT_EQ(0, service.delete_static_member(fidC, one));
  EXPECT_EQ(ofA + fidB + " a\\\\b\\\" offline: " + one + "=,offline\n", list());
  std::string parent;
  EXPECT_NE(0, service.get_parent_fid("VR009_00001_000000000001", parent)); // what nobody edited is still there
  EXPECT_EQ(fidB, parent);
}

TEST_F(StaticList, RefusesWhatWouldSpoilTheFile) {
  const std::string device = "VR009_00002_000000000002";
  writeFile("topology.json", R"({"controllers":[{"fid":")"s + fidB + R"("}],"static":[{"parent":")" + fidB +
                                 R"(","fid":")" + device + R"("}]})");
  const std::string before = fileText();
  const struct {
    std::string parent, fid, name;
    const char* reason;
  } rows[] = {
      {"VR1", fidC, "", "identifier 'VR1' does not have the 24 characters"},
      {fidB, "VR001_00003_000000000\"CC", "", "holds a quote"},
      {fidB, fidC, "a\"b", "the name holds a quote"},
      {fidB, fidC, "a\\b", "the name holds a quote, a backslash"},
      {fidB, fidC, "a\nb", "control character"},
      {fidA, device, "", "occurs twice"},
      {fidA, fidB, "", "occurs twice"},
      {fidA, fidA, "", "is its own parent"},
  };
  start(fidA);
  for (const auto& row : rows) {
    EXPECT_EQ(0, Topology().set_static_member(row.parent, row.fid, row.name)) << row.reason;
    traced(row.reason);
    EXPECT_EQ(before, fileText());
  }
  writeFile("topology.json", "{broken");
  EXPECT_EQ(0, Topology().set_static_member(fidB, fidC));
  traced("not valid JSON");
  EXPECT_EQ("{broken", fileText());
}

// Two editors at once, one of them killed: every edit that reported success is there, and nothing else.
TEST_F(StaticList, EditorsLoseNothing) {
  constexpr int edits = 150;
  const auto deviceOf = [](int editor, int number) {
    return "VR00" + std::to_string(editor) + '_' + std::to_string(10000 + number) + "_000000000000";
  };
  const auto editor = [&](int self) {
    return [self, deviceOf](Child& child) {
      for (int i = 0; i < edits; ++i) {
        if (Topology().set_static_member(fidA, deviceOf(self, i), "n") != 0) child.signal();
      }
      child.await();
    };
  };
  std::map<std::string, bool> expected;
  {
    Child first(editor(1));
    Child second(editor(2));
    for (int i = 0; i < edits / 3; ++i) {
      ASSERT_TRUE(second.await());
      expected[deviceOf(2, i)] = true;
    }
    second.kill();
    for (int i = 0; i < edits; ++i) {
      ASSERT_TRUE(first.await());
      expected[deviceOf(1, i)] = true;
    }
  }
  start(fidA);
  std::vector<orvane_parent> parents;
  ASSERT_TRUE(Topology().get_static_members(parents, fidA));
  ASSERT_EQ(1U, parents.size());
  for (const auto& member : parents[0].members) expected.erase(member.attr1);
  EXPECT_TRUE(expected.empty()) << expected.begin()->first;
}

} // namespace
