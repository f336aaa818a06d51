#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "core/receive_loop.h"
#include "core/registry.h"
#include "support/fake_platform.h"
#include "support/records.h"
#include "support/sections.h"

// Messages as another controller would write them, a test fixture around the scripted platform, and one around an
// application that has registered for all services and keeps what its callbacks are given.

namespace messages {

using namespace records;
using Counters = std::map<int, int>;

/// A message from the peer to the own controller; a response says that it succeeded.
inline std::string message(int msgType, const std::string& data) {
  const char* const notification = msgType == 202 ? R"("sendNotification":1,)" : "";
  const char* const outcome = msgType % 2 != 0 ? R"("success":true,)" : "";
  return spelledOut(joined(R"({"msg_type":)", msgType, R"(,"ver":"1.0","ref_id":"r-17",)", notification,
                           R"("src":{"fid":"PEER"},"dst":{"fid":"OWN"},)", outcome, R"("data":)", data, "}"));
}

/// One good message for each service.
inline std::string good(int service) {
  const char* const block = R"([{"start":1,"words":[2,3]}])";
  const std::pair<int, const char*> rows[] = {
      {205,
       R"({"numTagRegBlocks":1,"TagRegBlocks":[7],"numResRegBlocks":1,"ResRegBlocks":[8],"ModbusBufferSize":256})"},
      {204, "[]"},
      {207, R"({"num":1,"tag_items":[{"fid":"F","tag":1,"data":"","regLen":2}]})"},
      {206, R"({"num":1,"tags":[{"tag_type":1,"tag_num":17}]})"},
      {201, block},
      {200, R"([{"start":1,"num":2},{"start":0,"num":0}])"},
      {203, "{}"},
      {202, block}};
  return message(rows[service].first, rows[service].second);
}

constexpr int okCounters[] = {67, 63, 59, 55, 51, 47, 75, 71}; ///< by service; the error counter is the next

/// The text with its first `from` replaced.
inline std::string replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from << " does not stand in " << text;
  return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

/// Every test starts with a library as loaded.
class Test : public ::testing::Test {
protected:
  Test() { fake::reset(); }
  ~Test() override {
    fake::failMallocAfter(-1);
    fake::failNewAfter(-1);
  }

  fake::Platform& platform() { return fake::platform(); }

  /// Whether the text was traced at the level, once or more.
  bool traced(int level, const std::string& text) {
    const auto matches = [&](const fake::TraceLine& line) { return line.level == level && line.text == text + "\n"; };
    return std::any_of(platform().trace.begin(), platform().trace.end(), matches);
  }

  /// What was counted, as in ", counter 51 +1".
  std::string counted() {
    std::string all;
    for (const auto& [counter, times] : platform().counters) all += joined(", counter ", counter, " +", times);
    return all;
  }

  /// The only message written; an empty one when there is none or are several.
  fake::WrittenMessage onlyWritten() {
    EXPECT_EQ(platform().written.size(), 1U) << platform().errors();
    return platform().written.size() == 1 ? platform().written.front() : fake::WrittenMessage{-1, ""};
  }
};

/// What every callback does with its record and the record's text.
inline std::function<int(void* data, const std::string& text)> onMessage;

struct CallOnMessage {
  template <typename Record>
  int operator()(Record& record) const {
    const fake::Undisturbed undisturbed;
    return onMessage(&record, described(record));
  }
};

class Receiver : public Test {
protected:
  Receiver() {
    startOver();
    onMessage = [this](void* /*data*/, const std::string& text) {
      records_.push_back(text);
      return 0;
    };
  }
  ~Receiver() override { onMessage = nullptr; }

  /// The library as loaded, with the bus and all registrations, and nothing received.
  void startOver() {
    fake::reset();
    ovk::enableBus(true);
    registerForAll<CallOnMessage>();
    platform().calls.clear();
    platform().trace.clear();
    records_.clear();
  }

  static int process(const std::string& text) {
    return processReceivedMessage(text.c_str(), static_cast<unsigned>(text.size()));
  }

  std::vector<std::string> records_;
};

} // namespace messages
