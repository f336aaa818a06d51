// The wish to end, as a descriptor.
//
// The signals stay blocked for good: one that comes late, while the process already ends, must not cut that short.

#include "stop_signal.h"

#include <csignal>
#include <sys/signalfd.h>
#include <unistd.h>

#include "failure.h"

namespace tool {

StopSignal::StopSignal() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  fd = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
  if (fd < 0) throw Failure(Exit_Other, "no descriptor left for signals; close some files");
}

StopSignal::~StopSignal() { close(fd); }

int StopSignal::take() const {
  signalfd_siginfo info{};
  return ::read(fd, &info, sizeof info) == sizeof info ? static_cast<int>(info.ssi_signo) : 0;
}

} // namespace tool
