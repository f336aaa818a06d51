#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/syscall.h>

#include "local_bus.h"
#include "platform/local/bus/socket_address.h"
#include "platform/shared_memory.h"
#include "support/sections.h"

namespace {

using fake::Ending;
using ovk::local::FileDescriptor;

class Transfer : public LocalBus {
protected:
  // Connects to the channel of requests as a stranger would.
  FileDescriptor stranger() const {
    FileDescriptor socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    EXPECT_TRUE(ovk::local::makeSocketAddress(path(fidA + ".c2"s), address));
    EXPECT_EQ(0, ::connect(socket.get(), ovk::local::asGeneric(address), sizeof address));
    return socket;
  }
};

void sendAs(const FileDescriptor& stranger, const std::string& text) {
  EXPECT_EQ(text.size(), static_cast<std::size_t>(::send(stranger.get(), text.data(), text.size(), 0)));
}

// How many messages were written and read, so far.
std::pair<unsigned, unsigned> traffic() {
  unsigned written = 0, read = 0;
  Topology().get_qmxb_statistic(&written, nullptr);
  Topology().get_qmxb_statistic(nullptr, &read);
  return {written, read};
}

bool isMessageWaiting() {
  pollfd state{ovk_local_wait_descriptor(), POLLIN, 0};
  return ::poll(&state, 1, 0) == 1;
}

TEST_F(Transfer, ChannelsHaveTheirRole) {
  std::string good;
  start(fidA);
  for (int index = -1; index <= 4; ++index)
    for (const int role : {0, 1, 1, 2, 2, 3}) // opened again, a channel stays open
      if (createTransferChannel(index, role) >= 0) good += std::to_string(index) + ':' + std::to_string(role) + ' ';
  EXPECT_EQ("0:1 0:1 1:2 1:2 2:2 2:2 3:1 3:1 ", good);
  closeChannels();
  EXPECT_EQ(0, files());
  EXPECT_NE(0, send(0, messageTo(fidA, "x")));
  EXPECT_EQ("", receive(2));
}

TEST_F(Transfer, RoutesByChannel) {
  const auto outcome = [this](int channel, const std::string& message) {
    trace_.clear();
    const bool written = send(channel, message) == 0;
    const std::string first = receive(1);
    const std::string all = first + receive(2);
    EXPECT_EQ(written ? message : "", all);
    const std::size_t reason = trace_.find(": ") + 2;
    return !written       ? trace_.substr(reason, trace_.find('\n') - reason)
           : all == first ? "to channel 1"
                          : "to channel 2";
  };
  writeTopology(R"({"controllers":[{"fid":"@A","sensors":[{"fid":"@B"}]}]})");
  takePart(fidA);
  const auto [written, read] = traffic();
  expectOutcomes(OVK_TEST_DATA "/local/routes.txt", [&](const std::string& /*title*/, const std::string& in) {
    return outcome(in[0] - '0', withFids(in.substr(2))) + '\n';
  });
  EXPECT_EQ("to channel 2", outcome(0, messageTo(fidA, "longest", 16383)));
  EXPECT_EQ(std::pair(written + 6, read + 6), traffic());
  EXPECT_EQ("a message has 1 to 16383 bytes, not 16384", outcome(0, messageTo(fidA, "too long", 16384)));
  EXPECT_EQ("a message has 1 to 16383 bytes, not 0", outcome(0, ""));
  outcome(0, R"({"dst":{"at":")" + std::string(200, '/') + "\"}}");
  traced("File name too long");
}

TEST_F(Transfer, UnreadMessagesWaitInOrder) {
  takePart(fidA);
  for (const std::size_t size : {300, 12 * 1024}) {
    std::size_t written = 0;
    while (send(0, messageTo(fidA, std::to_string(written), size)) == 0) ++written;
    traced("its queue is full");
    EXPECT_GE(written, size == 300 ? 200 : 16) << size;
    for (std::size_t i = 0; i < written; ++i) ASSERT_EQ(messageTo(fidA, std::to_string(i), size), receive(2)) << size;
    EXPECT_EQ("", receive(2));
  }
}

