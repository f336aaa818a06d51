#pragma once

#include <csignal>
#include <sched.h>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

// What round trips need besides a link: a server process, a processor for each side.

namespace bench {

/// The first and the last of the processors that the program may use.
struct Processors {
  int first = -1;
  int last = -1;
};

/// Found at the first call, which must come before any process is tied to one.
inline const Processors& processors() {
  static const Processors found = [] {
    Processors ends;
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    ::sched_getaffinity(0, sizeof allowed, &allowed);
    for (int i = 0; i < CPU_SETSIZE; ++i) {
      if (!CPU_ISSET(i, &allowed)) continue;
      if (ends.first < 0) ends.first = i;
      ends.last = i;
    }
    return ends;
  }();
  return found;
}

/// Ties the process, with what it forks, to one processor.
inline void stayOn(int processor) {
  cpu_set_t only;
  CPU_ZERO(&only);
  CPU_SET(processor, &only);
  ::sched_setaffinity(0, sizeof only, &only);
}

/// A forked process that ends with its owner. `serve(ready)` calls ready(word) when it can be asked, and goes on to
/// answer.
class ServerProcess {
public:
  template <typename Serve>
  explicit ServerProcess(Serve serve) {
    int ends[2] = {-1, -1};
    if (::pipe(ends) != 0) return;
    process_ = ::fork();
    if (process_ == 0) {
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      serve([&](int word) { return ::write(ends[1], &word, sizeof word) == sizeof word; });
      ::_exit(1);
    }
    ::close(ends[1]);
    if (::read(ends[0], &word_, sizeof word_) != sizeof word_) word_ = -1;
    ::close(ends[0]);
  }
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;
  ~ServerProcess() {
    if (process_ <= 0) return;
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
  }
  /// What it said when it was ready, -1 when it did not get there.
  int word() const { return word_; }

private:
  pid_t process_ = -1;
  int word_ = -1;
};

} // namespace bench
