#include <chrono>
#include <fcntl.h>

#include "local_bus.h"

namespace {

using std::string_literals::operator""s;

std::string text(const orvane_parent& parent) {
  std::string all = parent.attr1 + '|' + parent.attr2 + '|' + parent.attr3 + '|' + parent.attr4 + '|' + parent.attr5 +
                    '|' + std::to_string(parent.kind);
  for (const auto& member : parent.members)
    all += " [" + member.attr1 + '|' + member.attr2 + '|' + member.attr3 + '|' + member.attr4 + ']';
  return all;
}

std::vector<std::string> list() {
  std::vector<orvane_parent> parents;
  EXPECT_TRUE(Topology().get_topology(parents));
  std::vector<std::string> texts;
  for (const auto& parent : parents) texts.push_back(text(parent));
  return texts;
}

using Texts = std::vector<std::string>;

class TopologyService : public LocalBus {
protected:
  // Lets the time for which a snapshot is trusted pass.
  static bool eventually(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!condition())
      if (std::chrono::steady_clock::now() > end) return false;
    return true;
  }
};

TEST_F(TopologyService, ListsRunningAndConfigured) {
  writeFile("topology.json", R"({"controllers":[
    {"fid":")"s + fidD + R"(","name":"Boiler \"2\"","model":"C4","version":"2.1",
     "sensors":[{"fid":"VR009_00002_000000000002","name":"Flow","model":"S1"},{"fid":"VR009_00001_000000000001"}]},
    {"fid":")" + fidB + R"(","name":"Hall"}],
    "static":[{"parent":")" + fidC +
                                 R"(","fid":"VR009_00003_000000000003","name":"Pump"}]})");
  Child other(participant(fidB));
  ASSERT_TRUE(other.await());
  start(fidA);
  EXPECT_EQ((Texts{fidA + "||||online|1"s, fidB + "|Hall|||online|1"s,
                   fidC + "||||offline|2 [VR009_00003_000000000003|Pump||offline]"s,
                   fidD + "|Boiler \\\"2\\\"|C4|2.1|offline|2 [VR009_00001_000000000001|||offline]"
                          " [VR009_00002_000000000002|Flow|S1|offline]"s}),
            list());
  const struct {
    const char *fid, *parent; // null: unknown
  } rows[] = {{fidA, fidA},
              {fidB, fidB},
              {fidC, fidC},
              {fidD, fidD},
              {"VR009_00002_000000000002", fidD},
              {"VR009_00003_000000000003", fidC},
              {"VR009_00004_000000000004", nullptr},
              {"", nullptr}};
  for (const auto& row : rows) {
    std::string parent = "untouched";
    EXPECT_EQ(row.parent != nullptr, Topology().get_parent_fid(row.fid, parent) != 0) << row.fid;
    EXPECT_EQ(row.parent != nullptr ? row.parent : "untouched", parent);
    EXPECT_EQ(row.parent != nullptr, Topology().is_orvane_member(row.fid) != 0) << row.fid;
  }
}

TEST_F(TopologyService, OwnIdentifier) {
  std::string fid = "untouched";
  start("");
  EXPECT_EQ(0, Topology().get_my_fid(fid));
  EXPECT_EQ("untouched", fid);
  start(fidA);
  EXPECT_NE(0, Topology().get_my_fid(fid));
  EXPECT_EQ(fidA, fid);
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
  EXPECT_EQ(fidB + "||||online|1"s, list().back());
  killed.kill();
  EXPECT_TRUE(eventually([] { return list().back() == fidB + "||||offline|2"s; }));
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
  writeFile("topology.json", R"({"controllers":[{"fid":")"s + fidB + R"(","name":"n","model":"m","version":"v"}]})");
  TopologyDoWork(nullptr, nullptr, nullptr);
  work();
  work();
  ASSERT_EQ(1, changes);
  ASSERT_EQ(2U, lastList.size());
  EXPECT_EQ("n m v offline",
            lastList[1].attr2 + ' ' + lastList[1].attr3 + ' ' + lastList[1].attr4 + ' ' + lastList[1].attr5);
  EXPECT_EQ(2, lastList[1].kind);
  Child other(participant(fidB));
  ASSERT_TRUE(other.await());
  work();
  EXPECT_EQ(2, changes);
  EXPECT_EQ(1, lastList[1].kind);
  EXPECT_EQ(0, other.finish());
  work();
  EXPECT_EQ(3, changes);
  // An edit in place does not touch the directory.
  writeFile("topology.json", "{}");
  EXPECT_TRUE(eventually([&] { return work(), changes == 4; }));
  EXPECT_EQ(1U, lastList.size());
}

