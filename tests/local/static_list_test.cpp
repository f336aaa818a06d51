#include <atomic>
#include <sys/mman.h>

#include "local_bus.h"

namespace {

class StaticList : public LocalBus {
protected:
  static std::string list(const std::string& selector = "") {
    std::vector<orvane_parent> parents;
    EXPECT_TRUE(Topology().get_static_members(parents, selector));
    return textOf(parents);
  }
  std::string fileText() const {
    std::ifstream file(path("topology.json"));
    return {std::istreambuf_iterator<char>(file), {}};
  }
};

TEST_F(StaticList, IsEdited) {
  writeTopology(R"({ "controllers" : [ {"fid":"@B", "name":"a\\b\"", "model":"m", "version":"v",
                                       "sensors":[{"fid":"@E","name":"n","model":"m"}]} ] })");
  start(fidA);
  Topology service;
  const std::string one = "VR009_00007_000000000001";
  const std::string two = "VR009_00007_000000000002";
  EXPECT_NE(0, service.set_static_member(fidB, two));
  EXPECT_NE(0, service.set_static_member(fidB, one, "Pump"));
  EXPECT_NE(0, service.set_static_member(fidA, "VR009_00007_000000000003", "Fan"));
  EXPECT_NE(0, service.set_static_member(fidB, one)); // keeps the name
  const std::string ofA = fidA + "||||online|1 [VR009_00007_000000000003|Fan||online]\n"s;
  const std::string ofB = fidB + "|a\\\\b\\\"|m|v|offline|2 ["s + one;
  EXPECT_EQ(ofA + ofB + "|Pump||offline] [" + two + "|||offline]\n", list());
  EXPECT_EQ(ofA, list(fidA));
  EXPECT_EQ("", list(fidC));
  EXPECT_NE(0, service.set_static_member(fidB, one, ""));
  EXPECT_NE(0, service.delete_static_member(fidB, two));
  EXPECT_EQ(0, service.delete_static_member(fidB, two));
  EXPECT_EQ(0, service.delete_static_member(fidC, one));
  EXPECT_EQ(ofA + ofB + "|||offline]\n", list());
  std::string parent;
  EXPECT_NE(0, service.get_parent_fid(fidE, parent)); // what nobody edited is still there
  EXPECT_EQ(fidB, parent);
}

TEST_F(StaticList, RefusesWhatWouldSpoilTheFile) {
  writeTopology(R"({"controllers":[{"fid":"@B"}],"static":[{"parent":"@B","fid":"@E"}]})");
  const std::string before = fileText();
  const struct {
    std::string parent, fid, name;
    const char* reason;
  } rows[] = {
      {"VR1", fidC, "", "identifier 'VR1' does not have the 24 characters"},
      {fidB, "VR001_00003_000000000\"CC", "", "identifier 'VR001_00003_000000000\"CC' holds a quote"},
      {fidB, fidC, "a\"b", "the name holds a quote"},
      {fidB, fidC, "a\\b", "the name holds a quote, a backslash"},
      {fidB, fidC, "a\nb", "the name holds a quote, a backslash or a control character"},
      {fidA, fidE, "", "VR009_00005_0000000000EE occurs twice"},
      {fidA, fidB, "", "VR001_00002_0000000000BB occurs twice"},
      {fidA, fidA, "", "VR001_00001_0000000000AA is its own parent"},
  };
  start(fidA);
  for (const auto& row : rows) {
    EXPECT_EQ(0, Topology().set_static_member(row.parent, row.fid, row.name)) << row.reason;
    traced(row.reason);
    EXPECT_EQ(before, fileText()) << row.reason;
  }
  writeTopology("{broken");
  EXPECT_EQ(0, Topology().set_static_member(fidB, fidC));
  traced("not valid JSON");
  EXPECT_EQ("{broken", fileText());
  const std::string file = path("topology.json");
  for (const auto& [name, reason] : {std::pair(file + ".new", "cannot write: "), {file, "not a file of"}}) {
    std::filesystem::remove(file);
    ASSERT_TRUE(std::filesystem::create_directory(name));
    EXPECT_EQ(0, Topology().set_static_member(fidB, fidC));
    traced(reason);
  }
  std::filesystem::remove(file);
  std::filesystem::create_symlink(file, file);
  EXPECT_EQ(0, Topology().set_static_member(fidB, fidC));
  traced("cannot open: ");
}

std::string deviceOf(int editor, int number) {
  return "VR00" + std::to_string(editor) + '_' + std::to_string(10000 + number) + "_000000000000";
}

// Two editors at once, one of them killed: every edit that reported success is there, and nothing else but the edit in
// which the other one died.
TEST_F(StaticList, EditorsLoseNothing) {
  constexpr int edits = 1000;
  void* const shared = ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(MAP_FAILED, shared);
  auto* const done = static_cast<std::atomic<int>*>(shared);
  const auto editor = [&](int self) {
    return [=](Child& child) {
      for (; done[self] < edits; ++done[self]) {
        if (done[self] == edits / 3) child.signal();
        ASSERT_NE(0, Topology().set_static_member(fidA, deviceOf(self, done[self]), "n"));
      }
    };
  };
  Child first(editor(1));
  Child second(editor(2));
  ASSERT_TRUE(second.await());
  second.kill();
  EXPECT_EQ(0, first.finish());
  start(fidA);
  std::vector<orvane_parent> parents;
  ASSERT_TRUE(Topology().get_static_members(parents, fidA));
  std::vector<std::string> found;
  for (const ovk_topology_sensor_t& member : parents.at(0).members) found.push_back(member.attr1);
  std::vector<std::string> expected;
  for (const int self : {1, 2})
    for (int i = 0; i < done[self]; ++i) expected.push_back(deviceOf(self, i));
  if (found.size() > expected.size()) expected.push_back(deviceOf(2, done[2]));
  EXPECT_EQ(edits, done[1]);
  EXPECT_TRUE(done[2] >= edits / 3 && done[2] < edits) << done[2];
  EXPECT_EQ(expected, found);
  ::munmap(shared, 4096);
}

} // namespace
