// Any bytes as a device file. A bad one is refused in one line that begins with its name. The device of a good one does as
// the file says: its registers are read and written, its tags read, and what it says fits a message.

#include <algorithm>
#include <fstream>
#include <optional>

#include "check.h"
#include "failure.h"
#include "simulator/device_file.h"
#include "support/temporary_directory.h"

namespace {

using fuzz::check;
using tool::Device;
using tool::DeviceDescription;
using tool::RegisterBlock;

bool isSendable(const std::string& text) {
  return std::none_of(text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == '"' || c == '\\'; });
}

// A fault is one line that begins with the name of the file.
std::optional<DeviceDescription> load(const std::string& file) {
  try {
    return tool::loadDeviceFile(file);
  } catch (const tool::Failure& failure) {
    const std::string text = failure.what();
    check(text.rfind(file + ": ", 0) == 0 && text.find('\n') == std::string::npos,
          "a fault names the file in one line");
    check(failure.code == tool::Exit_Other, "a bad file ends the tool with 1");
    return std::nullopt;
  }
}

// Whether the device does as it is asked.
template <typename Request>
bool isGranted(Request request) {
  try {
    request();
    return true;
  } catch (const tool::Refusal& refusal) {
    const std::string reason = refusal.what();
    check(!reason.empty() && reason.size() <= ovk_ErrReasonLength && isSendable(reason), "a reason fits an answer");
    return false;
  }
}

// Part by part, none longer than an answer can hold.
void useBlock(Device& device, const RegisterBlock& block) {
  check(block.start >= 0 && block.start < block.end() && block.end() <= tool::kAddressCount, "a block is possible");
  for (int start = block.start; start < block.end(); start += ovk_MaxRegistersPerArea) {
    const auto first = block.words.begin() + (start - block.start);
    std::vector<uint16_t> words(first, first + std::min(block.end() - start, ovk_MaxRegistersPerArea));
    check(device.read({start, -1}) == words, "a register has the value of the file");
    for (uint16_t& word : words) word = static_cast<uint16_t>(~word);
    check(isGranted([&] { device.write({{start, words}}); }) == block.writable, "what may be written, is");
  }
}

// Twice, since reading moves a tag on.
void useTags(Device& device, const std::vector<tool::SimulatedTag>& tags) {
  std::vector<Tag_t> selectors;
  for (const tool::SimulatedTag& tag : tags) selectors.push_back({tag.item.tag_type, tag.item.tag});
  for (int round = 0; round < 2; ++round) {
    std::vector<TagItem_t> items;
    check(isGranted([&] { items = device.readTags(selectors); }) && items.size() == tags.size(), "all tags are read");
    for (size_t i = 0; i < tags.size(); ++i) {
      const TagItem_t& expected = tags[i].item;
      const TagItem_t& item = items[i];
      check(item.tag_type == expected.tag_type && item.tag == expected.tag && item.idd == expected.idd,
            "a tag answers to its name");
      check(item.startReg >= 0 && item.regLen >= 0 && item.startReg + item.regLen <= tool::kAddressCount,
            "a tag's place is possible");
      check(round > 0 || item.data.ui == expected.data.ui, "a tag has the value of the file");
      check(expected.idd != ovk_TagData_Text || isSendable(item.data.str), "a text fits a message");
    }
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const TemporaryDirectory directory;
  const std::string file = directory.path() + "/device.json";
  std::ofstream(file, std::ios::binary).write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  const std::optional<DeviceDescription> description = load(file);
  if (!description) return 0;
  check(tool::isIdentifier(description->fid) && isSendable(description->name), "a device can be named");
  Device device(*description);
  for (const RegisterBlock& block : description->registers) useBlock(device, block);
  useTags(device, description->tags);
  check(isGranted([&] { device.info(); }) == description->hasInfo,
        "there is device information when the file has some");
  return 0;
}
