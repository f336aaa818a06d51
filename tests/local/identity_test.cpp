#include <sys/stat.h>

#include "local_bus.h"
#include "platform/local/file_lock.h"

namespace {

class Identity : public LocalBus {};

// The program may end without closing its channels.
TEST_F(Identity, NothingStaysBehindAtExit) {
  Child child([](Child&) {
    start(fidA);
    EXPECT_EQ(0, openChannels());
  });
  EXPECT_EQ(0, child.finish());
  EXPECT_EQ(0, files());
}

TEST_F(Identity, JoiningSweepsWhatOthersLeft) {
  Child running(participant(fidC));
  ASSERT_TRUE(running.await());
  const auto runningFiles = files();
  Child killed(participant(fidA));
  ASSERT_TRUE(killed.await());
  killed.kill();
  EXPECT_GT(files(), runningFiles);
  start(fidB);
  ASSERT_EQ(0, openChannels());
  closeChannels();
  EXPECT_EQ(runningFiles, files());
}

// Participants that come and go, and are killed, all sweeping after each other: nobody may lose what is in use.
TEST_F(Identity, SweepersLeaveNewcomersAlone) {
  const auto comeAndGo = [](const char* fid) {
    return [fid](Child&) {
      start(fid);
      for (int i = 0; i < 300; ++i) {
        EXPECT_EQ(0, openChannels()) << fid;
        EXPECT_EQ(0, send(0, messageTo(fid, "own"))) << fid;
        EXPECT_EQ(messageTo(fid, "own"), receive(2)) << fid;
        closeChannels();
      }
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

TEST_F(Identity, WhatStandsInTheWayRefusesTheChannel) {
  const std::string lock = fidA + ".lock"s;
  std::ofstream(path(lock)) << "";
  start(fidA);
  std::optional<ovk::local::FileLock> sweeper; // that hangs
  ovk::local::FileLock::take(ovk::local::busDirectory(), lock, ovk::local::FileLock::Purpose::sweep, sweeper);
  EXPECT_NE(0, createTransferChannel(1, 2));
  traced("another process has it");
  sweeper.reset();
  ASSERT_TRUE(std::filesystem::create_directory(path(fidA + ".c1"s)));
  EXPECT_NE(0, createTransferChannel(1, 2));
  traced("cannot listen at ");
}

TEST_F(Identity, IdentifiersNameNoOtherFiles) {
  for (const std::string fid : {"VR 1_    2_../../../../0", "VR001_00001_00000000\"00\\", "VR001_00001_%2F%2F%2F%2F"}) {
    start(fid);
    ASSERT_EQ(0, openChannels()) << fid;
    EXPECT_EQ(3, files());
    std::vector<orvane_parent> found;
    EXPECT_TRUE(Topology().get_topology(found));
    EXPECT_EQ(fid + "||||online|1\n", textOf(found));
    closeChannels();
    EXPECT_EQ(0, files());
  }
}

TEST_F(Identity, UnsafeDirectoriesAreRefused) {
  ASSERT_EQ(0, ::mkdir(path("good").c_str(), 0700));
  ASSERT_EQ(0, ::mkdir(path("shared").c_str(), 0700) | ::chmod(path("shared").c_str(), 0720));
  ASSERT_EQ(0, ::mkdir(path("foreign").c_str(), 0700));
  ASSERT_EQ(0, ::symlink(path("good").c_str(), path("link").c_str()));
  std::ofstream(path("file")) << "";
  const bool root = ::geteuid() == 0; // others cannot give a directory away
  ASSERT_TRUE(!root || ::chown(path("foreign").c_str(), 65534, 65534) == 0);
  const struct {
    const char *name, *reason; // empty: it is used
  } rows[] = {
      {"good", ""},
      {"missing", ""},
      {"not/there", "No such file or directory"},
      {"link", "is a link"},
      {"file", "is not a directory"},
      {"shared", "may be written to by others"},
      {"foreign", root ? "belongs to another user" : ""},
  };
  for (const auto& row : rows) {
    const bool good = *row.reason == '\0';
    ASSERT_TRUE(ovk_local_set_bus_directory(path(row.name).c_str()));
    start(fidA);
    EXPECT_EQ(good, openChannels() == 0) << row.name;
    if (!good) traced("bus directory " + path(row.name) + " refused: " + row.reason);
    closeChannels();
  }
  struct stat made {};
  ASSERT_EQ(0, ::stat(path("missing").c_str(), &made));
  EXPECT_EQ(0700U, made.st_mode & 07777U);
}

TEST_F(Identity, LongPathsAreRefused) {
  const std::string longest = path(std::string(79 - directory_.size() - 1, 'd'));
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
