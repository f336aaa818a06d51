#include "local_bus.h"
#include "platform/bus_counters.h"
#include "platform/shared_memory.h"

namespace {

class Counters : public LocalBus {
protected:
  // What the participant counted, like "0:1 76:2 "; "unreadable" when nobody may know.
  static std::string countedBy(const char* fid) {
    std::vector<ovk_local_counter_t> counters(1, {0, "", 7});
    if (!ovk_local_read_counters(fid, counters)) return counters.size() == 1 ? "unreadable" : "touched without success";
    std::string text;
    for (const auto& counter : counters)
      if (counter.value != 0) text += std::to_string(counter.number) + ':' + std::to_string(counter.value) + ' ';
    return text;
  }
  static void publish(const std::string& fid) {
    start(fid);
    EXPECT_EQ(0, createQMXBSharedMemory());
  }
  static void countOne() {
    publish(fidA);
    IncrQMXBCnt(QMXB_API_REG_READ_REQ_RX_OK);
  }
};

TEST_F(Counters, AreReadFromOutsideWhileTheOwnerRuns) {
  StayingChild owner([] {
    for (const int number : {-1, 128, 76}) IncrQMXBCnt(static_cast<QMXBCounter_e>(number)); // before there is a file
    for (int i = 0; i < 2; ++i) publish(fidA);
    for (const int number : {0, 76}) IncrQMXBCnt(static_cast<QMXBCounter_e>(number));
    countOne();
  });
  EXPECT_EQ("0:1 47:1 76:2 ", countedBy(fidA));
  for (const char* nobody : {fidB, static_cast<const char*>(nullptr)}) EXPECT_EQ("unreadable", countedBy(nobody));
  Child second([&](Child&) { // of the identifier; it counts for itself and harms nothing
    start(fidA);
    EXPECT_GT(0, createQMXBSharedMemory());
    traced("another process counts under this identifier");
    IncrQMXBCnt(QMXB_API_RX_COMMON_ERR);
  });
  EXPECT_EQ(0, second.finish());
  EXPECT_EQ("0:1 47:1 76:2 ", countedBy(fidA));
  EXPECT_EQ(0, owner.finish());
  EXPECT_EQ("unreadable", countedBy(fidA));
  EXPECT_EQ(0, files());
}

TEST_F(Counters, MoveWithTheIdentifier) {
  Child owner([](Child&) {
    publish(fidA);
    IncrQMXBCnt(QMXB_API_TAG_READ_REQ_RX_OK);
    publish(fidB);
    EXPECT_EQ("55:1 ", countedBy(fidB));
    EXPECT_EQ("unreadable", countedBy(fidA));
    EXPECT_EQ(0, Child([](Child&) {}).finish()); // whose end takes nothing along
    IncrQMXBCnt(QMXB_API_TAG_READ_REQ_RX_OK);
    EXPECT_EQ("55:2 ", countedBy(fidB));
    start("");
    EXPECT_GT(0, createQMXBSharedMemory());
  });
  EXPECT_EQ(0, owner.finish());
}

// Neither counters nor edits end a process that may not write as much.
TEST_F(Counters, FilesThatMayNotBeMade) {
  Child limited([this](Child&) {
    const rlimit limit{519, RLIM_INFINITY};
    EXPECT_EQ(0, ::setrlimit(RLIMIT_FSIZE, &limit));
    start(fidA);
    EXPECT_GT(0, createQMXBSharedMemory());
    traced("counters of "s + fidA + " not published: File too large");
    IncrQMXBCnt(QMXB_API_RX_COMMON_ERR);
    EXPECT_NE(0, Topology().set_static_member(fidA, fidB, "short"));
    EXPECT_EQ(0, Topology().set_static_member(fidA, fidB, std::string(500, 'x')));
    traced("static device "s + fidB + " not changed: cannot write: File too large");
  });
  EXPECT_EQ(0, limited.finish());
  EXPECT_EQ(1, files());
}

// The file may be cut or overwritten by anybody of the same user, or be left by a killed process.
TEST_F(Counters, ReaderDoesNotTrustTheFile) {
  const std::string file = path(fidA + ".counters"s);
  StayingChild owner(countOne);
  EXPECT_EQ("47:1 ", countedBy(fidA));
  std::filesystem::create_symlink(file, path(fidB + ".counters"s));
  EXPECT_EQ("unreadable", countedBy(fidB));
  std::filesystem::resize_file(file, 100);
  EXPECT_EQ("unreadable", countedBy(fidA));
  std::filesystem::resize_file(file, 520);
  EXPECT_EQ("", countedBy(fidA)); // its first bytes are still there
  std::ofstream(file, std::ios::in) << "rubbish";
  EXPECT_EQ("unreadable", countedBy(fidA));
  owner.kill();
  EXPECT_TRUE(std::filesystem::exists(file));
  EXPECT_EQ("unreadable", countedBy(fidA));
  const StayingChild next(countOne); // starts anew
  EXPECT_EQ("47:1 ", countedBy(fidA));
}

} // namespace
