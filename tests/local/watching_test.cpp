#include "local_bus.h"

namespace {

using Watching = LocalBus;

// Text of the next copy with the number of those missed before it; empty when there is none.
std::string nextPassed() {
  ovk_local_passed_t passed{};
  return ovk_local_next_passed(passed) ? std::to_string(passed.missed) + ' ' + passed.text : "";
}

// A process that watches, takes part in nothing, and says what it sees.
std::function<void(Child&)> watcher(const std::vector<std::string>& expected) {
  return [expected](Child& self) {
    closeChannels();
    start(fidE);
    EXPECT_TRUE(ovk_local_start_watching());
    self.signal();
    self.await();
    for (const std::string& text : expected) EXPECT_EQ(text, nextPassed());
    EXPECT_EQ("", nextPassed());
    self.signal();
    self.await();
    ovk_local_stop_watching();
  };
}

TEST_F(Watching, ShowsWhatIsDeliveredAndNothingElseChanges) {
  start(fidA);
  ASSERT_EQ(0, openChannels());
  const std::string before = messageTo(fidA, "before");
  const std::string one = messageTo(fidA, "one");
  const std::string two = messageTo(fidA, "two", 16383);
  EXPECT_EQ(0, send(0, before));
  std::vector<orvane_parent> seen;
  Topology().get_topology(seen);
  const std::string topology = textOf(seen);
  Child child(watcher({"0 " + one, "0 " + two}));
  ASSERT_TRUE(child.await());
  EXPECT_NE(0, send(0, messageTo(fidC, "to nobody")));
  EXPECT_EQ(0, send(0, one)); // noticed at the next look at the bus, whoever causes it
  EXPECT_EQ(0, send(3, two));
  Topology().get_topology(seen);
  EXPECT_EQ(topology, textOf(seen));
  EXPECT_FALSE(std::filesystem::exists(path(fidE + ".lock"s)));
  child.signal();
  ASSERT_TRUE(child.await());
  EXPECT_EQ(before, receive(2));
  EXPECT_EQ(one, receive(2));
  EXPECT_EQ(0, child.finish());
  EXPECT_EQ(0, send(0, one));
}

TEST_F(Watching, SlowWatcherMissesWhatFillsItsQueueAndHoldsNobodyUp) {
  start(fidA);
  ASSERT_EQ(0, openChannels());
  Child dead(watcher({}));
  ASSERT_TRUE(dead.await());
  dead.kill(); // leaves its names, which are no watcher
  Child slow([](Child& self) {
    closeChannels();
    start(fidE);
    EXPECT_TRUE(ovk_local_start_watching());
    self.signal();
    self.await();
    unsigned taken = 0;
    unsigned missed = 0;
    ovk_local_passed_t passed{};
    for (; ovk_local_next_passed(passed); ++taken) missed += passed.missed;
    EXPECT_GT(taken, 10U);
    EXPECT_EQ(0U, missed);
    self.signal();
    self.await();
    ASSERT_TRUE(ovk_local_next_passed(passed));
    EXPECT_EQ(3000U, taken + passed.missed);
    ovk_local_stop_watching();
  });
  ASSERT_TRUE(slow.await());
  for (int i = 0; i < 3001; ++i) {
    if (i == 3000) {
      slow.signal();
      ASSERT_TRUE(slow.await());
    }
    ASSERT_EQ(0, send(0, messageTo(fidA, "x", 1000))) << i;
    EXPECT_NE("", receive(2));
  }
  EXPECT_EQ(0, slow.finish());
  trace_.clear();
}

TEST_F(Watching, NeedsAnIdentifierOfItsOwn) {
  start("");
  EXPECT_FALSE(ovk_local_start_watching());
  EXPECT_EQ("", nextPassed());
  Child child(watcher({}));
  ASSERT_TRUE(child.await());
  start(fidE);
  EXPECT_FALSE(ovk_local_start_watching());
  traced("another process does");
  child.kill();
  start(fidA);
  EXPECT_EQ(0, openChannels()); // sweeps
  EXPECT_FALSE(std::filesystem::exists(path(fidE + ".watcher"s)) || std::filesystem::exists(path(fidE + ".c4"s)));
}

} // namespace
