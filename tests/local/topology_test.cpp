#include <chrono>
#include <fcntl.h>

#include "local_bus.h"

namespace {

class TopologyService : public LocalBus {
protected:
  static std::string list() {
    std::vector<orvane_parent> parents;
    EXPECT_TRUE(Topology().get_topology(parents));
    return textOf(parents);
  }
  // Lets the time for which a snapshot is trusted pass.
  static bool eventually(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!condition())
      if (std::chrono::steady_clock::now() > end) return false;
    return true;
  }
};

TEST_F(TopologyService, ListsRunningAndConfigured) {
  writeTopology(R"({"controllers":[{"fid":"@D","name":"Boiler \"2\"","model":"C4","version":"2.1",
                                    "sensors":[{"fid":"@F","name":"Flow","model":"S1"},{"fid":"@E"}]},
                                   {"fid":"@B","name":"Hall"}],
                    "static":[{"parent":"@C","fid":"VR009_00007_000000000000","name":"Pump"}]})");
  Child other(participant(fidB));
  ASSERT_TRUE(other.await());
  std::string own;
  EXPECT_EQ(0, (start(""), Topology().get_my_fid(own)));
  EXPECT_NE(0, (start(fidA), Topology().get_my_fid(own)));
  EXPECT_EQ(fidA, own);
  EXPECT_EQ(withFids("@A||||online|1\n@B|Hall|||online|1\n"
                     "@C||||offline|2 [VR009_00007_000000000000|Pump||offline]\n"
                     "@D|Boiler \\\"2\\\"|C4|2.1|offline|2 [@E|||offline] [@F|Flow|S1|offline]\n"),
            list());
  const struct {
    const char *name, *fid, *parent; // null: unknown
  } rows[] = {{"own", fidA, fidA},
              {"running", fidB, fidB},
              {"controller of a static device", fidC, fidC},
              {"configured", fidD, fidD},
              {"sensor", fidE, fidD},
              {"static device", "VR009_00007_000000000000", fidC},
              {"stranger", "VR009_00007_000000000001", nullptr},
              {"nobody", "", nullptr}};
  for (const auto& row : rows) {
    std::string parent = "untouched";
    EXPECT_EQ(row.parent != nullptr, Topology().get_parent_fid(row.fid, parent) != 0) << row.name;
    EXPECT_EQ(row.parent != nullptr ? row.parent : "untouched", parent) << row.name;
    EXPECT_EQ(row.parent != nullptr, Topology().is_orvane_member(row.fid) != 0) << row.name;
  }
}

// Every change is seen by the very next question, even within one step of the file clock.
TEST_F(TopologyService, SeesOthersComeAndGoAtOnce) {
  start(fidA);
  for (int round = 0; round < 20; ++round) {
    Child other(participant(fidB));
    ASSERT_TRUE(other.await());
    EXPECT_NE(0, Topology().is_orvane_member(fidB)) << round;
    EXPECT_EQ(0, other.finish());
    EXPECT_EQ(0, Topology().is_orvane_member(fidB)) << round;
  }
}

TEST_F(TopologyService, KilledProcessGoesOffline) {
  start(fidA);
  Child killed(participant(fidB));
  ASSERT_TRUE(killed.await());
  const timespec longAgo[2] = {{1, 0}, {1, 0}};
  ASSERT_EQ(0, ::utimensat(AT_FDCWD, directory_.c_str(), longAgo, 0)); // nothing but the full look can tell
  EXPECT_EQ(withFids("@A||||online|1\n@B||||online|1\n"), list());
  killed.kill();
  EXPECT_TRUE(eventually([] { return list() == withFids("@A||||online|1\n@B||||offline|2\n"); }));
}

int changes = 0;
std::vector<ovk_topology_controller_t> lastList;
unsigned noteChange(std::vector<ovk_topology_controller_t>& controllers) {
  ++changes;
  lastList = controllers;
  TopologyDoWork(nullptr, nullptr, noteChange); // is no new change
  return 0;
}

TEST_F(TopologyService, TellsOfChanges) {
  const auto work = [] { TopologyDoWork(nullptr, nullptr, noteChange); };
  changes = 0;
  start("");
  work();
  start(fidA);
  work();
  EXPECT_EQ(0, changes);
  writeTopology(R"({"controllers":[{"fid":"@B","name":"n","model":"m","version":"v"}]})");
  TopologyDoWork(nullptr, nullptr, nullptr);
  work();
  work();
  ASSERT_EQ(1, changes);
  ASSERT_EQ(2U, lastList.size());
  const ovk_topology_controller_t& second = lastList[1];
  EXPECT_EQ("n m v offline", second.attr2 + ' ' + second.attr3 + ' ' + second.attr4 + ' ' + second.attr5);
  EXPECT_EQ(2, second.kind);
  Child other(participant(fidB));
  ASSERT_TRUE(other.await());
  work();
  EXPECT_EQ(2, changes);
  EXPECT_EQ(1, lastList[1].kind);
  EXPECT_EQ(0, other.finish());
  work();
  EXPECT_EQ(3, changes);
  writeTopology("{}"); // an edit in place does not touch the directory
  EXPECT_TRUE(eventually([&] { return work(), changes == 4; }));
  EXPECT_EQ(1U, lastList.size());
}

TEST_F(TopologyService, FaultyFileIsIgnoredAsAWhole) {
  const struct {
    const char *text, *fault;
  } rows[] = {
      {R"({"controllers":[{"fid":"@B"})", "the text is not valid JSON"},
      {"[]", "the text is not an object"},
      {R"("{}")", "the text is not an object"},
      {R"({"controllers":[{"fid":"@B"}],"sensors":[]})", "sensors is not a known member"},
      {R"({"static":[],"static":[]})", "static occurs twice"},
      {R"({"controllers":"[]"})", "controllers is not an array"},
      {R"({"controllers":[{"fid":"@B"},7]})", "controllers[1] is not an object"},
      {R"({"controllers":[{"fid":"@B"},{"name":"x"}]})", "controllers[1].fid is missing"},
      {R"({"controllers":[{"fid":"VR001"}]})", "controllers[0].fid does not have the 24 characters of an identifier"},
      {R"({"controllers":[{"fid":"@B","name":5}]})", "controllers[0].name is not a text"},
      {"{\"controllers\":[{\"fid\":\"@B\",\"name\":\"\n\"}]}", "controllers[0].name holds a control character"},
      {R"({"controllers":[{"fid":"@B","sensors":[{"fid":"@C","kind":1}]}]})",
       "controllers[0].sensors[0].kind is not a known member"},
      {R"({"controllers":[{"fid":"@B"},{"fid":"@B"}]})", "VR001_00002_0000000000BB occurs twice"},
      {R"({"controllers":[{"fid":"@B"}],"static":[{"fid":"@C"}]})", "static[0].parent is missing"},
      {R"({"static":[{"parent":"@B","fid":"@B"}]})", "VR001_00002_0000000000BB is its own parent"},
  };
  for (const auto& row : rows) {
    writeTopology(row.text);
    start(fidA);
    EXPECT_EQ(withFids("@A||||online|1\n"), list()) << row.text;
    traced("/topology.json ignored: "s + row.fault);
    std::vector<orvane_parent> statics;
    EXPECT_FALSE(Topology().get_static_members(statics, "")) << row.text;
    EXPECT_EQ("", trace_) << "said once";
    std::filesystem::remove(path("topology.json"));
    start(fidA);
  }
}

} // namespace
