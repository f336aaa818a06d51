#include "local_bus.h"
#include "platform/bus_counters.h"
#include "platform/shared_memory.h"

namespace {

using std::string_literals::operator""s;

class Counters : public LocalBus {
protected:
  static std::uint32_t read(const char* fid, int number) {
    std::vector<ovk_local_counter_t> counters;
    EXPECT_TRUE(ovk_local_read_counters(fid, counters));
    for (const auto& counter : counters)
      if (counter.number == number) return counter.value;
    ADD_FAILURE() << "no counter " << number;
    return 0;
  }
  static bool isReadable(const char* fid) {
    std::vector<ovk_local_counter_t> counters(1);
    const bool found = ovk_local_read_counters(fid, counters);
    EXPECT_EQ(found, counters.size() != 1);
    return found;
  }
};

TEST_F(Counters, AreReadFromOutsideWhileTheOwnerRuns) {
  Child owner([](Child& self) {
    IncrQMXBCnt(QMXB_API_REG_WRITE_RSP_RX_ERR); // before there is a file
    start(fidA);
    EXPECT_EQ(0, createQMXBSharedMemory());
    EXPECT_EQ(0, createQMXBSharedMemory());
    IncrQMXBCnt(QMXB_API_REG_WRITE_RSP_RX_ERR);
    IncrQMXBCnt(QMXB_API_RX_COMMON_ERR);
    for (const int number : {-1, 128}) IncrQMXBCnt(static_cast<QMXBCounter_e>(number));
    self.signal();
    self.await();
  });
  ASSERT_TRUE(owner.await());
  EXPECT_EQ(1U, read(fidA, 0));
  EXPECT_EQ(2U, read(fidA, 76));
  EXPECT_EQ(0U, read(fidA, 47));
  EXPECT_FALSE(isReadable(fidB));
  EXPECT_FALSE(isReadable(nullptr));
  // A second process of the identifier counts for itself and harms nothing.
  start(fidA);
  EXPECT_GT(0, createQMXBSharedMemory());
  traced("another process counts under this identifier");
  IncrQMXBCnt(QMXB_API_RX_COMMON_ERR);
  EXPECT_EQ(1U, read(fidA, 0));
  EXPECT_EQ(0, owner.finish());
  EXPECT_FALSE(isReadable(fidA));
  EXPECT_TRUE(files().empty());
}

TEST_F(Counters, FileOfAKilledProcessStartsAnew) {
  const auto counting = [](Child& self) {
    start(fidA);
    EXPECT_EQ(0, createQMXBSharedMemory());
    IncrQMXBCnt(QMXB_API_REG_READ_REQ_RX_OK);
    self.signal();
    self.await();
  };
  Child killed(counting);
  ASSERT_TRUE(killed.await());
  killed.kill();
  EXPECT_FALSE(files().empty());
  EXPECT_FALSE(isReadable(fidA));
  Child next(counting);
  ASSERT_TRUE(next.await());
  EXPECT_EQ(1U, read(fidA, 47));
}

TEST_F(Counters, MoveWithTheIdentifier) {
  Child owner([](Child&) {
    start(fidA);
    EXPECT_EQ(0, createQMXBSharedMemory());
    IncrQMXBCnt(QMXB_API_TAG_READ_REQ_RX_OK);
    start(fidB);
    EXPECT_EQ(0, createQMXBSharedMemory());
    EXPECT_EQ(1U, read(fidB, 55));
    EXPECT_FALSE(isReadable(fidA));
    EXPECT_EQ(0, Child([](Child&) {}).finish()); // whose end takes nothing along
    IncrQMXBCnt(QMXB_API_TAG_READ_REQ_RX_OK);
    EXPECT_EQ(2U, read(fidB, 55));
    start("");
    EXPECT_GT(0, createQMXBSharedMemory());
  });
  EXPECT_EQ(0, owner.finish());
}

// The file may be cut or overwritten by anybody of the same user.
TEST_F(Counters, ReaderDoesNotTrustTheFile) {
  Child owner([](Child& self) {
    start(fidA);
    EXPECT_EQ(0, createQMXBSharedMemory());
    self.signal();
    self.await();
    std::_Exit(0);
  });
  ASSERT_TRUE(owner.await());
  ASSERT_TRUE(isReadable(fidA));
  const std::string path = directory_ + '/' + fidA + ".counters";
  std::filesystem::resize_file(path, 100);
  EXPECT_FALSE(isReadable(fidA));
  std::filesystem::resize_file(path, 520);
  EXPECT_TRUE(isReadable(fidA)); // its first bytes are still there
  std::ofstream(path, std::ios::in) << "rubbish";
  EXPECT_FALSE(isReadable(fidA));
}

} // namespace
