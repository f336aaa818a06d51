#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "platform/local/bus/bus_directory.h"

namespace ovk::local {

constexpr std::uint32_t counterCount = 128;

/// The file in which a participant counts, as other processes find it. It is locked while its owner runs.
struct CounterFile {
  static constexpr std::uint32_t expectedMagic = 0x434B564F; // "OVKC" in a hex dump
  std::uint32_t magic;
  std::uint32_t count;
  std::atomic<std::uint32_t> values[counterCount];
};
static_assert(sizeof(CounterFile) == 8 + 4 * counterCount && std::atomic<std::uint32_t>::is_always_lock_free,
              "the file is read by other processes");

/// Adds 1. The number must be below `counterCount`.
void incrementCounter(std::uint32_t number);

/// Goes on counting in the file of the identifier; what was counted before is kept. False, with a trace line, when that
/// cannot be had: counting goes on in memory then.
bool publishCounters(const BusDirectoryPtr& directory, const std::string& fid);

} // namespace ovk::local
