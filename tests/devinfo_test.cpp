// Device information requests, responses and the lists read back from them.

#include <gmock/gmock.h>

#include "core/receive_loop.h"
#include "devinfo/devinfo_callback_data.h"
#include "devinfo/devinfo_payload.h"
#include "ovk/ovk.h"
#include "support/messages.h"

using messages::own;
using messages::peer;
using messages::replaced;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class DeviceInformation : public messages::Test {};

int tagBlocks[] = {100, 200, 3, 4, 5, 6, 7, 8, 9, 10};
int resBlocks[] = {300, 2, 3, 4};

TEST_F(DeviceInformation, Request) {
  OrvaneServices[1].p_ServiceCallback = this; // another service does not matter
  EXPECT_EQ(ovk_ReadDeviceInfo("d", "r"), 6U);
  EXPECT_TRUE(traced(2, "No callback function registered for service ovk_Service_OrvaneBusClient"));
  OrvaneServices[0].p_ServiceCallback = this;
  EXPECT_EQ(ovk_ReadDeviceInfo("", "r"), 2U);
  EXPECT_EQ(ovk_ReadDeviceInfo(nullptr, "r"), 2U);
  EXPECT_EQ(ovk_ReadDeviceInfo("d", "r"), 0U);
  EXPECT_THAT(onlyWritten().text, HasSubstr(R"({"msg_type":204,"ver":"1.0","ref_id":"r",)"));
  EXPECT_THAT(onlyWritten().text, HasSubstr(R"("},"data":[]})"));
}

