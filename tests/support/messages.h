#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "support/fake_platform.h"

// Messages as another controller would write them, and a test fixture around the scripted platform.

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
  ~Test() override { fake::failMallocAfter(-1); }

  fake::Platform& platform() { return fake::platform(); }

  /// Whether the text was traced at the level, once or more.
  bool traced(int level, const std::string& text) { return platform().traced(level, text + "\n") > 0; }

  /// The only message written; an empty one when there is none or are several.
  fake::WrittenMessage onlyWritten() {
    EXPECT_EQ(platform().written.size(), 1U) << platform().errors();
    return platform().written.size() == 1 ? platform().written.front() : fake::WrittenMessage{-1, ""};
  }
};

} // namespace messages
