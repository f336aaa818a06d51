#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/un.h>

#include "local_bus.h"
#include "platform/local/file_descriptor.h"

namespace {

class Transfer : public LocalBus {
protected:
  // Connects to the channel of requests as a stranger would.
  ovk::local::FileDescriptor stranger() const {
    ovk::local::FileDescriptor socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path(fidA + ".c2"s).copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(0, ::connect(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address));
    return socket;
  }
};

void sendAs(const ovk::local::FileDescriptor& stranger, const std::string& text) {
  EXPECT_EQ(text.size(), static_cast<std::size_t>(::send(stranger.get(), text.data(), text.size(), 0)));
}

using Traffic = std::pair<unsigned, unsigned>;
Traffic traffic() {
  Traffic carried;
  Topology().get_qmxb_statistic(&carried.first, nullptr);
  Topology().get_qmxb_statistic(nullptr, &carried.second);
  return carried;
}

bool isReadable(int descriptor) {
  pollfd state{descriptor, POLLIN, 0};
  return ::poll(&state, 1, 0) == 1;
}

TEST_F(Transfer, ChannelsHaveTheirRole) {
  const int allowed[4] = {1, 2, 2, 1};
  start(fidA);
  for (int index = -1; index <= 4; ++index)
    for (const int role : {0, 1, 2, 3}) {
      const bool good = index >= 0 && index < 4 && role == allowed[index];
      EXPECT_EQ(good, createTransferChannel(index, role) >= 0) << index << ' ' << role;
      EXPECT_EQ(good, createTransferChannel(index, role) >= 0) << "again " << index << ' ' << role;
    }
  closeChannels();
  EXPECT_EQ(0, files());
  EXPECT_NE(0, send(0, messageTo(fidA, "x")));
  EXPECT_EQ("", receive(2));
}

TEST_F(Transfer, RoutesByChannel) {
  writeTopology(R"({"controllers":[{"fid":"@A","sensors":[{"fid":"@B"}]}]})");
  const struct {
    const char* name;
    int channel;
    std::string message;
    int arrivesAt;      // -1: not at all
    const char* reason; // of a refusal
  } rows[] = {
      {"controller named", 0, R"({"dst":{"fid":"nobody","at":"@A"}})", 2, ""},
      {"own controller", 0, messageTo("@A", "own"), 2, ""},
      {"parent of a sensor", 0, messageTo("@B", "sensor"), 2, ""},
      {"response to a sensor", 3, messageTo("@B", "sensor"), 1, ""},
      {"response, controller named", 3, R"({"dst":{"fid":"@A","at":"nobody"}})", 1, ""},
      {"absent", 0, R"({"dst":{"fid":"x","at":"@C"}})", -1, "write to VR001_00003_0000000000CC: it is not running"},
      {"name too long", 0, R"({"dst":{"at":")" + std::string(200, '/') + "\"}}", -1, "File name too long"},
      {"stranger", 3, messageTo("@C", ""), -1, "no controller known for VR001_00003_0000000000CC"},
      {"no text", 0, R"({"dst":{"at":5}})", -1, "message names no destination"},
      {"no JSON", 0, "no JSON", -1, "message names no destination"},
      {"empty", 0, "", -1, "a message has 1 to 16383 bytes, not 0"},
      {"longest", 0, messageTo(fidA, "long", 16383), 2, ""},
      {"too long", 0, messageTo(fidA, "long", 16384), -1, "a message has 1 to 16383 bytes, not 16384"},
      {"read channel", 1, messageTo("@A", ""), -1, "channel 1 is not open for writing"},
      {"no channel", 4, messageTo("@A", ""), -1, "channel 4 is not open for writing"},
  };
  start(fidA);
  ASSERT_EQ(0, openChannels());
  Traffic expected = traffic();
  for (const auto& row : rows) {
    const std::string message = withFids(row.message);
    EXPECT_EQ(row.arrivesAt >= 0, send(row.channel, message) == 0) << row.name;
    for (const int channel : {1, 2}) EXPECT_EQ(channel == row.arrivesAt ? message : "", receive(channel)) << row.name;
    if (*row.reason != '\0') traced(row.reason);
    if (row.arrivesAt >= 0) expected = {expected.first + 1, expected.second + 1};
    EXPECT_EQ(expected, traffic()) << row.name;
  }
}

