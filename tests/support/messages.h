#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "callback/record_table.h"
#include "core/receive_loop.h"
#include "core/registry.h"
#include "ovk/ovk.h"
#include "support/fake_platform.h"
#include "tag/value_conversion.h"

// Messages as another controller would write them, a test fixture around the scripted platform, and one around an
// application that has registered for all services and keeps what its callbacks are given.

namespace messages {

inline const std::string own = "VR001_00001_0000000000A1";
inline const std::string peer = "VR002_00002_0000000000B2";

/// A request to the own controller.
inline std::string request(int msgType, const std::string& data) {
  return "{\"msg_type\":" + std::to_string(msgType) + R"(,"ver":"1.0","ref_id":"r-17","src":{"fid":")" + peer +
         R"("},"dst":{"fid":")" + own + R"("},"data":)" + data + "}";
}

/// A register write request to the own controller.
inline std::string writeRequest(const std::string& data, const std::string& sendNotification = "1") {
  std::string text = request(202, data);
  text.insert(text.size() - 1, ",\"sendNotification\":" + sendNotification);
  return text;
}

/// A response to the own controller; `outcome` stands before "data".
inline std::string response(int msgType, const std::string& data, const std::string& outcome = "\"success\":true") {
  std::string text = request(msgType, data);
  text.insert(text.find(",\"data\""), "," + outcome);
  return text;
}

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

  /// The only message written; an empty one when there is none or are several.
  fake::WrittenMessage onlyWritten() {
    EXPECT_EQ(platform().written.size(), 1U) << platform().errors();
    return platform().written.size() == 1 ? platform().written.front() : fake::WrittenMessage{-1, ""};
  }
};

/// One good message for each service.
inline std::string good(int service) {
  const std::string block = R"([{"start":1,"words":[2,3]}])";
  const std::string texts[] = {
      response(205, R"({"numTagRegBlocks":1,"TagRegBlocks":[7],"numResRegBlocks":1,"ResRegBlocks":[8],)"
                    R"("ModbusBufferSize":256})"),
      request(204, "[]"),
      response(207, R"({"num":1,"tag_items":[{"fid":"F","tag":1,"data":"","regLen":2}]})"),
      request(206, R"({"num":1,"tags":[{"tag_type":1,"tag_num":17}]})"),
      response(201, block),
      request(200, R"([{"start":1,"num":2},{"start":0,"num":0}])"),
      response(203, "{}"),
      writeRequest(block)};
  return texts[service];
}

constexpr int okCounters[] = {67, 63, 59, 55, 51, 47, 75, 71}; ///< by service; the error counter is the next

/// The values up to the last that is not 0; of many, the first and the last.
template <typename Value>
std::string listed(const Value* values, int room) {
  if (values == nullptr) return "null";
  while (room > 0 && values[room - 1] == 0) --room;
  std::ostringstream text;
  for (int i = 0; i < room; ++i) {
    if (i < 4 || room <= 12 || i == room - 1) text << (i == 0 ? "" : " ") << values[i];
  }
  return "[" + text.str() + "]";
}

template <typename... Parts>
std::string joined(const Parts&... parts) {
  std::ostringstream text;
  (text << ... << parts);
  return text.str();
}

