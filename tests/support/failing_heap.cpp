#include "support/failing_heap.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <utility>

namespace {

int mallocsLeft = -1;
int newsLeft = -1;

bool isExhausted(int& blocksLeft) { return blocksLeft >= 0 && blocksLeft-- == 0; }

} // namespace

namespace fake {

void failMallocAfter(int blocks) { mallocsLeft = blocks; }
void failNewAfter(int blocks) { newsLeft = blocks; }
Undisturbed::Undisturbed() { std::swap(newsLeft, left_); }
Undisturbed::~Undisturbed() { std::swap(newsLeft, left_); }

int failEachNew(const std::function<void()>& prepare, const std::function<void()>& step,
                const std::function<void(Ending ending)>& check) {
  for (int blocks = 0;; ++blocks) {
    SCOPED_TRACE(testing::Message() << "operator new " << blocks);
    prepare();
    failNewAfter(blocks);
    Ending ending = Ending::failed;
    try {
      step();
      ending = newsLeft < 0 ? Ending::coped : Ending::complete;
    } catch (const std::bad_alloc&) { // as it may
    }
    failNewAfter(-1);
    check(ending);
    if (ending == Ending::complete) return blocks;
  }
}

} // namespace fake

// The linker sends the library's own calls of malloc and calloc here (--wrap; compilers make one of the other); those of
// the C++ runtime stay with the heap.
extern "C" void* __real_malloc(std::size_t size);
extern "C" void* __real_calloc(std::size_t count, std::size_t size);
extern "C" void* __wrap_malloc(std::size_t size);
extern "C" void* __wrap_calloc(std::size_t count, std::size_t size);

extern "C" void* __wrap_malloc(std::size_t size) { return isExhausted(mallocsLeft) ? nullptr : __real_malloc(size); }

extern "C" void* __wrap_calloc(std::size_t count, std::size_t size) {
  return isExhausted(mallocsLeft) ? nullptr : __real_calloc(count, size);
}

// Not inlined, so that compilers and memory checkers always see the pair.
[[gnu::noinline]] void* operator new(std::size_t size) {
  void* memory = isExhausted(newsLeft) ? nullptr : __real_malloc(size);
  return memory == nullptr ? throw std::bad_alloc() : memory;
}
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t& /*unused*/) noexcept {
  return isExhausted(newsLeft) ? nullptr : __real_malloc(size);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
