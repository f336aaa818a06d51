#include <sys/stat.h>

#include "local_bus.h"

namespace {

class Identity : public LocalBus {};

TEST_F(Identity, SecondLiveProcessGetsNoChannels) {
  Child first(participant(fidA));
  ASSERT_TRUE(first.await());
  start(fidA);
  EXPECT_NE(0, openChannels());
  traced("cannot join the bus as VR001_00001_0000000000AA: another process has it");
  EXPECT_EQ(0, first.finish());
  EXPECT_EQ(0, openChannels());
}

// The program may end without closing its channels.
TEST_F(Identity, NothingStaysBehindAtExit) {
  Child child([](Child&) {
    start(fidA);
    EXPECT_EQ(0, openChannels());
  });
  EXPECT_EQ(0, child.finish());
  EXPECT_TRUE(files().empty());
}

TEST_F(Identity, KilledProcessIsReplacedAtOnce) {
  start(fidB);
  for (int round = 0; round < 3; ++round) {
    Child killed(participant(fidA));
    ASSERT_TRUE(killed.await());
    ASSERT_EQ(0, openChannels());
    EXPECT_EQ(0, send(0, messageTo(fidA, "never read")));
    killed.kill();
    EXPECT_NE(0, send(0, messageTo(fidA, "x"))) << round;
    traced("it is not running");
    Child next([](Child& self) {
      closeChannels(); // what was inherited
      start(fidA);
      EXPECT_EQ(0, openChannels());
      self.signal();
      EXPECT_TRUE(self.await());
      EXPECT_EQ(messageTo(fidA, "again"), receive(2));
    });
    ASSERT_TRUE(next.await());
    EXPECT_EQ(0, send(0, messageTo(fidA, "again")));
    next.signal();
    EXPECT_EQ(0, next.finish());
    closeChannels();
  }
  EXPECT_TRUE(files().empty());
}

TEST_F(Identity, JoiningSweepsWhatOthersLeft) {
  Child running(participant(fidC));
  ASSERT_TRUE(running.await());
  const std::size_t runningFiles = files().size();
  Child killed(participant(fidA));
  ASSERT_TRUE(killed.await());
  killed.kill();
  EXPECT_GT(files().size(), runningFiles);
  start(fidB);
  ASSERT_EQ(0, openChannels());
  closeChannels();
  EXPECT_EQ(runningFiles, files().size());
  EXPECT_EQ(0, running.finish());
}

// Participants that come and go, and are killed, all sweeping after each other: nobody may lose what is in use.
TEST_F(Identity, SweepersLeaveNewcomersAlone) {
  const auto comeAndGo = [](const char* fid) {
    return [fid](Child& self) {
      start(fid);
      for (int i = 0; i < 300; ++i) {
        EXPECT_EQ(0, openChannels()) << fid;
        EXPECT_EQ(0, send(0, messageTo(fid, "own"))) << fid;
        EXPECT_EQ(messageTo(fid, "own"), receive(2)) << fid;
        closeChannels();
      }
      self.signal();
    };
  };
  Child first(comeAndGo(fidA));
  Child second(comeAndGo(fidB));
  for (int i = 0; i < 40; ++i) {
    Child killed(participant(i % 2 != 0 ? fidC : fidD));
    EXPECT_TRUE(killed.await());
    killed.kill();
  }
  EXPECT_EQ(0, first.finish());
  EXPECT_EQ(0, second.finish());
}

// A child forked by the application ends without touching what its parent uses.
TEST_F(Identity, ForkedChildRemovesNothing) {
  start(fidA);
  ASSERT_EQ(0, openChannels());
  EXPECT_EQ(0, Child([](Child&) { destroyTransferChannel(1); }).finish());
  EXPECT_EQ(0, send(0, messageTo(fidA, "still here")));
  EXPECT_NE("", receive(2));
  EXPECT_EQ(0, send(3, messageTo(fidA, "here too")));
  EXPECT_NE("", receive(1));
}

TEST_F(Identity, OneIdentifierAtATime) {
  EXPECT_NE(0, (start(""), createTransferChannel(1, 2)));
  traced("no own identifier");
  start(fidA);
  ASSERT_EQ(0, createTransferChannel(1, 2));
  start(fidB);
  EXPECT_NE(0, createTransferChannel(2, 2));
  traced("channels of another identifier are open");
}

TEST_F(Identity, IdentifiersNameNoOtherFiles) {
  for (const std::string fid : {"VR 1_    2_../../../../0", "VR001_00001_00000000\"00\\", "VR001_00001_%2F%2F%2F%2F"}) {
    start(fid);
    ASSERT_EQ(0, openChannels()) << fid;
    EXPECT_EQ(3U, files().size());
    std::vector<orvane_parent> found;
    EXPECT_TRUE(Topology().get_topology(found));
    ASSERT_EQ(1U, found.size());
    EXPECT_EQ(fid, found[0].attr1);
    closeChannels();
    EXPECT_TRUE(files().empty());
  }
}

TEST_F(Identity, UnsafeDirectoriesAreRefused) {
  const std::string good = directory_ + "/good";
  const struct {
    const char* name;
    std::function<void(const std::string&)> make;
    const char* reason; // null: it is used
  } rows[] = {
      {"missing", [](const std::string&) {}, nullptr},
      {"missing/below/", [](const std::string&) {}, "No such file or directory"},
      {"link", [&](const std::string& path) { ASSERT_EQ(0, ::symlink(good.c_str(), path.c_str())); }, "is a link"},
      {"file", [](const std::string& path) { std::ofstream(path) << ""; }, "is not a directory"},
      {"shared",
       [](const std::string& path) {
         ::mkdir(path.c_str(), 0700);
         ASSERT_EQ(0, ::chmod(path.c_str(), 0720));
       },
       "may be written to by others"},
  };
  ASSERT_EQ(0, ::mkdir(good.c_str(), 0700));
  for (const auto& row : rows) {
    std::filesystem::remove(directory_ + "/missing");
    const std::string path = directory_ + '/' + row.name;
    row.make(path);
    ASSERT_TRUE(ovk_local_set_bus_directory(path.c_str()));
    start(fidA);
    EXPECT_EQ(row.reason == nullptr, openChannels() == 0) << row.name;
    if (row.reason != nullptr) traced(row.reason);
    closeChannels();
  }
  EXPECT_EQ(0, ::access(good.c_str(), W_OK));
  if (::geteuid() == 0) {
    ASSERT_EQ(0, ::chown(good.c_str(), 65534, 65534));
    ASSERT_TRUE(ovk_local_set_bus_directory(good.c_str()));
    EXPECT_NE(0, openChannels());
    traced("belongs to another user");
  }
}

TEST_F(Identity, LongPathsAreRefused) {
  const std::string longest = directory_ + '/' + std::string(79 - directory_.size() - 1, 'd');
  EXPECT_FALSE(ovk_local_set_bus_directory((longest + 'd').c_str()));
  EXPECT_EQ(directory_, ovk_local_bus_directory());
  ASSERT_TRUE(ovk_local_set_bus_directory((longest + '/').c_str()));
  EXPECT_EQ(longest, ovk_local_bus_directory());
  start(fidA);
  EXPECT_EQ(0, openChannels());
  closeChannels();
  start("VR 01_00001_0000000000AA"); // its name is longer than it
  EXPECT_NE(0, openChannels());
  traced("VR%2001_00001_0000000000AA.c1 has 109 characters, the limit is 107");
}

} // namespace
