#include <chrono>
#include <gmock/gmock.h>
#include <sstream>

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
    std::ostringstream text;
    text << std::ifstream(path("topology.json")).rdbuf();
    return text.str();
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
  const std::string ofB = fidB + "|a\\\\b\\\"|m|v|offline|2 ["s;
  EXPECT_EQ(ofA + ofB + one + "|Pump||offline] [" + two + "|||offline]\n", list());
  EXPECT_EQ(ofA, list(fidA));
  EXPECT_EQ("", list(fidC));
  EXPECT_NE(0, service.set_static_member(fidB, one, ""));
  EXPECT_NE(0, service.delete_static_member(fidB, two));
  EXPECT_EQ(0, service.delete_static_member(fidB, two));
  EXPECT_EQ(0, service.delete_static_member(fidC, one));
  EXPECT_EQ(ofA + ofB + one + "|||offline]\n", list());
  EXPECT_EQ(ofA + ofB + fidE + "|n|m|offline] [" + one + "|||offline]\n", topology()) << "nobody edited the sensor";
  EXPECT_EQ(std::filesystem::perms(0600), std::filesystem::status(path("topology.json")).permissions());
}

TEST_F(StaticList, RefusesWhatWouldSpoilTheFile) {
  writeTopology(R"({"controllers":[{"fid":"@B"}],"static":[{"parent":"@B","fid":"@E"}]})");
  const auto refused = [this](const char* parent, const char* fid, const char* name, const char* reason) {
    const std::string before = fileText();
    EXPECT_EQ(0, Topology().set_static_member(parent, fid, name)) << reason;
    traced(reason);
    EXPECT_EQ(before, fileText()) << reason;
  };
  start(fidA);
  refused("VR1", fidC, "", "identifier 'VR1' does not have the 24 characters");
  refused(fidB, "VR001_00003_000000000\"CC", "", "identifier 'VR001_00003_000000000\"CC' holds a quote");
  for (const char* name : {"a\"b", "a\\b", "a\nb"})
    refused(fidB, fidC, name, "the name holds a quote, a backslash or a control character");
  refused(fidA, fidE, "", "VR009_00005_0000000000EE occurs twice");
  refused(fidA, fidB, "", "VR001_00002_0000000000BB occurs twice");
  refused(fidA, fidA, "", "VR001_00001_0000000000AA is its own parent");
  writeTopology("{broken");
  refused(fidB, fidC, "", "not valid JSON");
  const std::string file = path("topology.json");
  for (const auto& [name, reason] : {std::pair(file + ".new", "cannot write: "), {file, "not a file"}}) {
    std::filesystem::remove(file);
    ASSERT_TRUE(std::filesystem::create_directory(name));
    refused(fidB, fidC, "", reason);
  }
  std::filesystem::remove(file);
  std::filesystem::create_symlink(file, file);
  refused(fidB, fidC, "", "cannot open: ");
}

// A signal interrupts each pause of an edit as soon as it begins. The edit still waits for no longer than one pause.
TEST_F(StaticList, EditsEndUnderRapidSignals) {
  static volatile std::sig_atomic_t signals = 0;
  Child editor([](Child& self) {
    start(fidA);
    std::signal(SIGALRM, [](int) {
      signals = signals + 1;
      const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(10);
      while (std::chrono::steady_clock::now() < end) {
      }
    });
    self.signal();
    EXPECT_NE(0, Topology().set_static_member(fidA, fidB, "n"));
    std::signal(SIGALRM, SIG_IGN);
    EXPECT_GE(5, signals);
  });
  EXPECT_TRUE(editor.await());
  for (char state = 'R'; state != 'Z'; state = editor.state())
    if (state == 'S') editor.kill(SIGALRM);
  EXPECT_EQ(0, editor.finish());
}

// Two editors at once, one of them killed: every edit that reported success is there, and nothing else but the edit in
// which the other one died.
TEST_F(StaticList, EditorsLoseNothing) {
  const auto device = [](int editor, int number) {
    return "VR00" + std::to_string(editor) + '_' + std::to_string(10000 + number) + "_000000000000";
  };
  const auto edit = [&](int editor, int number) {
    return Topology().set_static_member(fidA, device(editor, number), "n") != 0;
  };
  const auto entry = [&](int editor, int number) { return " [" + device(editor, number) + "|n||online]"; };
  Child other([&](Child& self) {
    for (int i = 0; edit(2, i); ++i) self.signal();
  });
  std::string expected = fidA + "||||online|1"s;
  for (int i = 0; i < 600; ++i) {
    if (i == 200) other.kill();
    ASSERT_TRUE(edit(1, i) && (i >= 200 || other.await()));
    expected += entry(1, i);
  }
  int others = 200;
  while (other.await()) ++others;
  for (int i = 0; i < others; ++i) expected += entry(2, i);
  start(fidA);
  EXPECT_THAT(list(fidA), ::testing::AnyOf(expected + '\n', expected + entry(2, others) + '\n'));
}

} // namespace
