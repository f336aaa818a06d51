#include <chrono>
#include <sys/stat.h>

#include "local_bus.h"
#include "platform/local/bus/file_lock.h"

namespace {

class Identity : public LocalBus {};

// A program may end without closing its channels, be killed, or start again after that.
TEST_F(Identity, NothingStaysBehindForLong) {
  const Participant running(fidC);
  const auto runningFiles = files();
  EXPECT_EQ(0, Child([](Child&) { takePart(fidA); }).finish());
  EXPECT_EQ(runningFiles, files());
  Participant(fidA).kill();
  EXPECT_GT(files(), runningFiles);
  takePart(fidB); // sweeps
  closeChannels();
  EXPECT_EQ(runningFiles, files());
}

// A child forked by the application ends without touching what its parent uses.
TEST_F(Identity, ForkedChildRemovesNothing) {
  takePart(fidA);
  EXPECT_EQ(0, Child([](Child&) { destroyTransferChannel(1); }).finish());
  for (const int channel : {0, 3}) EXPECT_EQ(0, send(channel, messageTo(fidA, "still here")));
  for (const int channel : {2, 1}) EXPECT_EQ(messageTo(fidA, "still here"), receive(channel));
}

// A process that joins waits for a sweep to end, a tenth of a second at most. Signals do not shorten that.
TEST_F(Identity, NewcomersWaitForASweepUnderRapidSignals) {
  const std::string lock = fidA + ".lock"s;
  std::ofstream(path(lock)) << "";
  std::optional<ovk::local::FileLock> sweeper;
  ovk::local::FileLock::take(ovk::local::busDirectory(), lock, ovk::local::FileLock::Purpose::sweep, sweeper);
  Child newcomer([](Child& self) {
    start(fidA);
    std::signal(SIGALRM, [](int) {});
    self.signal();
    EXPECT_EQ(0, createTransferChannel(2, 2));
  });
  EXPECT_TRUE(newcomer.await());
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(20);
  while (std::chrono::steady_clock::now() < end)
    if (newcomer.state() == 'S') newcomer.kill(SIGALRM);
  sweeper.reset();
  EXPECT_EQ(0, newcomer.finish());
}

TEST_F(Identity, WhatStandsInTheWayRefusesTheChannel) {
  const auto refused = [this](const char* fid, const char* reason) {
    start(fid);
    EXPECT_NE(0, createTransferChannel(2, 2));
    traced(reason);
  };
  refused("", "no own identifier");
  const std::string lock = fidA + ".lock"s;
  std::ofstream(path(lock)) << "";
  std::optional<ovk::local::FileLock> sweeper; // that hangs
  ovk::local::FileLock::take(ovk::local::busDirectory(), lock, ovk::local::FileLock::Purpose::sweep, sweeper);
  refused(fidA, "another process has it");
  sweeper.reset();
  ASSERT_TRUE(std::filesystem::create_directory(path(fidA + ".c2"s)));
  refused(fidA, "cannot listen at ");
  start(fidB);
  EXPECT_EQ(0, createTransferChannel(1, 2)) << "the other identifier was not given back";
  destroyTransferChannel(1);
  start(fidA);
  ASSERT_EQ(0, createTransferChannel(1, 2));
  refused(fidB, "channels of another identifier are open");
}

TEST_F(Identity, IdentifiersNameNoOtherFiles) {
  for (const std::string fid : {"VR 1_    2_../../../../0", "VR001_00001_00000000\"00\\", "VR001_00001_%2F%2F%2F%2F"}) {
    takePart(fid);
    EXPECT_EQ(3, files()) << "those of the one before are gone";
    EXPECT_EQ(fid + "||||online|1\n", topology());
    Child other([&](Child&) {
      start(fidA);
      EXPECT_NE(std::string::npos, topology().find(fid + "||||online|1\n")) << fid;
    });
    EXPECT_EQ(0, other.finish());
  }
}

TEST_F(Identity, UnsafeDirectoriesAreRefused) {
  for (const char* name : {"shared", "foreign"}) ASSERT_EQ(0, ::mkdir(path(name).c_str(), 0700));
  ASSERT_EQ(0, ::chmod(path("shared").c_str(), 0720));
  const bool root = ::chown(path("foreign").c_str(), 65534, 65534) == 0; // others cannot give a directory away
  std::filesystem::create_symlink(path("missing"), path("link"));
  std::ofstream(path("file")) << "";
  const auto use = [this](const char* name, const std::string& reason) {
    ASSERT_TRUE(ovk_local_set_bus_directory(path(name).c_str()));
    start(fidA);
    EXPECT_EQ(reason.empty(), openChannels() == 0) << name;
    if (!reason.empty()) traced("bus directory " + path(name) + " refused: " + reason);
    EXPECT_EQ(reason.empty(), Topology().set_static_member(fidA, fidE) != 0) << name;
    closeChannels();
  };
  use("missing", ""); // it is made
  use("not/there", "No such file or directory");
  use("link", "is a link");
  use("file", "is not a directory");
  use("shared", "may be written to by others");
  use("foreign", root ? "belongs to another user" : "");
  EXPECT_EQ(std::filesystem::perms::owner_all, std::filesystem::status(path("missing")).permissions());
}

TEST_F(Identity, LongPathsAreRefused) {
  const std::string longest = path(std::string(79 - directory_.size() - 1, 'd'));
  EXPECT_FALSE(ovk_local_set_bus_directory((longest + 'd').c_str()));
  EXPECT_EQ(directory_, ovk_local_bus_directory());
  ASSERT_TRUE(ovk_local_set_bus_directory((longest + '/').c_str()));
  EXPECT_EQ(longest, ovk_local_bus_directory());
  takePart(fidA);
  closeChannels();
  start("VR 01_00001_0000000000AA"); // its name is longer than it
  EXPECT_NE(0, openChannels());
  traced("VR%2001_00001_0000000000AA.c1 has 109 characters, the limit is 107");
}

} // namespace
