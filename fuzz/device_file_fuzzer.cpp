// Any bytes as a device file. A bad one is refused in one line that begins with its name. The device of a good one does as
// the file says: its registers are read, written and protected, its tags read, and what it says fits a message.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <unistd.h>

#include "check.h"
#include "device_file.h"
#include "failure.h"

namespace {

using fuzz::check;
using tool::Device;
using tool::DeviceDescription;
using tool::RegisterBlock;

class File {
public:
  File() : name_((std::filesystem::temp_directory_path() / "ovk-fuzz-XXXXXX").string()) {
    const int file = ::mkstemp(name_.data());
    check(file >= 0, "a file can be made");
    ::close(file);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() {
    std::error_code ignored;
    std::filesystem::remove(name_, ignored);
  }

  const std::string& name() const { return name_; }
  void write(const uint8_t* data, size_t size) const {
    std::ofstream(name_, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }

private:
  std::string name_;
};

bool hasControlCharacter(const std::string& text) {
  return std::any_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; });
}

bool isSendable(const std::string& text) {
  return !hasControlCharacter(text) && text.find_first_of("\"\\") == std::string::npos;
}

std::optional<DeviceDescription> load(const std::string& file) {
  try {
    return tool::loadDeviceFile(file);
  } catch (const tool::Failure& failure) {
    const std::string text = failure.what();
    check(text.size() > file.size() + 2 && text.compare(0, file.size() + 2, file + ": ") == 0,
          "a fault names the file");
    check(!hasControlCharacter(text), "a fault is one line");
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

using Words = std::vector<uint16_t>;

Words readOrNothing(const Device& device, tool::Area area) {
  Words words;
  isGranted([&] { words = device.read(area); });
  return words;
}

// Part by part, none longer than an answer can hold.
void useBlock(Device& device, const RegisterBlock& block) {
  check(block.start >= 0 && block.start < block.end() && block.end() <= tool::kAddressCount, "a block is possible");
  for (size_t from = 0; from < block.words.size(); from += ovk_MaxRegistersPerArea) {
    const size_t count = std::min<size_t>(block.words.size() - from, ovk_MaxRegistersPerArea);
    const auto first = block.words.begin() + static_cast<std::ptrdiff_t>(from);
    const Words before(first, first + static_cast<std::ptrdiff_t>(count));
    const int start = block.start + static_cast<int>(from);
    check(readOrNothing(device, {start, static_cast<int>(count)}) == before, "a register has the value of the file");
    check(readOrNothing(device, {start, -1}) == before, "a block is read to its end, or as far as an answer goes");
    Words other = before;
    for (uint16_t& word : other) word = static_cast<uint16_t>(~word);
    check(isGranted([&] { device.write({{start, other}}); }) == block.writable, "what may be written, is");
    const Words after = readOrNothing(device, {start, static_cast<int>(count)});
    check(after == (block.writable ? other : before), "a register keeps what is written, and nothing else");
  }
}

void useRegisters(Device& device, const std::vector<RegisterBlock>& blocks) {
  for (const RegisterBlock& block : blocks) useBlock(device, block);
  const auto isInside = [&](int address) {
    return std::any_of(blocks.begin(), blocks.end(),
                       [&](const RegisterBlock& block) { return block.start <= address && address < block.end(); });
  };
  for (const RegisterBlock& block : blocks) {
    for (const int address : {block.start - 1, block.end()}) {
      check(readOrNothing(device, {address, 1}).empty() != isInside(address), "only what the file names exists");
    }
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
      check(items[i].tag_type == expected.tag_type && items[i].tag == expected.tag, "a tag answers to its name");
      check(items[i].idd == expected.idd && items[i].startReg >= 0 && items[i].regLen >= 0 &&
                items[i].startReg + items[i].regLen <= tool::kAddressCount,
            "a tag's place is possible");
      check(round > 0 || items[i].data.ui == expected.data.ui, "a tag has the value of the file");
      check(expected.idd != 4 || isSendable(items[i].data.str), "a text fits a message");
    }
  }
}

void useInfo(const Device& device, bool hasInfo) {
  check(isGranted([&] { device.info(); }) == hasInfo, "there is device information when the file has some");
  if (!hasInfo) return;
  const tool::DeviceInfo& info = device.info();
  check(info.tagRegBlocks.size() <= ovk_MaxTagRegBlocks && info.resRegBlocks.size() <= ovk_MaxResRegBlocks &&
            info.modbusBufferSize >= 0,
        "device information fits a message");
}

void useFaults(Device& device, const tool::Faults& faults) {
  for (int request = 1; request <= 4; ++request) {
    const bool isDropped = faults.dropEvery > 0 && request % faults.dropEvery == 0;
    const bool isFailed = !isDropped && faults.failEvery > 0 && request % faults.failEvery == 0;
    const auto fate = isDropped ? Device::Fate::Drop : isFailed ? Device::Fate::Fail : Device::Fate::Serve;
    check(device.nextFate() == fate, "a device misbehaves as its file says");
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const File file;
  file.write(data, size);
  const std::optional<DeviceDescription> description = load(file.name());
  if (!description) return 0;
  check(tool::isIdentifier(description->fid) && isSendable(description->name), "a device can be named");
  Device device(*description);
  useRegisters(device, description->registers);
  useTags(device, description->tags);
  useInfo(device, description->hasInfo);
  useFaults(device, description->faults);
  return 0;
}
