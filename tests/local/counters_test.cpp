#include "local_bus.h"
#include "platform/bus_counters.h"
#include "platform/shared_memory.h"

namespace {

class Counters : public LocalBus {
protected:
  // The counter's value; -1 when the participant's counters cannot be read.
  static std::int64_t read(const char* fid, int number) {
    std::vector<ovk_local_counter_t> counters(1, {number, "", 0});
    const bool found = ovk_local_read_counters(fid, counters);
    EXPECT_EQ(found, counters.size() != 1) << "touched without success";
    for (const auto& counter : counters)
      if (found && counter.number == number) return counter.value;
    return -1;
  }
  static void publish(const std::string& fid) {
    start(fid);
    EXPECT_EQ(0, createQMXBSharedMemory());
  }
};

TEST_F(Counters, AreReadFromOutsideWhileTheOwnerRuns) {
  Child owner([](Child& self) {
    IncrQMXBCnt(QMXB_API_REG_WRITE_RSP_RX_ERR); // before there is a file
    for (int i = 0; i < 2; ++i) publish(fidA);
    IncrQMXBCnt(QMXB_API_REG_WRITE_RSP_RX_ERR);
    IncrQMXBCnt(QMXB_API_RX_COMMON_ERR);
    for (const int number : {-1, 128}) IncrQMXBCnt(static_cast<QMXBCounter_e>(number));
    self.signal();
    self.await();
  });
  ASSERT_TRUE(owner.await());
  EXPECT_EQ(1, read(fidA, 0));
  EXPECT_EQ(2, read(fidA, 76));
  EXPECT_EQ(0, read(fidA, 47));
  EXPECT_EQ(-1, read(fidB, 0));
  EXPECT_EQ(-1, read(nullptr, 0));
  // A second process of the identifier counts for itself and harms nothing.
  start(fidA);
  EXPECT_GT(0, createQMXBSharedMemory());
  traced("another process counts under this identifier");
  IncrQMXBCnt(QMXB_API_RX_COMMON_ERR);
  EXPECT_EQ(1, read(fidA, 0));
  EXPECT_EQ(0, owner.finish());
  EXPECT_EQ(-1, read(fidA, 0));
  EXPECT_EQ(0, files());
}

TEST_F(Counters, MoveWithTheIdentifier) {
  Child owner([](Child&) {
    publish(fidA);
    IncrQMXBCnt(QMXB_API_TAG_READ_REQ_RX_OK);
    publish(fidB);
    EXPECT_EQ(1, read(fidB, 55));
    EXPECT_EQ(-1, read(fidA, 55));
    EXPECT_EQ(0, Child([](Child&) {}).finish()); // whose end takes nothing along
    IncrQMXBCnt(QMXB_API_TAG_READ_REQ_RX_OK);
    EXPECT_EQ(2, read(fidB, 55));
    start("");
    EXPECT_GT(0, createQMXBSharedMemory());
  });
  EXPECT_EQ(0, owner.finish());
}

// The file may be cut or overwritten by anybody of the same user, or be left by a killed process.
TEST_F(Counters, ReaderDoesNotTrustTheFile) {
  const auto counting = [](Child& self) {
    publish(fidA);
    IncrQMXBCnt(QMXB_API_REG_READ_REQ_RX_OK);
    self.signal();
    self.await();
  };
  const std::string file = path(fidA + ".counters"s);
  Child owner(counting);
  ASSERT_TRUE(owner.await());
  EXPECT_EQ(1, read(fidA, 47));
  std::filesystem::resize_file(file, 100);
  EXPECT_EQ(-1, read(fidA, 47));
  std::filesystem::resize_file(file, 520);
  EXPECT_EQ(0, read(fidA, 47)); // its first bytes are still there
  std::ofstream(file, std::ios::in) << "rubbish";
  EXPECT_EQ(-1, read(fidA, 47));
  owner.kill();
  EXPECT_TRUE(std::filesystem::exists(file));
  EXPECT_EQ(-1, read(fidA, 47));
  Child next(counting); // starts anew
  ASSERT_TRUE(next.await());
  EXPECT_EQ(1, read(fidA, 47));
}

} // namespace
