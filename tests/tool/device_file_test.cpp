// Device files, one fault per row, each with the words that must lead to it. What the members mean, end_to_end.sh sees.

#include "device_file.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <unistd.h>

#include "failure.h"

namespace tool {
namespace {

class DeviceFile : public testing::Test {
protected:
  ~DeviceFile() override { std::filesystem::remove(file); }

  DeviceDescription load(const std::string& content) const {
    std::ofstream(file, std::ios::binary) << content;
    return loadDeviceFile(file);
  }
  void expectFault(const std::string& content, const char* words) const {
    EXPECT_THAT([&] { load(content); }, testing::ThrowsMessage<Failure>(testing::StartsWith(file + ": " + words)))
        << content;
  }

  const std::string file = testing::TempDir() + "device-" + std::to_string(getpid());
};

TEST_F(DeviceFile, TakesItsNameAndFaults) {
  const DeviceDescription device =
      load(R"({"fid": "VR017_00042_00A0B1C2D3E4", "name": "pump", "delay_ms": 20, "drop_every": 3, "fail_every": 5})");
  const Faults& faults = device.faults;
  EXPECT_EQ(std::tuple(device.fid, device.name, faults.delayMs, faults.dropEvery, faults.failEvery),
            std::tuple("VR017_00042_00A0B1C2D3E4", "pump", 20, 3, 5));
}

TEST_F(DeviceFile, NamesWhatIsWrongWithAMember) {
  const std::pair<const char*, const char*> rows[] = {
      {R"("name": "a\"b")", "name: has a quote"},
      {R"("name": 7)", "name: must be a text"},
      {R"("delay_ms": -1)", "delay_ms: must be a whole number from 0"},
      {R"("delay_ms": 1e999)", "has a number beyond the range"},
      {R"("name": [[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[)", "has more than 32 levels"},
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
      {R"("info": {"TagRegBlocks": [], "ResRegBlocks": [1,2,3,4,5]})", "info.ResRegBlocks: has more than 4 values"},
      {R"("info": {"TagRegBlocks": [0,70000]})", "info.TagRegBlocks[1]: must be a whole number"},
  };
  for (const auto& [member, words] : rows)
    expectFault(R"({"fid": "VR017_00042_00A0B1C2D3E4", )" + std::string(member) + "}", words);
}

TEST_F(DeviceFile, NamesWhatIsWrongWithATag) {
  const std::pair<const char*, const char*> rows[] = {
      {R"("tag_type": 3)", "tags[0].tag_type: must be a whole number from 1 to 2"},
      {R"("tag_type": 1, "idd": 256)", "tags[0].idd: must be a whole number from 0 to 255"},
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
  for (const auto& [members, words] : rows) expectFault(head + members + "}]}", words);
}

TEST_F(DeviceFile, NamesThePlaceOfASyntaxError) {
  expectFault("{\n  \"fid\": ,\n}", "line 2, column 10: ");
  expectFault("{\"fid\"", "line 1, column 7: ");
  expectFault(R"({"fid": "VR1"})", "fid: 'VR1' is not an identifier");
  expectFault("{}", "member 'fid' is missing");
}

} // namespace
} // namespace tool
