#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace ovk {

struct FreeBlock {
  void operator()(void* block) const { std::free(block); }
};

/// A block of the process heap, which may become a record's own: records are released with free().
template <typename T>
using Block = std::unique_ptr<T[], FreeBlock>;

/// Zero-filled bytes; null when the heap refuses.
inline void* allocateZeroed(std::size_t size) {
  void* memory = std::malloc(size);
  return memory == nullptr ? nullptr : std::memset(memory, 0, size);
}

/// `count` zero-filled items; null when the heap refuses.
template <typename T>
Block<T> allocateBlock(std::size_t count) {
  return Block<T>(static_cast<T*>(allocateZeroed(count * sizeof(T))));
}

} // namespace ovk
