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
    const int descriptor = mkstemp(name.data());
    if (descriptor < 0) throw std::runtime_error("no temporary file");
    close(descriptor);
    std::ofstream(name, std::ios::binary) << content;
  }
  ~TemporaryFile() { unlink(name.c_str()); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  std::string name = testing::TempDir() + "device-XXXXXX";
};

const std::string kFid = R"("fid": "VR017_00042_00A0B1C2D3E4")";

TEST(DeviceFile, TakesEveryMember) {
  const TemporaryFile file("{" + kFid + R"(, "name": "pump",
    "registers": [{"start": 100, "words": [1, 65535]}, {"start": 102, "count": 65434, "write": false}],
    "tags": [{"tag_type": 1, "tag": 17, "idd": 0, "value": 21.5, "step": 0.5, "startReg": 200, "regLen": 2},
             {"tag_type": 2, "tag": 17, "idd": 4, "value": "P-300/B", "startReg": 0, "regLen": 0}],
    "info": {"TagRegBlocks": [1,2,3,4,5,6,7,8,9,10], "ResRegBlocks": [], "ModbusBufferSize": 256},
    "delay_ms": 20, "drop_every": 3, "fail_every": 5})");
  const DeviceDescription device = loadDeviceFile(file.name);
  EXPECT_EQ(device.fid, "VR017_00042_00A0B1C2D3E4");
  EXPECT_EQ(device.name, "pump");
  ASSERT_EQ(device.registers.size(), 2U);
  EXPECT_TRUE(device.registers[0].writable);
  EXPECT_EQ(device.registers[0].words, (std::vector<uint16_t>{1, 65535}));
  EXPECT_FALSE(device.registers[1].writable);
  EXPECT_EQ(device.registers[1].end(), 65536);
  ASSERT_EQ(device.tags.size(), 2U);
  EXPECT_EQ(device.tags[0].item.data.f, 21.5F);
  EXPECT_EQ(device.tags[0].step, 0.5);
  EXPECT_STREQ(device.tags[1].item.data.str, "P-300/B");
  EXPECT_TRUE(device.hasInfo);
  EXPECT_EQ(device.info.tagRegBlocks.size(), 10U);
  EXPECT_EQ(device.faults.delayMs, 20);
  EXPECT_EQ(device.faults.dropEvery, 3);
  EXPECT_EQ(device.faults.failEvery, 5);
}

void expectFault(const std::string& content, const std::string& words) {
  const TemporaryFile file(content);
  try {
    loadDeviceFile(file.name);
    ADD_FAILURE() << "taken: " << content;
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.code, Exit_Other);
    EXPECT_EQ(std::string(failure.what()).find(file.name + ": " + words), 0U) << content << "\n" << failure.what();
  }
}

TEST(DeviceFile, NamesWhatIsWrongWithAMember) {
  const struct {
    const char* members;
    const char* words;
  } rows[] = {
      {R"("nmae": "x")", "unknown member 'nmae'"},
      {R"("name": "a\"b")", "name: has a quote"},
      {R"("name": 7)", "name: must be a text"},
      {R"("delay_ms": -1)", "delay_ms: must be a whole number from 0"},
      {R"("drop_every": "2")", "drop_every: must be a whole number"},
      {R"("registers": {})", "registers: must be an array"},
      {R"("registers": [7])", "registers[0]: must be an object"},
      {R"("registers": [{"words": [1]}])", "registers[0]: member 'start' is missing"},
      {R"("registers": [{"start": 65536, "count": 1}])", "registers[0].start: must be a whole number from 0 to 65535"},
      {R"("registers": [{"start": 0, "count": 1.0}])", "registers[0].count: must be a whole number"},
      {R"("registers": [{"start": 0, "count": 0}])", "registers[0].count: must be"},
      {R"("registers": [{"start": 0}])", "registers[0]: needs either"},
      {R"("registers": [{"start": 0, "count": 1, "words": [1]}])", "registers[0]: needs either"},
      {R"("registers": [{"start": 0, "words": []}])", "registers[0].words: must not be empty"},
      {R"("registers": [{"start": 0, "words": [1, 65536]}])", "registers[0].words[1]: must be a whole number"},
      {R"("registers": [{"start": 0, "words": [18446744073709551615]}])", "registers[0].words[0]: must be"},
      {R"("registers": [{"start": 65535, "words": [1, 2]}])", "registers[0]: goes past register 65535"},
      {R"("registers": [{"start": 0, "count": 1, "write": 0}])", "registers[0].write: must be true or false"},
      {R"("registers": [{"start": 5, "count": 5}, {"start": 0, "count": 6}])",
       "registers[1]: overlaps registers[0] at register 5"},
      {R"("info": {"TagRegBlocks": [], "ResRegBlocks": []})", "info: member 'ModbusBufferSize' is missing"},
      {R"("info": {"TagRegBlocks": [], "ResRegBlocks": [1,2,3,4,5], "ModbusBufferSize": 0})",
       "info.ResRegBlocks: has more than 4 values"},
      {R"("info": {"TagRegBlocks": [0,70000], "ResRegBlocks": [], "ModbusBufferSize": 0})",
       "info.TagRegBlocks[1]: must be a whole number"},
  };
  for (const auto& row : rows) expectFault("{" + kFid + ", " + row.members + "}", row.words);
}

