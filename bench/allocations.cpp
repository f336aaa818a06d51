// Heap allocations and bytes for each message, from the text to the record's release and from the values to the channel.
//
// Prints lines "NAME,VALUE,UNIT". The heap's own functions are replaced here, so that whoever asks for memory is counted,
// the library and the C++ runtime.

#include <cstdio>
#include <cstdlib>

#include "peers.h"

namespace {

std::size_t allocations = 0;
std::size_t bytes = 0;

void count(std::size_t size) {
  ++allocations;
  bytes += size;
}

} // namespace

// The C library's functions under the names that it keeps for replacements like these.
extern "C" void* __libc_malloc(std::size_t size);                      // NOLINT(bugprone-reserved-identifier)
extern "C" void* __libc_calloc(std::size_t items, std::size_t size);   // NOLINT(bugprone-reserved-identifier)
extern "C" void* __libc_realloc(void* block, std::size_t size);        // NOLINT(bugprone-reserved-identifier)
extern "C" void* __libc_memalign(std::size_t align, std::size_t size); // NOLINT(bugprone-reserved-identifier)

extern "C" void* malloc(std::size_t size) {
  count(size);
  return __libc_malloc(size);
}
extern "C" void* calloc(std::size_t items, std::size_t size) {
  count(items * size);
  return __libc_calloc(items, size);
}
extern "C" void* realloc(void* block, std::size_t size) {
  count(size);
  return __libc_realloc(block, size);
}
extern "C" void* aligned_alloc(std::size_t align, std::size_t size) {
  count(size);
  return __libc_memalign(align, size);
}

namespace {

void report(const char* direction, bool (*act)(const bench::Message&), const bench::Case& each) {
  for (const bench::Message& message : each.variants) act(message); // what is allocated once, is now
  allocations = bytes = 0;
  act(each.variants.front());
  const std::size_t made = allocations;
  const std::size_t size = bytes;
  std::printf("allocations/%s/%s/ovk,%zu,\n", direction, each.name.c_str(), made);
  std::printf("heap_bytes/%s/%s/ovk,%zu,B\n", direction, each.name.c_str(), size);
}

} // namespace

int main() {
  for (const bench::Case& each : bench::cases()) {
    report("receive", bench::library.receive, each);
    report("send", bench::library.send, each);
  }
  return 0;
}
