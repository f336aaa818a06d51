#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/un.h>

#include "local_bus.h"

namespace {

using std::string_literals::operator""s;

class Transfer : public LocalBus {};

bool isReadable(int descriptor) {
  pollfd state{descriptor, POLLIN, 0};
  return ::poll(&state, 1, 0) == 1;
}

// Connects to a channel's socket as a stranger would.
int strangerAt(const std::string& socketPath) {
  const int socket = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
  EXPECT_EQ(0, ::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address));
  return socket;
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
  EXPECT_TRUE(files().empty());
  EXPECT_NE(0, send(0, messageTo(fidA, "x")));
  EXPECT_EQ("", receive(2));
}

TEST_F(Transfer, RoutesByChannel) {
  writeFile("topology.json", R"({"controllers":[{"fid":")"s + fidA + R"(","sensors":[{"fid":")" + fidB + R"("}]}]})");
  const struct {
    int channel;
    std::string message;
    int arrivesAt; // -1: not at all
    const char* reason;
  } rows[] = {
      {0, R"({"dst":{"fid":"nobody","at":")"s + fidA + "\"}}", 2, ""},
      {0, messageTo(fidA, "own"), 2, ""},
      {0, messageTo(fidB, "sensor"), 2, ""},
      {3, messageTo(fidB, "sensor"), 1, ""},
      {3, R"({"dst":{"fid":")"s + fidA + R"(","at":"nobody"}})", 1, ""},
      {0, R"({"dst":{"fid":"x","at":")"s + fidC + "\"}}", -1,
       "cannot write to VR001_00003_0000000000CC: it is not running"},
      {0, R"({"dst":{"fid":"x","at":")"s + std::string(200, '/') + "\"}}", -1, "File name too long"},
      {3, messageTo(fidC, "stranger"), -1, "no controller known for VR001_00003_0000000000CC"},
      {0, R"({"dst":{"at":5}})", -1, "message names no destination"},
      {0, "no JSON", -1, "message names no destination"},
      {0, "", -1, "a message has 1 to 16383 bytes, not 0"},
      {0, messageTo(fidA, "long", 16383), 2, ""},
      {0, messageTo(fidA, "too long", 16384), -1, "a message has 1 to 16383 bytes, not 16384"},
      {1, messageTo(fidA, "read channel"), -1, "channel 1 is not open for writing"},
      {4, messageTo(fidA, "no channel"), -1, "channel 4 is not open for writing"},
  };
  start(fidA);
  ASSERT_EQ(0, openChannels());
  for (const auto& row : rows) {
    EXPECT_EQ(row.arrivesAt >= 0, send(row.channel, row.message) == 0) << row.message;
    for (const int channel : {1, 2}) EXPECT_EQ(channel == row.arrivesAt ? row.message : "", receive(channel));
    if (*row.reason != '\0') traced(row.reason);
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
}

TEST_F(Transfer, OrderHoldsWhenAWriterConnectsAnew) {
  start(fidA);
  ASSERT_EQ(0, openChannels());
  EXPECT_EQ(0, send(0, messageTo(fidA, "first")));
  const auto sender = [](int number) {
    return [number](Child& self) {
      closeChannels(); // what was inherited
      start(fidB);
      for (const char* text : {"a", "b"}) { // connects anew for each
        EXPECT_EQ(0, createTransferChannel(0, 1));
        EXPECT_EQ(0, send(0, messageTo(fidA, text + std::to_string(number))));
        destroyTransferChannel(0);
      }
      self.signal();
    };
  };
  for (int number = 0; number < 3; ++number) EXPECT_EQ(0, Child(sender(number)).finish());
  EXPECT_EQ(messageTo(fidA, "first"), receive(2));
  for (const char* text : {"a0", "b0", "a1", "b1", "a2", "b2"}) EXPECT_EQ(messageTo(fidA, text), receive(2));
  EXPECT_EQ("", receive(2));
}

TEST_F(Transfer, StrangersCostOnlyTheirOwnMessages) {
  start(fidA);
  ASSERT_EQ(0, openChannels());
  const int silent = strangerAt(directory_ + '/' + fidA + ".c2");
  const int stranger = strangerAt(directory_ + '/' + fidA + ".c2");
  const std::string large(20000, 'x');
  for (const std::string& message : {""s, "one"s, ""s, large, "two"s, ""s})
    EXPECT_EQ(message.size(), static_cast<std::size_t>(::send(stranger, message.data(), message.size(), 0)));
  EXPECT_EQ("one", receive(2));
  EXPECT_EQ("two", receive(2));
  traced("message of 20000 bytes dropped, the buffer has 16384");
  EXPECT_EQ("", receive(2));
  for (const std::string& message : {""s, "last"s}) ::send(stranger, message.data(), message.size(), 0);
  ::close(stranger);
  EXPECT_EQ("last", receive(2));
  EXPECT_EQ("", receive(2));
  EXPECT_FALSE(isReadable(ovk_local_wait_descriptor()));
  ::close(silent);
}

TEST_F(Transfer, NewWritersWaitWhileDescriptorsAreShort) {
  start(fidA);
  ASSERT_EQ(0, openChannels());
  const int known = strangerAt(directory_ + '/' + fidA + ".c2");
  EXPECT_EQ("", receive(2));
  const int stranger = strangerAt(directory_ + '/' + fidA + ".c2");
  EXPECT_EQ(4, ::send(stranger, "late", 4, 0));
  rlimit before{};
  ::getrlimit(RLIMIT_NOFILE, &before);
  const int lowest = ::dup(0);
  ::close(lowest);
  const rlimit none{static_cast<rlim_t>(lowest), before.rlim_max};
  ::setrlimit(RLIMIT_NOFILE, &none);
  const int beyond = ::dup(0);
  if (beyond >= 0) {
    ::close(beyond);
    ::close(known);
    ::close(stranger);
    GTEST_SKIP() << "descriptors cannot be made short here";
  }
  EXPECT_EQ("", receive(2));
  traced("cannot take in a new writer: Too many open files");
  EXPECT_EQ("", receive(2));
  EXPECT_EQ("", trace_); // once
  EXPECT_FALSE(isReadable(ovk_local_wait_descriptor()));
  ::setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(5, ::send(known, "early", 5, 0));
  EXPECT_EQ("early", receive(2)); // those taken in already go first
  EXPECT_EQ("late", receive(2));
  ::close(known);
  ::close(stranger);
}

TEST_F(Transfer, StatisticCountsBothDirections) {
  unsigned before[2];
  unsigned after[2];
  Topology().get_qmxb_statistic(&before[0], &before[1]);
  start(fidA);
  ASSERT_EQ(0, openChannels());
  for (int i = 0; i < 3; ++i) EXPECT_EQ(0, send(0, messageTo(fidA, "x")));
  EXPECT_NE(0, send(0, "refused"));
  EXPECT_NE("", receive(2));
  Topology().get_qmxb_statistic(&after[0], &after[1]);
  EXPECT_EQ(before[0] + 3, after[0]);
  EXPECT_EQ(before[1] + 1, after[1]);
  Topology().get_qmxb_statistic(nullptr, nullptr);
}

} // namespace