TEST_F(TopologyService, FaultyFileIsIgnoredAsAWhole) {
  const std::string good = R"({"fid":")"s + fidB + "\"}";
  const struct {
    std::string text;
    const char* fault;
  } rows[] = {
      {R"({"controllers":[)" + good, "the text is not valid JSON"},
      {"", "the text is not valid JSON"},
      {"[]", "the text is not an object"},
      {R"("{}")", "the text is not an object"},
      {R"({"controllers":[)" + good + R"(],"sensors":[]})", "sensors is not a known member"},
      {R"({"static":[],"static":[]})", "static occurs twice"},
      {R"({"controllers":{}})", "controllers is not an array"},
      {R"({"controllers":"[]"})", "controllers is not an array"},
      {R"({"controllers":[)" + good + R"(,7]})", "controllers[1] is not an object"},
      {R"({"controllers":[)" + good + R"(,{"name":"x"}]})", "controllers[1].fid is missing"},
      {R"({"controllers":[{"fid":"VR001"}]})", "controllers[0].fid does not have the 24 characters of an identifier"},
      {R"({"controllers":[{"fid":"VR001_00002_00000000\"BB"}]})", "controllers[0].fid holds a quote"},
      {R"({"controllers":[{"fid":")"s + fidB + R"(","name":5}]})", "controllers[0].name is not a text"},
      {R"({"controllers":[{"fid":")"s + fidB + "\",\"name\":\"a\nb\"}]}",
       "controllers[0].name holds a control character"},
      {R"({"controllers":[{"fid":")"s + fidB + R"(","sensors":[{"fid":")" + fidC + R"(","kind":1}]}]})",
       "controllers[0].sensors[0].kind is not a known member"},
      {R"({"controllers":[)" + good + ',' + good + "]}", "VR001_00002_0000000000BB occurs twice"},
      {R"({"controllers":[)" + good + R"(],"static":[{"fid":")" + fidC + R"("}]})", "static[0].parent is missing"},
      {R"({"static":[{"parent":")"s + fidB + R"(","fid":")" + fidB + R"("}]})",
       "VR001_00002_0000000000BB is its own parent"},
  };
  for (const auto& row : rows) {
    writeFile("topology.json", row.text);
    start(fidA);
    EXPECT_EQ((Texts{fidA + "||||online|1"s}), list()) << row.text;
    traced("/topology.json ignored: "s + row.fault);
    list();
    EXPECT_EQ("", trace_) << "once";
    std::vector<orvane_parent> statics;
    EXPECT_FALSE(Topology().get_static_members(statics, ""));
    std::filesystem::remove(directory_ + "/topology.json");
    start(fidA);
  }
}

TEST_F(TopologyService, UnusableDirectoryGivesNoTopology) {
  std::vector<orvane_parent> parents;
  ASSERT_TRUE(ovk_local_set_bus_directory((directory_ + "/no/way").c_str()));
  start(fidA);
  EXPECT_FALSE(Topology().get_topology(parents));
  EXPECT_FALSE(Topology().get_static_members(parents, ""));
  EXPECT_EQ(trace_.find("refused"), trace_.rfind("refused")) << "said once: " << trace_;
  EXPECT_NE(0, Topology().is_orvane_member(fidA));
  EXPECT_EQ(0, Topology().set_static_member(fidA, fidB));
}

} // namespace