/// The body of a record as a text.
inline std::string body(const ovk_DescriptorReadRspCallbackData_t& r) {
  return joined(r.numTagRegBlocks, listed(r.pTagRegBlocks, 10), ' ', r.numResRegBlocks, listed(r.pResRegBlocks, 10),
                ' ', r.ModbusBufferSize);
}
inline std::string body(const ovk_DescriptorReadReqCallbackData_t& /*record*/) { return "request"; }
inline std::string body(const ovk_TagReadRspCallbackData_t& r) {
  std::string text = joined(r.numTagItems);
  for (const TagItem_t* i = r.pTagItems; i != r.pTagItems + r.numTagItems; ++i) {
    text += joined(" {", i->fid, ' ', i->tag_type, ' ', i->tag, ' ', int{i->idd}, " '", ovk::tagValueText(*i), "' ",
                   i->startReg, ' ', i->regLen, '}');
  }
  return text;
}
inline std::string body(const ovk_TagReadReqCallbackData_t& r) {
  std::string text = joined(r.numTags);
  for (int i = 0; i < std::min(r.numTags, 3); ++i) text += joined(' ', r.pTags[i].tag_type, '/', r.pTags[i].tag_num);
  return text;
}
inline std::string body(const ovk_RegisterReadReqCallbackData_t& r) {
  return joined(r.startRegister1, ':', r.numberRegisters1, ' ', r.startRegister2, ':', r.numberRegisters2);
}
inline std::string body(const ovk_RegisterWriteRspCallbackData_t& /*record*/) { return "response"; }
template <typename Record> // the two with values
std::string body(const Record& r) {
  return joined(r.startRegister1, ':', r.numberRegisters1, listed(r.pStartRegister1, 1024), ' ', r.startRegister2, ':',
                r.numberRegisters2, listed(r.pStartRegister2, 1024));
}

/// What every callback does; the record is described with what stands in front of its body.
inline std::function<int(void* data, const std::string& description)> onMessage;

template <typename Record>
int callback(void* data, unsigned length) {
  const fake::Undisturbed undisturbed;
  EXPECT_EQ(length, sizeof(Record));
  const auto& record = *static_cast<const Record*>(data);
  std::string front;
  if constexpr (std::is_same_v<Record, ovk_RegisterWriteReqCallbackData_t>)
    front = joined(record.sendNotification, ' ');
  if constexpr (ovk::isResponse<Record>) front = joined(record.success, record.errReason, ' ');
  return onMessage(data, front + body(record));
}

class Receiver : public Test {
protected:
  Receiver() {
    startOver();
    onMessage = [this](void* /*data*/, const std::string& description) {
      records_.push_back(description);
      return 0;
    };
  }
  ~Receiver() override { onMessage = nullptr; }

  /// The library as loaded, with the bus and all registrations, and nothing received.
  void startOver() {
    fake::reset();
    ovk::enableBus(true);
    const ovk_ServiceCallback_t callbacks[] = {
        callback<ovk_DescriptorReadRspCallbackData_t>, callback<ovk_DescriptorReadReqCallbackData_t>,
        callback<ovk_TagReadRspCallbackData_t>,        callback<ovk_TagReadReqCallbackData_t>,
        callback<ovk_RegisterReadRspCallbackData_t>,   callback<ovk_RegisterReadReqCallbackData_t>,
        callback<ovk_RegisterWriteRspCallbackData_t>,  callback<ovk_RegisterWriteReqCallbackData_t>};
    for (std::size_t i = 0; i < 8; ++i) {
      OrvaneServices[i].p_ServiceCallback = reinterpret_cast<void*>(callbacks[i]);
      OrvaneServices[i].TransferChannelWriteIdx = i % 2 == 0 ? 0 : 3;
    }
    records_.clear();
  }

  static int process(const std::string& text) {
    return processReceivedMessage(text.c_str(), static_cast<unsigned>(text.size()));
  }

  /// The message becomes this record; or, of an empty record, is refused and counted on the service's error counter or
  /// the one given. These are all the lines of level 2, of a refusal those before its ending; MSG stands for the message.
  void expectRecord(int service, const std::string& text, const std::string& record, const std::string& errors,
                    int errorCounter = -1) {
    startOver();
    const bool refused = record.empty();
    if (errorCounter < 0) errorCounter = okCounters[service] + 1;
    EXPECT_EQ(process(text), refused ? -4 : 0);
    EXPECT_THAT(records_, refused ? std::vector<std::string>() : std::vector<std::string>{record});
    EXPECT_EQ(platform().counters, (std::map<int, int>{{refused ? errorCounter : okCounters[service], 1}}));
    const std::string ending = joined("could not get callback data for service ", service,
                                      ", message MSG\nprocessReceivedMessage() returns -4\n");
    EXPECT_EQ(platform().errors(text), errors + (refused ? ending : ""));
  }

  std::vector<std::string> records_;
};

} // namespace messages
