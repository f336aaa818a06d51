// Device files: one that uses every member, and one fault per row, each with the words that must lead to it.

#include "device_file.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

#include "failure.h"

namespace tool {
namespace {

class TemporaryFile {
public:
  explicit TemporaryFile(const std::string& content) {
    close(mkstemp(name.data()));
    std::ofstream(name, std::ios::binary) << content;
  }
  ~TemporaryFile() { unlink(name.c_str()); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  std::string name = testing::TempDir() + "device-XXXXXX";
};

TEST(DeviceFile, TakesEveryMember) {
  const TemporaryFile file(R"({"fid": "VR017_00042_00A0B1C2D3E4", "name": "pump",
    "registers": [{"start": 100, "words": [1, 65535]}, {"start": 102, "count": 65434, "write": false}],
    "tags": [{"tag_type": 1, "tag": 17, "idd": 0, "value": 21.5, "step": 0.5, "startReg": 200, "regLen": 2},
             {"tag_type": 2, "tag": 17, "idd": 4, "value": "P-300/B", "startReg": 0, "regLen": 0}],
    "info": {"TagRegBlocks": [1,2,3,4,5,6,7,8,9,10], "ResRegBlocks": [], "ModbusBufferSize": 256},
    "delay_ms": 20, "drop_every": 3, "fail_every": 5})");
  const DeviceDescription device = loadDeviceFile(file.name);
  EXPECT_EQ(device.fid + device.name, "VR017_00042_00A0B1C2D3E4pump");
  ASSERT_EQ(device.registers.size(), 2U);
  EXPECT_TRUE(device.registers[0].writable && !device.registers[1].writable);
  EXPECT_EQ(device.registers[0].words, (std::vector<uint16_t>{1, 65535}));
  EXPECT_EQ(device.registers[1].end(), 65536);
  ASSERT_EQ(device.tags.size(), 2U);
  EXPECT_EQ(device.tags[0].item.data.f, 21.5F);
  EXPECT_EQ(device.tags[0].step, 0.5);
  EXPECT_STREQ(device.tags[1].item.data.str, "P-300/B");
  EXPECT_EQ(device.info.tagRegBlocks.size(), device.hasInfo ? 10U : 0U);
  const Faults& faults = device.faults;
  EXPECT_EQ(std::tuple(faults.delayMs, faults.dropEvery, faults.failEvery), std::tuple(20, 3, 5));
}

struct Row {
  std::string content;
  const char* words;
};

void expectFault(const Row& row) {
  const TemporaryFile file(row.content);
  try {
    loadDeviceFile(file.name);
    ADD_FAILURE() << "taken: " << row.content;
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.code, Exit_Other);
    EXPECT_EQ(std::string(failure.what()).find(file.name + ": " + row.words), 0U) << failure.what();
  }
}

TEST(DeviceFile, NamesWhatIsWrongWithAMember) {
  const Row rows[] = {
      {R"("nmae": "x")", "unknown member 'nmae'"},
      {R"("name": "a\"b")", "name: has a quote"},
      {R"("name": 7)", "name: must be a text"},
      {R"("delay_ms": -1)", "delay_ms: must be a whole number from 0"},
      {R"("drop_every": "2")", "drop_every: must be a whole number"},
      {R"("registers": {})", "registers: must be an array"},
      {R"("registers": [7])", "registers[0]: must be an object"},
      {R"("registers": [{"words": [1]}])", "registers[0]: member 'start' is missing"},
      {R"("registers": [{"start": 0, "count": 1.0}])", "registers[0].count: must be a whole number from 1 to 65536"},
      {R"("registers": [{"start": 0}])", "registers[0]: needs either"},
      {R"("registers": [{"start": 0, "count": 1, "words": [1]}])", "registers[0]: needs either"},
      {R"("registers": [{"start": 0, "words": []}])", "registers[0].words: must not be empty"},
      {R"("registers": [{"start": 0, "words": [1, 65536]}])", "registers[0].words[1]: must be a whole number"},
      {R"("registers": [{"start": 18446744073709551615, "count": 1}])", "registers[0].start: must be a whole"},
      {R"("registers": [{"start": 65535, "words": [1, 2]}])", "registers[0]: goes past register 65535"},
      {R"("registers": [{"start": 0, "count": 1, "write": 0}])", "registers[0].write: must be true or false"},
      {R"("registers": [{"start": 5, "count": 5}, {"start": 0, "count": 6}])",
       "registers[1]: overlaps registers[0] at register 5"},
      {R"("info": {"TagRegBlocks": [], "ResRegBlocks": []})", "info: member 'ModbusBufferSize' is missing"},
      {R"("info": {"TagRegBlocks": [], "ResRegBlocks": [1,2,3,4,5]})", "info.ResRegBlocks: has more than 4 values"},
      {R"("info": {"TagRegBlocks": [0,70000]})", "info.TagRegBlocks[1]: must be a whole number"},
  };
  for (const Row& row : rows) expectFault({R"({"fid": "VR017_00042_00A0B1C2D3E4", )" + row.content + "}", row.words});
}

TEST(DeviceFile, NamesWhatIsWrongWithATag) {
  const Row rows[] = {
      {R"("tag_type": 3)", "tags[0].tag_type: must be a whole number from 1 to 2"},
      {R"("tag_type": 1, "idd": 256)", "tags[0].idd: must be a whole number from 0 to 255"},
      {R"("tag_type": 1, "idd": 0)", "tags[0]: member 'value' is missing"},
      {R"("tag_type": 1, "idd": 0, "value": 1e39)", "tags[0].value: does not fit a 32-bit float"},
      {R"("tag_type": 1, "idd": 1, "value": -1)", "tags[0].value: must be a whole number from 0 to 4294967295"},
      {R"("tag_type": 1, "idd": 9, "value": 2147483648)", "tags[0].value: must be a whole number"},
      {R"("tag_type": 1, "idd": 4, "value": "two words")", "tags[0].value: must be one word"},
      {R"("tag_type": 1, "idd": 4, "value": "12345678901234567890")", "tags[0].value: has more than 19"},
      {R"("tag_type": 1, "idd": 4, "value": "x", "step": 1)", "tags[0].step: needs a number"},
      {R"("tag_type": 1, "idd": 3, "value": 1)", "tags[0].value: cannot be sent"},
      {R"("tag_type": 1, "idd": 2, "value": 1, "step": 0.5)", "tags[0].step: must be a whole number"},
      {R"("tag_type": 2, "idd": 3}, {"tag": 9, "startReg": 0, "regLen": 1, "tag_type": 2, "idd": 3)",
       "tags[1]: info:9 is already tags[0]"},
  };
  const std::string head = R"({"fid": "VR017_00042_00A0B1C2D3E4", "tags": [{"tag": 9, "startReg": 0, "regLen": 1, )";
  for (const Row& row : rows) expectFault({head + row.content + "}]}", row.words});
}

TEST(DeviceFile, NamesThePlaceOfASyntaxError) {
  const Row rows[] = {
      {"{\n  \"fid\": ,\n}", "line 2, column 10: "},
      {"{\"fid\"", "line 1, column "},
      {"[]", "must be an object"},
      {R"({"tags": [{"tag": 1, "idd": 1, "tag": 2}]})", "member 'tag' stands twice"},
      {R"({"fid": "VR1"})", "fid: 'VR1' is not an identifier"},
      {"{}", "member 'fid' is missing"},
  };
  for (const Row& row : rows) expectFault(row);
  EXPECT_THROW(loadDeviceFile(testing::TempDir()), Failure) << "a directory";
}

} // namespace
} // namespace tool
