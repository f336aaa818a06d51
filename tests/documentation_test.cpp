// The examples of docs/messages.md are messages that the receiver takes without complaint.

#include <gmock/gmock.h>

#include <fstream>
#include <set>

#include "core/receive_loop.h"
#include "message/parse.h"
#include "ovk/ovk.h"
#include "support/messages.h"

namespace {

class Documentation : public messages::Test {};

std::vector<std::string> jsonBlocks(const std::string& file) {
  std::ifstream in(file);
  EXPECT_TRUE(in) << file;
  std::vector<std::string> blocks;
  std::string line;
  bool inside = false;
  while (std::getline(in, line)) {
    if (line.rfind("```", 0) == 0) {
      inside = line == "```json";
      if (inside) blocks.emplace_back();
    } else if (inside) {
      blocks.back() += line + "\n";
    }
  }
  return blocks;
}

int accept(void* /*data*/, unsigned /*length*/) { return 0; }

TEST_F(Documentation, EveryExampleIsReceived) {
  for (auto& entry : OrvaneServices) entry.p_ServiceCallback = reinterpret_cast<void*>(accept);
  std::set<int> types;
  for (const std::string& block : jsonBlocks(OVK_MESSAGES_PAGE)) {
    EXPECT_EQ(processReceivedMessage(block.c_str(), static_cast<unsigned>(block.size())), 0) << block;
    EXPECT_EQ(platform().errors(), "") << block;
    int msgType = 0;
    getMsgType(block.c_str(), 0, &msgType);
    types.insert(msgType);
  }
  EXPECT_THAT(types, testing::ElementsAre(200, 201, 202, 203, 204, 205, 206, 207));
}

} // namespace
