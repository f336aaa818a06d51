#pragma once

#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>
#include <utility>

namespace ovk::local {

/// Repeats a system call that a signal interrupted.
template <class Call>
auto uninterrupted(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

/// Whether an error only says that the system is short of something now.
inline bool isShortage(int error) { return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM; }

/// The same open file under a number above those of the standard streams. In a process that has closed one of these, the
/// system gives their numbers out again, and what is written to the stream would go into the file. -1, and errno says why,
/// when there is none; the number given is closed then.
inline int aboveStandardStreams(int descriptor) {
  if (descriptor < 0 || descriptor > STDERR_FILENO) return descriptor;
  const int moved = ::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const int error = errno;
  ::close(descriptor);
  errno = error;
  return moved;
}

/// Whether a descriptor above those of the standard streams is free; errno says why not. `open` is any open one.
inline bool canOpenAboveStreams(int open) {
  const int spare = ::fcntl(open, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (spare >= 0) ::close(spare);
  return spare >= 0;
}

/// Whether the process may make a file that large; errno says EFBIG when not. Asked before a write, which would end the
/// process by SIGXFSZ.
inline bool isWithinFileSizeLimit(std::size_t size) {
  rlimit limit{};
  const bool within =
      ::getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY || size <= limit.rlim_cur;
  if (!within) errno = EFBIG;
  return within;
}

/// Owns a file descriptor that is none of a standard stream, or none (-1).
class FileDescriptor {
public:
  explicit FileDescriptor(int descriptor = -1) : descriptor_(aboveStandardStreams(descriptor)) {}
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }

  int get() const { return descriptor_; }
  int release() { return std::exchange(descriptor_, -1); }
  explicit operator bool() const { return descriptor_ >= 0; }

private:
  int descriptor_;
};

} // namespace ovk::local