TEST_F(DeviceInformation, Responses) {
  const struct {
    const char* what;
    const char *dst, *src;
    int tagCount;
    int* tags;
    int resCount;
    int* res;
    bool success;
    unsigned status;
    const char* traceOrText;
  } rows[] = {
      {"two and one", "d", "s", 2, tagBlocks, 1, resBlocks, true, 0,
       R"("success":true,"data":{"numTagRegBlocks":2,"TagRegBlocks":[100,200],"numResRegBlocks":1,"ResRegBlocks":[300],)"
       R"("ModbusBufferSize":256}})"},
      {"all", "d", "s", 10, tagBlocks, 4, resBlocks, true, 0, R"("ResRegBlocks":[300,2,3,4],)"},
      {"none", "d", "s", 0, nullptr, 0, nullptr, true, 0, R"("numTagRegBlocks":0,"TagRegBlocks":[],)"},
      {"negative", "d", "s", -3, nullptr, -1, nullptr, true, 0, R"("numTagRegBlocks":-3,"TagRegBlocks":[],)"},
      {"failure", "d", "s", 99, nullptr, 99, nullptr, false, 0, R"("success":false,"err_reason":"why","data":{}})"},
      {"11 tag blocks", "d", "s", 11, tagBlocks, 5, resBlocks, true, 2,
       "Invalid numTagRegisterBlocks of 11, must be < 10"},
      {"5 reserved blocks", "d", "s", 1, tagBlocks, 5, resBlocks, true, 2,
       "Invalid numReservedRegisterBlocks of 5, must be < 4"},
      {"null tag blocks", "d", "s", 1, nullptr, 1, resBlocks, true, 2, "No values for numTagRegBlocks=1: null pointer"},
      {"null reserved blocks", "d", "s", 1, tagBlocks, 4, nullptr, true, 2,
       "No values for numResRegBlocks=4: null pointer"},
      {"empty source first", "", "", 99, nullptr, 0, nullptr, true, 2, "Empty source fid"},
      {"null destination", nullptr, "s", 0, nullptr, 0, nullptr, true, 2, "Empty destination fid"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    fake::reset();
    EXPECT_EQ(ovk_serveReadDeviceInfo(row.dst, row.src, "r", row.tagCount, row.tags, row.resCount, row.res, 256,
                                      row.success, "why"),
              row.status);
    if (row.status == 0) {
      EXPECT_THAT(onlyWritten().text, HasSubstr(row.traceOrText));
    } else {
      EXPECT_TRUE(traced(2, row.traceOrText)) << platform().errors();
      EXPECT_TRUE(platform().written.empty());
    }
  }
  ovk_serveReadDeviceInfo("d", "s", "r", 2, tagBlocks, 0, nullptr, 256, true, nullptr);
  for (const char* line : {"numTagRegisterBlocks = 2", "block_index = 1", "stringName = 200",
                           R"(JSON descrData string: {"numTagRegBlocks":2,"TagRegBlocks":[100,200]} )"}) {
    EXPECT_TRUE(traced(6, line)) << line;
  }
}

// What the reader makes of a payload; outputs of missing values keep the -1 they had.
TEST_F(DeviceInformation, Payloads) {
  const std::string good = R"({"numTagRegBlocks":2,"TagRegBlocks":[100,70000],"numResRegBlocks":1,"ResRegBlocks":[-1],)"
                           R"("ModbusBufferSize":256})";
  const struct {
    const char* what;
    std::string data;
    int result, tagCount, tag0, tag1, resCount, res0, bufferSize;
  } rows[] = {
      {"good", good, 0, 2, 100, 4464, 1, 65535, 256},
      {"fewer elements", replaced(good, ",70000", ""), 0, 2, 100, 0, 1, 65535, 256},
      {"more elements", replaced(good, "Blocks\":2", "Blocks\":1"), 0, 1, 100, 0, 1, 65535, 256},
      {"no tag count", replaced(good, "numTag", "Tag"), -1, -1, 0, 0, 1, 65535, 256},
      {"no reserved count", replaced(good, "numRes", "Res"), -2, 2, 100, 4464, -1, 0, 256},
      {"no buffer size", replaced(good, "Modbus", "Bus"), -3, 2, 100, 4464, 1, 65535, -1},
      {"nothing", "{}", -3, -1, 0, 0, -1, 0, -1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    int tagCount = -1;
    int resCount = -1;
    int bufferSize = -1;
    int tags[10] = {};
    int res[4] = {};
    EXPECT_EQ(getReadResponseDevInfoContent(messages::response(205, row.data).c_str(), 0, &tagCount, tags, &resCount,
                                            res, &bufferSize),
              row.result);
    EXPECT_THAT((std::vector<int>{tagCount, tags[0], tags[1], resCount, res[0], bufferSize}),
                ElementsAre(row.tagCount, row.tag0, row.tag1, row.resCount, row.res0, row.bufferSize));
  }
}

TEST_F(DeviceInformation, CountsOfForeignWriters) {
  const struct {
    int tagCount, resCount, tagStored, resStored;
  } rows[] = {{10, 4, 10, 4}, {11, 5, -1, -1}, {-5, 10, -1, -1}, {0, 0, 0, 0}, {2000000000, -2, -1, -1}};
  const std::string elements = "1,2,3,4,5,6,7,8,9,10,11,12";
  for (const auto& row : rows) {
    SCOPED_TRACE(row.tagCount);
    ovk_DescriptorReadRspCallbackData_t record{};
    const std::string data = R"({"numTagRegBlocks":)" + std::to_string(row.tagCount) + R"(,"TagRegBlocks":[)" +
                             elements + R"(],"numResRegBlocks":)" + std::to_string(row.resCount) +
                             R"(,"ResRegBlocks":[)" + elements + R"(],"ModbusBufferSize":-7})";
    ASSERT_EQ(getDescriptorReadRspCallbackData(messages::response(205, data).c_str(), 0, &record), 0);
    EXPECT_EQ(record.numTagRegBlocks, row.tagStored);
    EXPECT_EQ(record.numResRegBlocks, row.resStored);
    EXPECT_EQ(record.pTagRegBlocks[9], row.tagCount >= 10 ? 10 : 0);
    EXPECT_EQ(record.pResRegBlocks[3], row.resCount >= 4 ? 4 : 0);
    for (int slot = 4; slot < 10; ++slot) EXPECT_EQ(record.pResRegBlocks[slot], 0);
    EXPECT_EQ(record.ModbusBufferSize, -7);
    std::free(record.pTagRegBlocks);
    std::free(record.pResRegBlocks);
  }
  EXPECT_TRUE(traced(2, "numResRegBlocks of 5 is not usable, possible are 0 to 4"));
}

TEST_F(DeviceInformation, RequestRecord) {
  ovk_DescriptorReadReqCallbackData_t record{};
  EXPECT_EQ(getDescriptorReadReqCallbackData(messages::request(204, "[]").c_str(), 0, &record), 0);
  EXPECT_EQ(record.srcFid, peer);
  EXPECT_EQ(record.dstFid, own);
  EXPECT_STREQ(record.refId, "r-17");
  EXPECT_EQ(getDescriptorReadReqCallbackData("{}", 0, &record), -1);
  EXPECT_STREQ(record.srcFid, "");
  EXPECT_TRUE(traced(2, "getRequestMessageParameters() failed for message {}"));
}

} // namespace