TEST_F(Transfer, UnreadMessagesWaitInOrder) {
  const struct { std::size_t size, count; } rows[] = {{300, 200}, {12 * 1024, 16}};
  start(fidA);
  ASSERT_EQ(0, openChannels());
  for (const auto& row : rows) {
    std::size_t written = 0;
    while (send(0, messageTo(fidA, std::to_string(written), row.size)) == 0) ++written;
    traced("its queue is full");
    EXPECT_GE(written, row.count) << row.size;
    for (std::size_t i = 0; i < written; ++i)
      ASSERT_EQ(messageTo(fidA, std::to_string(i), row.size), receive(2)) << row.size;
    EXPECT_EQ("", receive(2));
  }
}

TEST_F(Transfer, WaitDescriptorTellsOfMessages) {
  const int descriptor = ovk_local_wait_descriptor();
  start(fidA);
  ASSERT_EQ(0, openChannels());
  EXPECT_EQ(descriptor, ovk_local_wait_descriptor());
  for (const int channel : {0, 3}) {
    EXPECT_FALSE(isReadable(descriptor));
    EXPECT_EQ(0, send(channel, messageTo(fidA, "x")));
    EXPECT_TRUE(isReadable(descriptor));
    EXPECT_NE("", receive(1) + receive(2));
    EXPECT_EQ("", receive(1) + receive(2));
  }
  EXPECT_FALSE(isReadable(descriptor));
  // Of one that is shared, a child's messages would wake its parent.
  EXPECT_EQ(0, Child([&](Child&) { EXPECT_NE(descriptor, ovk_local_wait_descriptor()); }).finish());
}

TEST_F(Transfer, OrderHoldsWhenAWriterConnectsAnew) {
  start(fidA);
  ASSERT_EQ(0, openChannels());
  EXPECT_EQ(0, send(0, messageTo(fidA, "first")));
  for (const std::string number : {"0", "1", "2"}) {
    Child sender([&](Child&) {
      closeChannels(); // what was inherited
      start(fidB);
      for (const char* text : {"a", "b"}) { // connects anew for each
        EXPECT_EQ(0, createTransferChannel(0, 1));
        EXPECT_EQ(0, send(0, messageTo(fidA, text + number)));
        destroyTransferChannel(0);
      }
    });
    EXPECT_EQ(0, sender.finish());
  }
  for (const char* text : {"first", "a0", "b0", "a1", "b1", "a2", "b2"}) EXPECT_EQ(messageTo(fidA, text), receive(2));
  EXPECT_EQ("", receive(2));
}

TEST_F(Transfer, StrangersCostOnlyTheirOwnMessages) {
  start(fidA);
  ASSERT_EQ(0, openChannels());
  const ovk::local::FileDescriptor silent = stranger();
  {
    const ovk::local::FileDescriptor talking = stranger();
    for (const std::string& message : {""s, "one"s, ""s, std::string(20000, 'x'), "two"s, ""s})
      sendAs(talking, message);
    EXPECT_EQ("one", receive(2));
    EXPECT_EQ("two", receive(2));
    traced("message of 20000 bytes dropped, the buffer has 16384");
    EXPECT_EQ("", receive(2));
    for (const std::string& message : {""s, "last"s}) sendAs(talking, message);
  }
  EXPECT_EQ("last", receive(2));
  EXPECT_EQ("", receive(2));
  EXPECT_FALSE(isReadable(ovk_local_wait_descriptor()));
}

TEST_F(Transfer, NewWritersWaitWhileDescriptorsAreShort) {
  start(fidA);
  ASSERT_EQ(0, openChannels());
  const ovk::local::FileDescriptor known = stranger();
  EXPECT_EQ("", receive(2));
  const ovk::local::FileDescriptor late = stranger();
  sendAs(late, "late");
  rlimit before{};
  ASSERT_EQ(0, ::getrlimit(RLIMIT_NOFILE, &before));
  const auto free = static_cast<rlim_t>(ovk::local::FileDescriptor(::dup(0)).get());
  const rlimit none{free, before.rlim_max};
  ASSERT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &none));
  std::ofstream(path("probe")) << "";
  EXPECT_EQ("", receive(2));
  const bool isReadableStill = isReadable(ovk_local_wait_descriptor());
  EXPECT_EQ("", receive(2));
  ::setrlimit(RLIMIT_NOFILE, &before);
  // Where the limit is only played, a call that it refuses has had its effect: the writer is hung up.
  if (::access(path("probe").c_str(), F_OK) == 0) GTEST_SKIP() << "descriptors do not get short here";
  EXPECT_FALSE(isReadableStill);
  EXPECT_EQ(trace_.find("new writer"), trace_.rfind("new writer")) << "said once: " << trace_;
  traced("cannot take in a new writer: Too many open files");
  sendAs(known, "early");
  EXPECT_EQ("early", receive(2)); // those taken in already go first
  EXPECT_EQ("late", receive(2));
}

} // namespace
