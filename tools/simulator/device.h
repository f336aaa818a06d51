#pragma once

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "arguments.h"
#include "ovk/ovk.h"

namespace tool {

/// Why a device does not do what it is asked; the text is the reason for the peer, at most 80 bytes.
class Refusal : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

/// A run of registers that are all writable or all read-only.
struct RegisterBlock {
  int start = 0;
  std::vector<uint16_t> words;
  bool writable = true;

  int end() const { return start + static_cast<int>(words.size()); }
};

/// A tag's value, and what is added to it after each reading. Whole numbers wrap around.
struct SimulatedTag {
  TagItem_t item{};
  double step = 0;
};

struct DeviceInfo {
  std::vector<int> tagRegBlocks;
  std::vector<int> resRegBlocks;
  int modbusBufferSize = 0;
};

/// Misbehaviour for the benefit of applications under test. "Every 3" means each third request; 0 means never.
struct Faults {
  int delayMs = 0;
  int dropEvery = 0;
  int failEvery = 0;
};

/// A device as its file describes it.
struct DeviceDescription {
  std::string fid;
  std::string name;
  std::vector<RegisterBlock> registers; ///< none overlaps another
  std::vector<SimulatedTag> tags;       ///< no two of the same type and number
  bool hasInfo = false;
  DeviceInfo info;
  Faults faults;
};

/// What a simulated device does, independent of the bus. Every request is checked whole before anything changes.
class Device {
public:
  enum class Fate { Serve, Drop, Fail };

  explicit Device(DeviceDescription description);

  const std::string& fid() const { return about.fid; }
  const Faults& faults() const { return about.faults; }

  /// Counts a request and says what becomes of it. Silence goes before failure.
  Fate nextFate();

  /// The words of an area; none for a count of 0. A count of -1 means "up to the end of the block", but no more than
  /// an answer can hold.
  std::vector<uint16_t> read(Area area) const;
  void write(const std::vector<Assignment>& assignments);
  std::vector<TagItem_t> readTags(const std::vector<Tag_t>& selectors);
  const DeviceInfo& info() const;

private:
  using Blocks = std::map<int, RegisterBlock>;

  const RegisterBlock& blockAt(int address) const;
  void requireWritable(const Assignment& assignment) const;

  DeviceDescription about;
  Blocks blocks; ///< by their start
  std::map<std::pair<int, int>, SimulatedTag> tags;
  int requests = 0;
};

} // namespace tool
