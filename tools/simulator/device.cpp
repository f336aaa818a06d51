// A simulated device: registers, tags, device information, and faults on demand.
//
// A request is granted whole or refused whole. Neighbouring blocks read as one run of registers. Tags move only when
// they are read, so that two runs of a test see the same values.

#include "simulator/device.h"

#include <algorithm>
#include <cmath>

namespace tool {
namespace {

bool strikes(int request, int every) { return every > 0 && request % every == 0; }

/// Whole numbers wrap around like the counters of a real device.
void advance(SimulatedTag& tag) {
  if (tag.item.idd == ovk_TagData_Float) {
    tag.item.data.f = static_cast<float>(static_cast<double>(tag.item.data.f) + tag.step);
  } else if (tag.step != 0) {
    tag.item.data.ui += static_cast<uint32_t>(static_cast<int64_t>(tag.step));
  }
}

} // namespace

Device::Device(DeviceDescription description) : about(std::move(description)) {
  for (RegisterBlock& block : about.registers) blocks.emplace(block.start, std::move(block));
  for (const SimulatedTag& tag : about.tags) tags.emplace(std::pair(tag.item.tag_type, int{tag.item.tag}), tag);
}

Device::Fate Device::nextFate() {
  ++requests;
  if (strikes(requests, about.faults.dropEvery)) return Fate::Drop;
  if (strikes(requests, about.faults.failEvery)) return Fate::Fail;
  return Fate::Serve;
}

/// The only block that can hold the address is the last one that starts at or before it.
const RegisterBlock& Device::blockAt(int address) const {
  const auto next = blocks.upper_bound(address);
  if (next == blocks.begin() || std::prev(next)->second.end() <= address) {
    throw Refusal("register " + std::to_string(address) + " does not exist");
  }
  return std::prev(next)->second;
}

std::vector<uint16_t> Device::read(Area area) const {
  if (area.count == 0) return {};
  if (area.count < -1 || area.count > ovk_MaxRegistersPerArea) {
    throw Refusal("cannot read " + std::to_string(area.count) + " registers at once");
  }
  if (area.count == -1) area.count = std::min(blockAt(area.start).end() - area.start, ovk_MaxRegistersPerArea);
  std::vector<uint16_t> words;
  while (static_cast<int>(words.size()) < area.count) {
    const int address = area.start + static_cast<int>(words.size());
    const RegisterBlock& block = blockAt(address);
    const int end = std::min(block.end(), area.start + area.count);
    words.insert(words.end(), block.words.begin() + (address - block.start), block.words.begin() + (end - block.start));
  }
  return words;
}

void Device::requireWritable(const Assignment& assignment) const {
  for (size_t i = 0; i < assignment.values.size(); ++i) {
    const int address = assignment.start + static_cast<int>(i);
    if (!blockAt(address).writable) throw Refusal("register " + std::to_string(address) + " is read-only");
  }
}

void Device::write(const std::vector<Assignment>& assignments) {
  for (const Assignment& assignment : assignments) requireWritable(assignment);
  for (const Assignment& assignment : assignments) {
    int address = assignment.start;
    for (const uint16_t value : assignment.values) {
      RegisterBlock& block = blocks.at(blockAt(address).start);
      block.words[static_cast<size_t>(address - block.start)] = value;
      ++address;
    }
  }
}

std::vector<TagItem_t> Device::readTags(const std::vector<Tag_t>& selectors) {
  std::vector<SimulatedTag*> asked;
  for (const Tag_t& selector : selectors) {
    const auto found = tags.find({selector.tag_type, int{selector.tag_num}});
    if (found == tags.end()) throw Refusal("tag " + tagLabel(selector.tag_type, selector.tag_num) + " does not exist");
    asked.push_back(&found->second);
  }
  std::vector<TagItem_t> items;
  for (SimulatedTag* tag : asked) {
    items.push_back(tag->item);
    advance(*tag);
  }
  return items;
}

const DeviceInfo& Device::info() const {
  if (!about.hasInfo) throw Refusal("this device has no device information");
  return about.info;
}

} // namespace tool
