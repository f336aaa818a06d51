#pragma once

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "ovk/local_platform.h"
#include "platform/local/file_descriptor.h"
#include "platform/topology.h"
#include "platform/transfer_channel.h"
#include "support/failing_heap.h"
#include "support/temporary_directory.h"

// A bus of its own for each test, and other processes on it.

using std::string_literals::operator""s;

constexpr const char* fids[] = {"VR001_00001_0000000000AA", "VR001_00002_0000000000BB", "VR001_00003_0000000000CC",
                                "VR001_00004_0000000000DD", "VR009_00005_0000000000EE", "VR009_00006_0000000000FF"};
constexpr const char* fidA = fids[0];
constexpr const char* fidB = fids[1];
constexpr const char* fidC = fids[2];
constexpr const char* fidE = fids[4];

/// The text with fidA in place of "@A", and so on.
inline std::string withFids(std::string text) {
  for (std::size_t at = text.find('@'); at != std::string::npos; at = text.find('@'))
    text.replace(at, 2, fids[text[at + 1] - 'A']);
  return text;
}

inline void start(const std::string& fid) { Topology().init(fid, nullptr, nullptr, nullptr); }

inline int openChannels() {
  return createTransferChannel(0, 1) | createTransferChannel(1, 2) | createTransferChannel(2, 2) |
         createTransferChannel(3, 1);
}

inline void closeChannels() {
  for (const int index : {0, 1, 2, 3}) destroyTransferChannel(index);
}

/// Joins the bus anew, with all channels open.
inline void takePart(const std::string& fid) {
  closeChannels(); // those of another identifier, perhaps inherited
  start(fid);
  EXPECT_EQ(0, openChannels()) << fid;
}

/// A message for a participant, filled up to the size.
inline std::string messageTo(const std::string& fid, const std::string& text, std::size_t size = 0) {
  std::string message = R"({"dst":{"fid":")" + fid + R"("},"text":")" + text + "\"}";
  return message.append(size > message.size() ? size - message.size() : 0, ' ');
}

inline int send(int channel, const std::string& message) {
  return writeTransferChannel(channel, message.data(), static_cast<unsigned>(message.size()));
}

/// The next message, empty when there is none.
inline std::string receive(int channel) {
  std::string buffer(16384, '\0');
  errno = EINTR; // left by a call before
  const int length = readTransferChannel(channel, buffer.data(), static_cast<unsigned>(buffer.size()));
  const std::string message = buffer.substr(0, static_cast<std::size_t>(std::max(length, 0)));
  EXPECT_EQ(std::string::npos, buffer.find_first_not_of('\0', message.size())) << "written behind " << message;
  return message;
}

/// Runs a step in which this process can open nothing more.
inline void withoutDescriptors(const std::function<void()>& step) {
  rlimit before{};
  EXPECT_EQ(0, ::getrlimit(RLIMIT_NOFILE, &before));
  const rlimit none{static_cast<rlim_t>(ovk::local::FileDescriptor(::dup(0)).get()), before.rlim_max};
  EXPECT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &none));
  step();
  ::setrlimit(RLIMIT_NOFILE, &before);
}

/// What a record says of the controller itself; of a list, a line for each with its sensors.
template <class Controller>
std::string textOf(const Controller& c) {
  return c.attr1 + '|' + c.attr2 + '|' + c.attr3 + '|' + c.attr4 + '|' + c.attr5 + '|' + std::to_string(c.kind);
}
inline std::string textOf(const std::vector<orvane_parent>& parents) {
  std::string all;
  for (const orvane_parent& parent : parents) {
    all += textOf<orvane_parent>(parent);
    for (const auto& sensor : parent.members)
      all += " [" + sensor.attr1 + '|' + sensor.attr2 + '|' + sensor.attr3 + '|' + sensor.attr4 + ']';
    all += '\n';
  }
  return all;
}

/// What the topology service lists, as text.
inline std::string topology() {
  std::vector<orvane_parent> found(1); // which is replaced
  EXPECT_TRUE(Topology().get_topology(found));
  return textOf(found);
}

/// A forked process. The two sides run in step by signal() and await(); a side whose peer is gone gets false.
class Child {
public:
  explicit Child(const std::function<void(Child&)>& body) {
    int ends[2] = {-1, -1};
    EXPECT_EQ(0, ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends));
    process_ = ::fork();
    link_ = ovk::local::FileDescriptor(ends[process_ == 0 ? 1 : 0]);
    ::close(ends[process_ == 0 ? 0 : 1]);
    if (process_ != 0) return;
    body(*this);
    std::exit(::testing::Test::HasFailure() ? 1 : 0);
  }
  ~Child() { kill(); } // it may wait for this side

  /// Readable in the child when it is to end.
  int link() const { return link_.get(); }
  void signal() const { EXPECT_EQ(1, ::send(link(), "!", 1, MSG_NOSIGNAL)); }
  bool await() const {
    char byte = 0;
    return ::read(link(), &byte, 1) == 1;
  }
  void kill() {
    if (process_ <= 0) return;
    kill(SIGKILL);
    finish();
  }
  void kill(int signal) const { EXPECT_EQ(0, ::kill(process_, signal)); }
  /// As the kernel shows it: 'R' running, 'S' asleep, 'Z' ended.
  char state() const {
    std::ifstream file("/proc/" + std::to_string(process_) + "/stat");
    std::string text;
    std::getline(file, text);
    return text[text.rfind(')') + 2];
  }
  /// Lets the child's await() fail and waits for its end; 0 when it was a good one.
  int finish() {
    int status = -1;
    ::shutdown(link(), SHUT_WR);
    ::waitpid(process_, &status, 0);
    process_ = -1;
    return status;
  }

private:
  pid_t process_ = -1;
  ovk::local::FileDescriptor link_;
};

/// A process that has done something when this returns, and stays until it is told to end.
class StayingChild : public Child {
public:
  explicit StayingChild(const std::function<void()>& act)
      : Child([&](Child& self) {
          act();
          self.signal();
          self.await();
        }) {
    EXPECT_TRUE(await());
  }
};

/// A process that takes part as `fid`.
struct Participant : StayingChild {
  explicit Participant(const std::string& fid) : StayingChild([&] { takePart(fid); }) {}
};

class LocalBus : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(ovk_local_set_bus_directory(directory_.c_str()));
    const auto keep = [](const char* line, unsigned length, void* kept) {
      const fake::Undisturbed undisturbed;
      static_cast<std::string*>(kept)->append(line, length) += '\n';
    };
    ovk_local_set_trace_sink(keep, &trace_);
  }
  void TearDown() override {
    closeChannels();
    ovk_local_set_trace_sink(nullptr, nullptr);
  }

  /// Expects the text in a trace line since the last question.
  void traced(const std::string& text) {
    EXPECT_NE(std::string::npos, trace_.find(text)) << "no '" << text << "' in: " << trace_;
    trace_.clear();
  }
  std::string path(const std::string& name) const { return directory_ + '/' + name; }
  /// How many files are in the bus directory.
  std::ptrdiff_t files() const { return std::distance(std::filesystem::directory_iterator(directory_), {}); }
  void writeTopology(const std::string& text) const { std::ofstream(path("topology.json")) << withFids(text); }

  const TemporaryDirectory place_;
  const std::string& directory_ = place_.path();
  std::string trace_;
};
