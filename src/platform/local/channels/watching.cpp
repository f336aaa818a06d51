// Watching the bus: a watcher is a lock and a socket in the bus directory, like a participant, but under names of its
// own, so that nobody takes it for one.
//
// Writers learn of it when the directory's time changes, at the look that each message costs anyway. They number their
// messages, so a watcher sees what it missed: a copy that cannot be handed over at once is dropped.

#include "platform/local/channels/watching.h"

#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <optional>

#include "ovk/local_platform.h"
#include "ovk/service.h"
#include "platform/local/bus/file_lock.h"
#include "platform/local/bus/file_names.h"
#include "platform/local/bus/own_identity.h"
#include "platform/local/bus/traffic.h"
#include "platform/local/channels/read_channel.h"
#include "platform/local/trace.h"

namespace ovk::local {

namespace {

// What stands before the message in a copy. Both sides are processes of this machine.
struct Heading {
  std::int64_t time; // of the steady clock, in nanoseconds
  std::uint32_t process;
  std::uint32_t number; // of the process's messages, this one included
};

constexpr std::size_t longestCopy = sizeof(Heading) + ovk_MaxMessageSize;

struct Watch {
  std::optional<FileLock> lock;
  std::unique_ptr<ReadChannel> copies;
  std::map<std::uint32_t, std::uint32_t> numbers; // the last one seen, by process
  std::string buffer = std::string(longestCopy, '\0');
};

Watch* currentWatch = nullptr;

// Also runs after the last exit handler, so that nothing stays in the bus directory.
[[gnu::destructor]] void endWatch() { delete std::exchange(currentWatch, nullptr); }

std::unique_ptr<Watch> startWatch() {
  const BusDirectoryPtr directory = ownFid().empty() ? nullptr : busDirectory();
  if (!directory) return nullptr;
  auto watch = std::make_unique<Watch>();
  const auto outcome =
      FileLock::take(directory, fileName(ownFid(), watcherSuffix), FileLock::Purpose::own, watch->lock);
  if (watch->lock) watch->copies = ReadChannel::open(directory, fileName(ownFid(), socketSuffix(copiesChannel)));
  if (watch->copies) return watch;
  const std::string reason = outcome == FileLock::Outcome::held ? "another process does" : errorText(errno);
  OVK_LOCAL_TRACE(traceError, "cannot watch the bus as %s: %s\n", ownFid().c_str(), reason.c_str());
  return nullptr;
}

// How many messages of the process did not get here. Another process may have got a dead one's number.
unsigned missedBefore(Watch& watch, const Heading& heading) {
  const auto [last, isNew] = watch.numbers.try_emplace(heading.process, heading.number);
  const std::uint32_t missed = heading.number - last->second - 1;
  last->second = heading.number;
  return isNew || missed > UINT32_MAX / 2 ? 0 : missed;
}

} // namespace

void showToWatchers(WriteChannel& copies, WatchTime time, std::string_view message) {
  const Heading heading{time.count(), static_cast<std::uint32_t>(::getpid()), traffic().delivered};
  std::string copy(sizeof heading, '\0');
  std::memcpy(copy.data(), &heading, sizeof heading);
  copy.append(message);
  for (const std::string& watcher : busView().watchers())
    copies.offer(watcher, copy.data(), static_cast<unsigned>(copy.size()));
}

} // namespace ovk::local

using ovk::local::currentWatch;

bool ovk_local_start_watching() {
  if (currentWatch == nullptr) currentWatch = ovk::local::startWatch().release();
  return currentWatch != nullptr;
}

void ovk_local_stop_watching() { ovk::local::endWatch(); }

bool ovk_local_next_passed(ovk_local_passed_t& passed) {
  if (currentWatch == nullptr) return false;
  std::string& buffer = currentWatch->buffer;
  ovk::local::Heading heading{};
  for (;;) {
    const int length = currentWatch->copies->read(buffer.data(), static_cast<unsigned>(buffer.size()));
    if (length <= 0) return false;
    const auto size = static_cast<std::size_t>(length);
    if (size < sizeof heading) continue; // a stranger's
    std::memcpy(&heading, buffer.data(), sizeof heading);
    passed.time = heading.time;
    passed.missed = ovk::local::missedBefore(*currentWatch, heading);
    passed.text.assign(buffer, sizeof heading, size - sizeof heading);
    return true;
  }
}
