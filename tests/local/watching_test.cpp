#include "local_bus.h"

namespace {

class Watching : public LocalBus {
protected:
  // Watches as somebody who takes no part in the bus; the process goes on as fidA.
  static bool watch() {
    start(fidE);
    const bool watching = ovk_local_start_watching();
    start(fidA);
    return watching;
  }
  // The next copy with the number of those missed before it; empty when there is none.
  static std::string nextPassed() {
    ovk_local_passed_t passed{};
    return ovk_local_next_passed(passed) ? std::to_string(passed.missed) + ' ' + passed.text : "";
  }
  static void killWatcher() {
    StayingChild watcher([] { EXPECT_TRUE(watch()); });
    EXPECT_FALSE(watch());
    watcher.kill();
  }
  void TearDown() override {
    ovk_local_stop_watching();
    LocalBus::TearDown();
  }
};

TEST_F(Watching, ShowsWhatIsDeliveredAndNothingElseChanges) {
  const std::string before = messageTo(fidA, "before");
  const std::string one = messageTo(fidA, "one");
  const std::string two = messageTo(fidA, "two", 16383);
  takePart(fidA);
  EXPECT_EQ(0, send(0, before));
  const auto filesBefore = files();
  ASSERT_TRUE(watch());
  EXPECT_NE(0, send(0, messageTo(fidC, "to nobody")));
  EXPECT_EQ(0, send(0, one)); // noticed at the next look at the bus, whoever causes it
  EXPECT_EQ(0, send(3, two));
  EXPECT_EQ(withFids("@A||||online|1\n"), topology());
  for (const std::string& copy : {"0 " + one, "0 " + two, ""s}) EXPECT_EQ(copy, nextPassed());
  for (const std::string& message : {before, one, ""s}) EXPECT_EQ(message, receive(2));
  EXPECT_EQ(two, receive(1));
  ovk_local_stop_watching();
  EXPECT_EQ(filesBefore, files());
  EXPECT_EQ(0, send(0, one));
}

TEST_F(Watching, SlowWatcherMissesWhatFillsItsQueueAndHoldsNobodyUp) {
  takePart(fidA);
  const auto exchange = [] {
    ASSERT_EQ(0, send(0, messageTo(fidA, "x", 1000)));
    EXPECT_NE("", receive(2));
  };
  killWatcher(); // leaves its names, which are no watcher
  exchange();
  ASSERT_TRUE(watch());
  for (int i = 0; i < 3000; ++i) exchange();
  unsigned taken = 0;
  for (std::string copy = nextPassed(); !copy.empty(); copy = nextPassed(), ++taken) EXPECT_EQ("0 ", copy.substr(0, 2));
  EXPECT_GT(taken, 10U);
  exchange();
  EXPECT_EQ(std::to_string(3000 - taken) + ' ' + messageTo(fidA, "x", 1000), nextPassed());
}

TEST_F(Watching, NeedsAnIdentifierOfItsOwn) {
  start("");
  EXPECT_FALSE(ovk_local_start_watching());
  EXPECT_EQ("", nextPassed());
  killWatcher();
  traced("another process does");
  takePart(fidA); // sweeps
  EXPECT_EQ(3, files());
}

} // namespace
