// Device files and what is wrong with them. What the members mean, end_to_end.sh sees.

#include "simulator/device_file.h"

#include <algorithm>
#include <fstream>

#include "failure.h"
#include "support/sections.h"
#include "support/temporary_directory.h"

namespace tool {
namespace {

DeviceDescription load(const std::string& file, const std::string& content) {
  std::ofstream(file, std::ios::binary) << content;
  return loadDeviceFile(file);
}

TEST(DeviceFile, TakesItsNameAndFaults) {
  const TemporaryDirectory directory;
  const DeviceDescription about =
      load(directory.path() + "/pump",
           R"({"fid": "VR017_00042_00A0B1C2D3E4", "name": "pump", "delay_ms": 20, "drop_every": 3, "fail_every": 2})");
  EXPECT_EQ(std::tuple(about.fid, about.name, about.faults.delayMs),
            std::tuple("VR017_00042_00A0B1C2D3E4", "pump", 20));
  Device device(about);
  std::string fates;
  for (int i = 0; i < 6; ++i) fates += "SDF"[static_cast<int>(device.nextFate())];
  EXPECT_EQ(fates, "SFDFSD");
}

TEST(DeviceFile, NamesWhatIsWrong) {
  const TemporaryDirectory directory;
  const std::string file = directory.path() + "/faulty";
  expectFaults(OVK_TEST_DATA "/tool/device_faults.txt", [&](const std::string& content) {
    try {
      load(file, content);
      return std::string("none");
    } catch (const Failure& failure) {
      std::string text = failure.what();
      text.resize(std::min(text.find(" - "), text.size())); // the rest are words of the JSON library
      return text.rfind(file + ": ", 0) == 0 ? text.substr(file.size() + 2) : text;
    }
  });
}

} // namespace
} // namespace tool