TEST_F(Transfer, WaitDescriptorTellsOfMessages) {
  const int descriptor = ovk_local_wait_descriptor();
  takePart(fidA);
  EXPECT_EQ(descriptor, ovk_local_wait_descriptor());
  for (const int channel : {0, 3}) {
    EXPECT_FALSE(isMessageWaiting());
    EXPECT_EQ(0, send(channel, messageTo(fidA, "x")));
    EXPECT_TRUE(isMessageWaiting());
    EXPECT_NE("", receive(1) + receive(2));
    EXPECT_EQ("", receive(1) + receive(2));
  }
  EXPECT_FALSE(isMessageWaiting());
  // Of one that is shared, a child's messages would wake its parent.
  EXPECT_EQ(0, Child([&](Child&) { EXPECT_NE(descriptor, ovk_local_wait_descriptor()); }).finish());
}

std::function<void()> duringWait;

// A wait asks one connection after the other: what happens meanwhile shows at some only, here at the one that listens.
int onlyListeners(epoll_event* events, int count) {
  const auto isNot = [](const epoll_event& event) {
    int listens = 0;
    socklen_t size = sizeof listens;
    return ::getsockopt(event.data.fd, SOL_SOCKET, SO_ACCEPTCONN, &listens, &size) != 0 || listens == 0;
  };
  return static_cast<int>(std::remove_if(events, events + count, isNot) - events);
}

extern "C" int epoll_wait(int descriptor, epoll_event* events, int room, int timeout) {
  const auto happening = std::exchange(duringWait, nullptr);
  if (happening) happening();
  const auto count = static_cast<int>(::syscall(SYS_epoll_pwait, descriptor, events, room, timeout, nullptr, 0));
  return happening ? onlyListeners(events, count) : count;
}

TEST_F(Transfer, OrderHoldsWhenAWriterConnectsAnewDuringAWait) {
  takePart(fidA);
  FileDescriptor writer = stranger();
  EXPECT_EQ("", receive(2));
  duringWait = [&] {
    sendAs(writer, "first");
    writer = stranger();
    sendAs(writer, "second");
  };
  EXPECT_EQ("first", receive(2));
  EXPECT_EQ("second", receive(2));
}

// However many writers are ready at once, the old connection of one comes before its new one. Where a single look at the
// connections were to end between the two, depends on how many are ready.
TEST_F(Transfer, OrderHoldsAmongAThousandConnections) {
  takePart(fidA);
  std::vector<FileDescriptor> others;
  for (int i = 0; i < 1000; ++i) others.push_back(stranger());
  FileDescriptor writer = stranger();
  EXPECT_EQ("", receive(2));
  for (std::size_t ready = 505; ready < 513; ++ready) {
    const FileDescriptor newcomer = stranger();
    sendAs(writer, "zero");
    for (std::size_t i = 0; i < ready; ++i) sendAs(others[i], "x");
    EXPECT_EQ("zero", receive(2));
    EXPECT_EQ("x", receive(2)) << "the writer's first connection is empty now";
    sendAs(writer, "first");
    writer = FileDescriptor();
    writer = stranger();
    sendAs(writer, "second");
    std::string order;
    while (isMessageWaiting()) {
      const std::string message = receive(2);
      if (message != "x") order += message + ' ';
    }
    EXPECT_EQ("first second ", order) << ready;
  }
}

// Whether the standard streams are closed before joining or after, nothing of the platform takes their place.
TEST_F(Transfer, StandardStreamsThatAreClosedStayClosed) {
  for (const bool closedFirst : {true, false}) {
    Child closed([=](Child&) {
      const auto closeStreams = [] {
        for (const int stream : {0, 1, 2}) ::close(stream);
      };
      if (closedFirst) closeStreams();
      takePart(fidA);
      closeStreams();
      EXPECT_EQ(0, createQMXBSharedMemory());
      EXPECT_TRUE(ovk_local_start_watching());
      EXPECT_EQ(0, send(0, messageTo(fidA, "x")));
      EXPECT_EQ(messageTo(fidA, "x"), receive(2));
      const FileDescriptor late = stranger();
      EXPECT_EQ("", receive(2));
      bool open = false;
      for (const int stream : {0, 1, 2}) open = open || ::fcntl(stream, F_GETFD) == 0;
      EXPECT_FALSE(open || late.get() < 3);
    });
    EXPECT_EQ(0, closed.finish()) << closedFirst;
  }
}

