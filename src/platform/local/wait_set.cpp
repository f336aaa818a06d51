// One descriptor to wait on for all channels.
//
// It may be asked for before any channel exists and must stay the same, so it is made at first use and never closed. A
// forked child gets its own: in that of its parent, its messages would wake the parent.

#include "platform/local/wait_set.h"

#include <sys/epoll.h>
#include <unistd.h>

#include "ovk/local_platform.h"
#include "platform/local/file_descriptor.h"

namespace ovk::local {

int waitDescriptor() {
  static int descriptor = -1;
  static pid_t owner = 0;
  if (descriptor >= 0 && owner == ::getpid()) return descriptor;
  owner = ::getpid();
  return descriptor = aboveStandardStreams(::epoll_create1(EPOLL_CLOEXEC));
}

bool watch(int descriptor) {
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.fd = descriptor;
  const int all = waitDescriptor();
  return all >= 0 && ::epoll_ctl(all, EPOLL_CTL_ADD, descriptor, &event) == 0;
}

void unwatch(int descriptor) { ::epoll_ctl(waitDescriptor(), EPOLL_CTL_DEL, descriptor, nullptr); }

} // namespace ovk::local

int ovk_local_wait_descriptor() { return ovk::local::waitDescriptor(); }