TEST(DeviceFile, NamesWhatIsWrongWithATag) {
  const struct {
    const char* members;
    const char* words;
  } rows[] = {
      {R"("tag_type": 3, "tag": 1, "idd": 0, "value": 1)", "tags[0].tag_type: must be a whole number from 1 to 2"},
      {R"("tag_type": 1, "tag": 1, "idd": 256, "value": 1)", "tags[0].idd: must be"},
      {R"("tag_type": 1, "tag": 1, "idd": 0)", "tags[0]: member 'value' is missing"},
      {R"("tag_type": 1, "tag": 1, "idd": 0, "value": 1e39)", "tags[0].value: does not fit a 32-bit float"},
      {R"("tag_type": 1, "tag": 1, "idd": 1, "value": -1)",
       "tags[0].value: must be a whole number from 0 to 4294967295"},
      {R"("tag_type": 1, "tag": 1, "idd": 9, "value": 2147483648)", "tags[0].value: must be a whole number"},
      {R"("tag_type": 1, "tag": 1, "idd": 4, "value": "two words")", "tags[0].value: must be one word"},
      {R"("tag_type": 1, "tag": 1, "idd": 4, "value": "12345678901234567890")", "tags[0].value: has more than 19"},
      {R"("tag_type": 1, "tag": 1, "idd": 4, "value": "x", "step": 1)", "tags[0].step: needs a number"},
      {R"("tag_type": 1, "tag": 1, "idd": 3, "value": 1)", "tags[0].value: cannot be sent"},
      {R"("tag_type": 1, "tag": 1, "idd": 2, "value": 1, "step": 0.5)", "tags[0].step: must be a whole number"},
  };
  for (const auto& row : rows) {
    expectFault("{" + kFid + R"(, "tags": [{"startReg": 0, "regLen": 1, )" + row.members + "}]}", row.words);
  }
  const std::string tag = R"({"tag_type": 2, "tag": 9, "idd": 3, "startReg": 0, "regLen": 1})";
  expectFault("{" + kFid + R"(, "tags": [)" + tag + "," + tag + "]}", "tags[1]: info:9 is already tags[0]");
}

TEST(DeviceFile, NamesThePlaceOfASyntaxError) {
  const std::pair<const char*, const char*> rows[] = {
      {"{\n  \"fid\": ,\n}", "line 2, column 10: "},
      {"{\"fid\"", "line 1, column "},
      {"[]", "must be an object"},
      {R"({"tags": [{"tag": 1, "idd": 1, "tag": 2}]})", "member 'tag' stands twice"},
      {R"({"fid": "VR1"})", "fid: 'VR1' is not an identifier"},
      {"{}", "member 'fid' is missing"},
  };
  for (const auto& [content, words] : rows) expectFault(content, words);
  EXPECT_THROW(loadDeviceFile(testing::TempDir()), Failure) << "a directory";
  EXPECT_THROW(loadDeviceFile(testing::TempDir() + "/no/such/file"), Failure);
}

} // namespace
} // namespace tool