// A child that the application forked keeps copies of its parent's connections, which must not be looked at any more.
TEST_F(Transfer, ConnectionsEndThoughAForkedChildHoldsThem) {
  takePart(fidA);
  StayingChild writer([] {
    takePart(fidB);
    EXPECT_EQ(0, send(0, messageTo(fidA, "x")));
  });
  EXPECT_EQ(messageTo(fidA, "x"), receive(2));
  const StayingChild holder([] {});
  writer.kill();
  EXPECT_EQ("", receive(2));
  EXPECT_FALSE(isMessageWaiting());
}

TEST_F(Transfer, ProgramsStartedInheritNothing) {
  const auto inherited = [] {
    int count = 0;
    for (int descriptor = 0; descriptor < 100; ++descriptor) count += ::fcntl(descriptor, F_GETFD) == 0 ? 1 : 0;
    return count;
  };
  const int before = inherited();
  takePart(fidA);
  EXPECT_EQ(0, send(0, messageTo(fidA, "x")));
  EXPECT_NE("", receive(2));
  EXPECT_EQ(before, inherited());
}

TEST_F(Transfer, StrangersCostOnlyTheirOwnMessages) {
  takePart(fidA);
  const FileDescriptor silent = stranger();
  {
    const FileDescriptor talking = stranger();
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
  EXPECT_FALSE(isMessageWaiting());
}

// Whatever memory is missing: nothing is kept of a channel that was not opened, and what was written, and only that, is
// received once.
TEST_F(Transfer, WithoutMemory) {
  static char buffer[16384];
  const std::string message = messageTo(fidA, "x");
  start(fidE);
  ASSERT_TRUE(ovk_local_start_watching());
  const auto before = files();
  const auto leave = [] {
    closeChannels();
    start(fidA);
  };
  for (const int index : {0, 2}) {
    fake::failEachNew(
        leave, [=] { createTransferChannel(index, index == 0 ? 1 : 2); },
        [&](Ending ending) { EXPECT_EQ(files() == before, ending == Ending::failed) << index; });
  }
  for (const bool connected : {false, true}) {
    const auto join = [&] {
      takePart(fidA);
      EXPECT_TRUE(!connected || (send(0, message) == 0 && receive(2) == message));
    };
    const auto joinAndSend = [&] {
      join();
      EXPECT_EQ(0, send(0, message));
    };
    fake::failEachNew(
        join, [&] { send(0, message); },
        [&](Ending ending) { EXPECT_EQ(ending == Ending::failed ? "" : message, receive(2)); });
    fake::failEachNew(
        joinAndSend, [] { readTransferChannel(2, buffer, sizeof buffer); },
        [&](Ending ending) { EXPECT_EQ(ending == Ending::failed ? message : "", receive(2)); });
  }
  ovk_local_stop_watching();
}

TEST_F(Transfer, NewWritersWaitWhileDescriptorsAreShort) {
  takePart(fidA);
  const FileDescriptor known = stranger();
  EXPECT_EQ("", receive(2));
  const FileDescriptor late = stranger();
  sendAs(late, "late");
  bool stillWaiting = false;
  const FileDescriptor input(::dup(STDIN_FILENO));
  withoutDescriptors([&] {
    std::ofstream(path("probe")) << "";
    ::close(STDIN_FILENO); // its number is free, but not to be used
    EXPECT_EQ("", receive(2));
    stillWaiting = isMessageWaiting();
    EXPECT_EQ("", receive(2));
  });
  ::dup2(input.get(), STDIN_FILENO);
  // Where the limit is only played, a call that it refuses has had its effect: the writer is hung up.
  if (::access(path("probe").c_str(), F_OK) == 0) GTEST_SKIP() << "descriptors do not get short here";
  EXPECT_FALSE(stillWaiting);
  EXPECT_EQ(trace_.find("new writer"), trace_.rfind("new writer")) << "said once: " << trace_;
  traced("cannot take in a new writer: Too many open files");
  sendAs(known, "early");
  EXPECT_EQ("early", receive(2)); // those taken in already go first
  EXPECT_EQ("late", receive(2));
}

} // namespace
