#pragma once

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "ovk/local_platform.h"
#include "platform/topology.h"
#include "platform/transfer_channel.h"

// A bus of its own for each test, and other processes on it.

constexpr const char* fidA = "VR001_00001_0000000000AA";
constexpr const char* fidB = "VR001_00002_0000000000BB";
constexpr const char* fidC = "VR001_00003_0000000000CC";
constexpr const char* fidD = "VR001_00004_0000000000DD";

inline void start(const std::string& fid) { Topology().init(fid, nullptr, nullptr, nullptr); }

inline int openChannels() {
  int failed = 0;
  for (const int index : {0, 1, 2, 3}) failed |= createTransferChannel(index, index == 0 || index == 3 ? 1 : 2);
  return failed;
}

inline void closeChannels() {
  for (const int index : {0, 1, 2, 3}) destroyTransferChannel(index);
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
  const int length = readTransferChannel(channel, buffer.data(), static_cast<unsigned>(buffer.size()));
  buffer.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
  return buffer;
}

/// A forked process. The two sides run in step by signal() and await(); a side whose peer is gone gets false.
class Child {
public:
  explicit Child(const std::function<void(Child&)>& body) {
    int ends[2] = {-1, -1};
    EXPECT_EQ(0, ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends));
    process_ = ::fork();
    link_ = ends[process_ == 0 ? 1 : 0];
    ::close(ends[process_ == 0 ? 0 : 1]);
    if (process_ != 0) return;
    body(*this);
    std::exit(::testing::Test::HasFailure() ? 1 : 0);
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child() {
    if (process_ > 0) finish();
  }

  void signal() const { EXPECT_EQ(1, ::send(link_, "!", 1, MSG_NOSIGNAL)); }
  bool await() const {
    char byte = 0;
    return ::read(link_, &byte, 1) == 1;
  }
  void kill() {
    ::kill(process_, SIGKILL);
    finish();
  }
  /// Lets the child's await() fail and waits for its end.
  int finish() {
    int status = -1;
    ::shutdown(link_, SHUT_WR);
    ::waitpid(process_, &status, 0);
    ::close(link_);
    process_ = -1;
    return status;
  }

private:
  pid_t process_ = -1;
  int link_ = -1;
};

/// A process that takes part as `fid` until it is told to end.
inline std::function<void(Child&)> participant(const std::string& fid) {
  return [fid](Child& self) {
    start(fid);
    EXPECT_EQ(0, openChannels());
    self.signal();
    self.await();
    closeChannels();
  };
}

class LocalBus : public ::testing::Test {
protected:
  void SetUp() override {
    std::string pattern = ::testing::TempDir() + "ovk-XXXXXX";
    ASSERT_NE(nullptr, ::mkdtemp(pattern.data()));
    directory_ = pattern;
    ASSERT_TRUE(ovk_local_set_bus_directory(directory_.c_str()));
    ovk_local_set_trace_sink(
        [](const char* line, unsigned length, void* context) {
          static_cast<LocalBus*>(context)->trace_ += std::string(line, length) + '\n';
        },
        this);
  }
  void TearDown() override {
    closeChannels();
    ovk_local_set_trace_sink(nullptr, nullptr);
    std::filesystem::remove_all(directory_);
  }

  /// Whether a trace line since the last question holds the text.
  bool traced(const std::string& text) {
    const bool found = trace_.find(text) != std::string::npos;
    EXPECT_TRUE(found) << "no '" << text << "' in: " << trace_;
    trace_.clear();
    return found;
  }
  std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory_))
      names.push_back(entry.path().filename().string());
    return names;
  }
  void writeFile(const std::string& name, const std::string& text) const {
    std::ofstream(directory_ + '/' + name) << text;
  }

  std::string directory_;
  std::string trace_;
};
