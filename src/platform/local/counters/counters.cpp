// The bus counters of this process, in memory or in a file that others can read.
//
// Counting starts before there is a file and goes on when there can be none, so the counters live in memory and move
// into the file when it is there, and back when it goes.

#include "platform/local/counters/counters.h"

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/mman.h>

#include "platform/local/bus/file_lock.h"
#include "platform/local/bus/file_names.h"
#include "platform/local/trace.h"

namespace ovk::local {

namespace {

using Cells = std::atomic<std::uint32_t>[counterCount];

Cells privateCells;
std::atomic<std::atomic<std::uint32_t>*> currentCells{privateCells};

// Owns the mapping of a counter file, null when there is none.
class Mapping {
public:
  explicit Mapping(int file) {
    void* at = ::mmap(nullptr, sizeof(CounterFile), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (at != MAP_FAILED) file_ = static_cast<CounterFile*>(at);
  }
  Mapping(Mapping&& other) noexcept : file_(std::exchange(other.file_, nullptr)) {}
  Mapping& operator=(Mapping&&) = delete;
  ~Mapping() {
    if (file_ != nullptr) ::munmap(file_, sizeof(CounterFile));
  }
  CounterFile* get() const { return file_; }

private:
  CounterFile* file_ = nullptr;
};

// Copies: in a forked child the file is still its parent's.
void countIn(std::atomic<std::uint32_t>* cells) {
  const std::atomic<std::uint32_t>* before = currentCells;
  for (std::uint32_t number = 0; number < counterCount; ++number) cells[number] = before[number].load();
  currentCells = cells;
}

// The published file; the counts return to memory when it goes.
struct Published {
  std::string fid;
  BusDirectoryPtr directory;
  FileLock lock;
  Mapping mapping;

  Published(std::string name, BusDirectoryPtr where, FileLock held, Mapping mapped)
      : fid(std::move(name)), directory(std::move(where)), lock(std::move(held)), mapping(std::move(mapped)) {}
  Published(const Published&) = delete;
  Published& operator=(const Published&) = delete;
  ~Published() { countIn(privateCells); }
};

Published* published = nullptr;

// Also runs after the last exit handler, so that nothing stays in the bus directory.
[[gnu::destructor]] void withdraw() { delete std::exchange(published, nullptr); }

// Space is reserved at once: a full disk must not end the process at some later increment.
bool makeEmpty(int file) {
  if (!isWithinFileSizeLimit(sizeof(CounterFile)) || ::ftruncate(file, 0) != 0) return false;
  errno = ::posix_fallocate(file, 0, sizeof(CounterFile));
  return errno == 0;
}

std::string publish(const BusDirectoryPtr& directory, const std::string& fid) {
  std::optional<FileLock> lock;
  const FileLock::Outcome outcome =
      FileLock::take(directory, fileName(fid, countersSuffix), FileLock::Purpose::own, lock);
  if (outcome == FileLock::Outcome::held) return "another process counts under this identifier";
  if (outcome != FileLock::Outcome::taken || !makeEmpty(lock->descriptor())) return errorText(errno);
  Mapping mapping(lock->descriptor());
  if (mapping.get() == nullptr) return errorText(errno);
  mapping.get()->count = counterCount;
  mapping.get()->magic = CounterFile::expectedMagic;
  published = new Published(fid, directory, std::move(*lock), std::move(mapping));
  countIn(published->mapping.get()->values);
  return {};
}

} // namespace

void incrementCounter(std::uint32_t number) {
  currentCells.load(std::memory_order_relaxed)[number].fetch_add(1, std::memory_order_relaxed);
}

bool publishCounters(const BusDirectoryPtr& directory, const std::string& fid) {
  if (published != nullptr && published->fid == fid && published->directory == directory) return true;
  withdraw();
  const std::string fault = publish(directory, fid);
  if (fault.empty()) return true;
  OVK_LOCAL_TRACE(traceError, "counters of %s not published: %s\n", fid.c_str(), fault.c_str());
  return false;
}

} // namespace ovk::local
