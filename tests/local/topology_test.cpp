#include <chrono>
#include <fcntl.h>
#include <thread>

#include "local_bus.h"
#include "support/sections.h"

namespace {

using TopologyService = LocalBus;

constexpr timespec longAgo[] = {{1, 0}, {1, 0}};

// Within the time for which a snapshot is trusted, and some more.
bool eventually(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (!condition())
    if (std::chrono::steady_clock::now() > end) return false;
  return true;
}

TEST_F(TopologyService, ListsRunningAndConfigured) {
  writeTopology(R"({"controllers":[{"fid":"@D","name":"Boiler \"2\"","model":"C4","version":"2.1",
                                    "sensors":[{"fid":"@F","name":"Flow","model":"S1"},{"fid":"@E"}]},
                                   {"fid":"@B","name":"Hall"}],
                    "static":[{"parent":"@C","fid":"VR009_00007_000000000000","name":"Pump"}]})");
  const Participant other(fidB);
  std::string own;
  EXPECT_EQ(0, (start(""), Topology().get_my_fid(own)));
  EXPECT_NE(0, (start(fidA), Topology().get_my_fid(own)));
  EXPECT_EQ(fidA, own);
  EXPECT_EQ(withFids("@A||||online|1\n@B|Hall|||online|1\n"
                     "@C||||offline|2 [VR009_00007_000000000000|Pump||offline]\n"
                     "@D|Boiler \\\"2\\\"|C4|2.1|offline|2 [@E|||offline] [@F|Flow|S1|offline]\n"),
            topology());
  for (const auto& [fid, parent] : {std::pair("@A", "@A"),
                                    {"@B", "@B"},
                                    {"@D", "@D"},
                                    {"@E", "@D"},
                                    {"", "?"},
                                    {"VR009_00007_000000000000", "@C"},
                                    {"VR009_00007_000000000001", "?"}}) {
    std::string found = "?"; // which stays where nothing is found
    EXPECT_EQ(*parent != '?', Topology().get_parent_fid(withFids(fid), found) != 0) << fid;
    EXPECT_EQ(withFids(parent), found) << fid;
    EXPECT_EQ(*parent != '?', Topology().is_orvane_member(withFids(fid)) != 0) << fid;
  }
  ASSERT_EQ(0, ::chmod(directory_.c_str(), 0777)); // a bus that others may write to is refused
  EXPECT_EQ(0, Topology().is_orvane_member(fidB));
  ASSERT_EQ(0, ::chmod(directory_.c_str(), 0700));
  EXPECT_NE(0, Topology().is_orvane_member(fidB));
}

// Every change is seen by the very next question, even within one step of the file clock.
TEST_F(TopologyService, SeesOthersComeAndGoAtOnce) {
  start(fidA);
  for (int round = 0; round < 20; ++round) {
    Participant other(fidB);
    EXPECT_NE(0, Topology().is_orvane_member(fidB)) << round;
    EXPECT_EQ(0, other.finish());
    EXPECT_EQ(0, Topology().is_orvane_member(fidB)) << round;
  }
}

TEST_F(TopologyService, KilledProcessGoesOffline) {
  start(fidA);
  Participant killed(fidB);
  ASSERT_EQ(0, ::utimensat(AT_FDCWD, directory_.c_str(), longAgo, 0)); // nothing but the full look can tell
  EXPECT_EQ(withFids("@A||||online|1\n@B||||online|1\n"), topology());
  killed.kill();
  EXPECT_TRUE(eventually([] { return topology() == withFids("@A||||online|1\n@B||||offline|2\n"); }));
}

// What the application was told: its list, and a full stop after each telling.
std::string told;
unsigned tell(std::vector<ovk_topology_controller_t>& controllers) {
  const fake::Undisturbed undisturbed;
  for (const ovk_topology_controller_t& controller : controllers) told += textOf(controller) + '\n';
  told += '.';
  TopologyDoWork(nullptr, nullptr, tell); // is no new change
  return 0;
}

