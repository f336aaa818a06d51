// One descriptor to wait on for all channels.
//
// It may be asked for before any channel exists and must stay the same, so it is made at first use and closed when the
// library is unloaded. A forked child gets its own: in that of its parent, its messages would wake the parent.

#include "platform/local/channels/wait_set.h"

#include <sys/epoll.h>
#include <unistd.h>
#include <utility>

#include "ovk/local_platform.h"
#include "platform/local/file_descriptor.h"

namespace ovk::local {

namespace {

int descriptor = -1;
pid_t owner = 0;

bool isMade() { return descriptor >= 0 && owner == ::getpid(); }

[[gnu::destructor]] void closeDescriptor() {
  if (descriptor >= 0) ::close(std::exchange(descriptor, -1));
}

} // namespace

int waitDescriptor() {
  if (isMade()) return descriptor;
  owner = ::getpid();
  return descriptor = aboveStandardStreams(::epoll_create1(EPOLL_CLOEXEC));
}

bool watch(int readable) {
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.fd = readable;
  const int all = waitDescriptor();
  return all >= 0 && ::epoll_ctl(all, EPOLL_CTL_ADD, readable, &event) == 0;
}

void unwatch(int readable) {
  if (isMade()) ::epoll_ctl(descriptor, EPOLL_CTL_DEL, readable, nullptr);
}

} // namespace ovk::local

int ovk_local_wait_descriptor() { return ovk::local::waitDescriptor(); }
