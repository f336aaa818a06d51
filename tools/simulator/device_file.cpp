// Device files: what a simulated device is.
//
//   {"fid": "VR017_00042_00A0B1C2D3E4", "name": "pump",
//    "registers": [{"start": 100, "words": [1, 2]}, {"start": 200, "count": 8, "write": false}],
//    "tags": [{"tag_type": 1, "tag": 17, "idd": 0, "value": 21.5, "step": 0.5, "startReg": 200, "regLen": 2}],
//    "info": {"TagRegBlocks": [200], "ResRegBlocks": [], "ModbusBufferSize": 256},
//    "delay_ms": 0, "drop_every": 0, "fail_every": 0}
//
// Only "fid" is needed. A member that is not known is an error: a misspelt one would be silently without effect.

#include "simulator/device_file.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>

#include "json_member.h"

namespace tool {
namespace {

constexpr int kLastAddress = kAddressCount - 1;
constexpr int kMostRequests = 1000000000;
constexpr int kLongestDelayMs = 3600000;
constexpr size_t kLongestName = 80;
constexpr size_t kLongestTagText = sizeof(TagItem_t::data.str) - 1;

RegisterBlock readBlock(const JsonMember& member) {
  member.requireOnly({"start", "words", "count", "write"});
  RegisterBlock block;
  block.start = member.integer("start", 0, kLastAddress);
  if (member.has("words") == member.has("count")) member.fail("needs either 'words' or 'count'");
  if (member.has("count")) block.words.resize(static_cast<size_t>(member.integer("count", 1, kAddressCount)));
  if (member.has("words")) {
    for (const JsonMember& word : member.member("words").elements()) {
      block.words.push_back(static_cast<uint16_t>(word.integer(0, 65535)));
    }
  }
  if (block.words.empty()) member.member("words").fail("must not be empty");
  if (block.end() > kAddressCount) member.fail("goes past register 65535");
  block.writable = !member.has("write") || member.member("write").boolean();
  return block;
}

std::vector<RegisterBlock> readBlocks(const JsonMember& list) {
  std::vector<RegisterBlock> blocks;
  for (const JsonMember& member : list.elements()) {
    const RegisterBlock block = readBlock(member);
    for (size_t i = 0; i < blocks.size(); ++i) {
      if (block.start >= blocks[i].end() || blocks[i].start >= block.end()) continue;
      const int shared = std::max(block.start, blocks[i].start);
      member.fail("overlaps registers[" + std::to_string(i) + "] at register " + std::to_string(shared));
    }
    blocks.push_back(block);
  }
  return blocks;
}

float readFloat(const JsonMember& member) {
  const double number = member.number();
  if (std::fabs(number) > static_cast<double>(FLT_MAX)) member.fail("does not fit a 32-bit float");
  return static_cast<float>(number);
}

/// Only the first word of a text would arrive.
void readText(const JsonMember& member, char (&field)[kLongestTagText + 1]) {
  const std::string text = member.text(kLongestTagText);
  if (text.empty() || text.find(' ') != std::string::npos) member.fail("must be one word");
  text.copy(field, kLongestTagText);
}

/// The type codes are those of the tag records.
void readWholeNumber(const JsonMember& value, TagItem_t& item) {
  constexpr auto least = std::numeric_limits<int32_t>::min();
  constexpr auto most = std::numeric_limits<int32_t>::max();
  if (item.idd == ovk_TagData_Unsigned) {
    item.data.ui = static_cast<uint32_t>(value.integer(0, std::numeric_limits<uint32_t>::max()));
  } else {
    item.data.i = static_cast<int32_t>(value.integer(least, most));
  }
}

bool isWholeNumber(int idd) {
  return idd == ovk_TagData_Unsigned || idd == ovk_TagData_Signed || idd == ovk_TagData_Signed5 ||
         idd == ovk_TagData_Signed8 || idd == ovk_TagData_Signed9;
}

void readValue(const JsonMember& member, SimulatedTag& tag) {
  const int idd = tag.item.idd;
  const bool steps = idd == ovk_TagData_Float || isWholeNumber(idd);
  if (!steps && member.has("step")) member.member("step").fail("needs a number to be added to");
  if (!steps && idd != ovk_TagData_Text) {
    if (member.has("value")) member.member("value").fail("cannot be sent with idd " + std::to_string(idd));
    return;
  }
  const JsonMember value = member.member("value");
  if (idd == ovk_TagData_Text) return readText(value, tag.item.data.str);
  if (idd == ovk_TagData_Float) {
    tag.item.data.f = readFloat(value);
    if (member.has("step")) tag.step = static_cast<double>(readFloat(member.member("step")));
    return;
  }
  readWholeNumber(value, tag.item);
  constexpr int64_t most = std::numeric_limits<uint32_t>::max();
  if (member.has("step")) tag.step = static_cast<double>(member.member("step").integer(-most, most));
}

SimulatedTag readTag(const JsonMember& member) {
  member.requireOnly({"tag_type", "tag", "idd", "value", "step", "startReg", "regLen"});
  SimulatedTag tag;
  tag.item.tag_type = member.integer("tag_type", DevTag, DevInfoTag);
  tag.item.tag = static_cast<uint16_t>(member.integer("tag", 0, 65535));
  tag.item.idd = static_cast<uint8_t>(member.integer("idd", 0, 255));
  tag.item.startReg = member.integer("startReg", 0, kLastAddress);
  tag.item.regLen = member.integer("regLen", 0, kAddressCount);
  if (tag.item.startReg + tag.item.regLen > kAddressCount) member.fail("goes past register 65535");
  readValue(member, tag);
  return tag;
}

std::vector<SimulatedTag> readTags(const JsonMember& list) {
  std::vector<SimulatedTag> tags;
  for (const JsonMember& member : list.elements()) {
    const SimulatedTag tag = readTag(member);
    const auto same = std::find_if(tags.begin(), tags.end(), [&](const SimulatedTag& other) {
      return other.item.tag_type == tag.item.tag_type && other.item.tag == tag.item.tag;
    });
    if (same != tags.end()) {
      member.fail(tagLabel(tag.item.tag_type, tag.item.tag) + " is already tags[" +
                  std::to_string(same - tags.begin()) + "]");
    }
    tags.push_back(tag);
  }
  return tags;
}

std::vector<int> readNumbers(const JsonMember& list, size_t most) {
  std::vector<int> numbers;
  for (const JsonMember& element : list.elements()) numbers.push_back(static_cast<int>(element.integer(0, 65535)));
  if (numbers.size() > most) list.fail("has more than " + std::to_string(most) + " values");
  return numbers;
}

DeviceInfo readInfo(const JsonMember& member) {
  member.requireOnly({"TagRegBlocks", "ResRegBlocks", "ModbusBufferSize"});
  return {readNumbers(member.member("TagRegBlocks"), ovk_MaxTagRegBlocks),
          readNumbers(member.member("ResRegBlocks"), ovk_MaxResRegBlocks),
          member.integer("ModbusBufferSize", 0, std::numeric_limits<int>::max())};
}

std::string readFid(const JsonMember& member) {
  std::string fid = member.text(ovk_FusionIdLength);
  if (!isIdentifier(fid)) member.fail("'" + fid + "' is not an identifier; write it like VR017_00042_00A0B1C2D3E4");
  return fid;
}

} // namespace

DeviceDescription loadDeviceFile(const std::string& file) {
  const JsonMember root = JsonMember::load(file);
  root.requireOnly({"fid", "name", "registers", "tags", "info", "delay_ms", "drop_every", "fail_every"});
  DeviceDescription device;
  device.fid = readFid(root.member("fid"));
  if (root.has("name")) device.name = root.member("name").text(kLongestName);
  if (root.has("registers")) device.registers = readBlocks(root.member("registers"));
  if (root.has("tags")) device.tags = readTags(root.member("tags"));
  device.hasInfo = root.has("info");
  if (device.hasInfo) device.info = readInfo(root.member("info"));
  device.faults.delayMs = root.integerOr("delay_ms", 0, kLongestDelayMs, 0);
  device.faults.dropEvery = root.integerOr("drop_every", 0, kMostRequests, 0);
  device.faults.failEvery = root.integerOr("fail_every", 0, kMostRequests, 0);
  return device;
}

} // namespace tool