TEST_F(TopologyService, StaysAsItWasWhileDescriptorsAreShort) {
  const Participant other(fidB);
  takePart(fidA);
  const std::string known = topology();
  writeTopology("{}"); // which makes a look due
  withoutDescriptors([&] {
    std::vector<orvane_parent> found;
    for (int times = 0; times < 2; ++times) EXPECT_FALSE(Topology().get_topology(found));
    EXPECT_NE(0, Topology().is_orvane_member(fidB));
    std::filesystem::rename(directory_, directory_ + ".away");
    EXPECT_EQ(0, ::mkdir(directory_.c_str(), 0700)); // which would have to be opened
    EXPECT_NE(0, Topology().is_orvane_member(fidB));
    std::filesystem::rename(directory_ + ".away", directory_);
  });
  EXPECT_EQ(trace_.find("no topology"), trace_.rfind("no topology")) << "said once: " << trace_;
  traced("no topology, bus directory cannot be read now: Too many open files");
  EXPECT_EQ(known, topology());
}

// Whatever memory is missing in a look, the next one finds all, and each change is told once.
TEST_F(TopologyService, StaysWholeWithoutMemory) {
  const auto rewrite = [this](const char* text) {
    std::filesystem::remove(path("topology.json")); // which makes a look due
    writeTopology(text);
  };
  const char* const text =
      R"({"controllers":[{"fid":"@D","sensors":[{"fid":"@E"}]}],"static":[{"parent":"@B","fid":"@F"}]})";
  const Participant other(fidB);
  start(fidA);
  rewrite(text);
  const std::string known = topology();
  const auto look = [] { TopologyDoWork(nullptr, nullptr, tell); };
  const auto change = [&] {
    rewrite("{}");
    EXPECT_NE(known, topology());
    look();
    told.clear();
    rewrite(text);
    std::this_thread::sleep_for(std::chrono::milliseconds(25)); // file times settle, so that a look may be trusted
  };
  fake::failEachNew(change, look, [&](fake::Ending /*ending*/) {
    std::vector<orvane_parent> found;
    look();
    EXPECT_EQ(1, std::count(told.begin(), told.end(), '.'));
    EXPECT_EQ(known, topology());
    for (const int fid : {0, 1, 3, 4, 5}) EXPECT_NE(0, Topology().is_orvane_member(fids[fid]));
    EXPECT_TRUE(Topology().get_static_members(found, "") && found.size() == 1);
  });
}

TEST_F(TopologyService, TellsOfChanges) {
  const auto toldNow = [] {
    told.clear();
    TopologyDoWork(nullptr, nullptr, tell);
    return told;
  };
  for (const char* own : {"", fidA}) EXPECT_EQ("", (start(own), toldNow()));
  writeTopology(R"({"controllers":[{"fid":"@B","name":"n","model":"m","version":"v"}]})");
  TopologyDoWork(nullptr, nullptr, nullptr);
  EXPECT_EQ(withFids("@A||||online|1\n@B|n|m|v|offline|2\n."), toldNow());
  EXPECT_EQ("", toldNow());
  Participant other(fidB);
  EXPECT_EQ(withFids("@A||||online|1\n@B|n|m|v|online|1\n."), toldNow());
  EXPECT_EQ(0, other.finish());
  EXPECT_EQ(withFids("@A||||online|1\n@B|n|m|v|offline|2\n."), toldNow());
  writeTopology("{}"); // an edit in place does not touch the directory
  EXPECT_TRUE(eventually([&] { return toldNow() == withFids("@A||||online|1\n."); }));
}

// As some editors and copying programs leave it.
TEST_F(TopologyService, FileOfTheSameSizeAndTimeIsReadAgain) {
  start(fidA);
  for (const char* fid : {fidB, fidC}) {
    writeTopology(R"({"controllers":[{"fid":")"s + fid + "\"}]}");
    ASSERT_EQ(0, ::utimensat(AT_FDCWD, path("topology.json").c_str(), longAgo, 0));
    EXPECT_TRUE(eventually([=] { return Topology().is_orvane_member(fid) != 0; })) << fid;
  }
}

TEST_F(TopologyService, FaultyFileIsIgnoredAsAWhole) {
  const std::string ignored = path("topology.json") + " ignored: ";
  expectFaults(OVK_TEST_DATA "/local/topology_faults.txt", [&](const std::string& text) {
    std::filesystem::remove(path("topology.json"));
    start(fidA);
    writeTopology(text);
    trace_.clear();
    start(fidA);
    EXPECT_EQ(withFids("@A||||online|1\n"), topology()) << text;
    const std::string said = trace_;
    std::vector<orvane_parent> statics;
    EXPECT_FALSE(Topology().get_static_members(statics, "")) << text;
    EXPECT_EQ(said, trace_) << "said once";
    const std::size_t at = said.find(ignored);
    return at == std::string::npos ? said : said.substr(at + ignored.size(), said.find('\n', at) - at - ignored.size());
  });
}

} // namespace
