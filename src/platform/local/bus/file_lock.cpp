// Locks that tell whether a participant runs, with files that come and go.
//
// Between opening a file and locking it, its last owner may remove it; so the name is compared with the lock in hand.
// Owners lock one byte, sweepers two: by the length of the lock in its way a process sees whether somebody runs, or
// only tidies up and will be gone at once. Sweepers lock out each other, too: a slow one must not remove what a
// newcomer made after a faster one.

#include "platform/local/bus/file_lock.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>

#include "platform/local/pause.h"

namespace ovk::local {

namespace {

constexpr off_t ownLength = 1;
constexpr off_t sweepLength = 2;

// A sweep takes microseconds; if one hangs, the newcomer gives up after a tenth of a second.
constexpr auto longestSweep = std::chrono::milliseconds(100);
constexpr auto interval = std::chrono::milliseconds(1);

struct flock range(short type, off_t length) {
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_len = length;
  return lock;
}

// Length of the lock that stands in the way; 0 when there is none.
off_t lengthInTheWay(int file) {
  struct flock lock = range(F_RDLCK, ownLength);
  if (::fcntl(file, F_OFD_GETLK, &lock) != 0 || lock.l_type == F_UNLCK) return 0;
  return lock.l_len;
}

bool isStillNamed(const BusDirectory& directory, const std::string& name, int file) {
  struct stat opened;
  struct stat named;
  return ::fstat(file, &opened) == 0 &&
         ::fstatat(directory.descriptor(), name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
         opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

// One attempt; nothing when somebody else swept the file meanwhile, so that another attempt is due.
std::optional<FileLock::Outcome> attempt(const BusDirectory& directory, const std::string& name,
                                         FileLock::Purpose purpose, FileDescriptor& file) {
  const bool own = purpose == FileLock::Purpose::own;
  const int flags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | (own ? O_CREAT : 0);
  file = FileDescriptor(::openat(directory.descriptor(), name.c_str(), flags, S_IRUSR | S_IWUSR));
  if (!file) return FileLock::Outcome::failed;
  struct flock lock = range(F_WRLCK, own ? ownLength : sweepLength);
  if (::fcntl(file.get(), F_OFD_SETLK, &lock) != 0) {
    if (errno != EAGAIN && errno != EACCES) return FileLock::Outcome::failed;
    if (!own || lengthInTheWay(file.get()) == ownLength) return FileLock::Outcome::held;
    pauseUntil(std::chrono::steady_clock::now() + interval);
    return std::nullopt;
  }
  if (!isStillNamed(directory, name, file.get())) return std::nullopt;
  return FileLock::Outcome::taken;
}

} // namespace

FileLock::Outcome FileLock::take(const BusDirectoryPtr& directory, const std::string& name, Purpose purpose,
                                 std::optional<FileLock>& lock) {
  std::string kept = name; // first: once the lock is taken nothing may fail any more
  FileDescriptor file;
  std::optional<Outcome> outcome;
  const auto end = std::chrono::steady_clock::now() + longestSweep;
  while (!outcome && std::chrono::steady_clock::now() < end) outcome = attempt(*directory, name, purpose, file);
  if (outcome == Outcome::taken) lock.emplace(FileLock(directory, std::move(kept), std::move(file)));
  return outcome.value_or(Outcome::held);
}

FileLock::FileLock(BusDirectoryPtr directory, std::string name, FileDescriptor file)
    : directory_(std::move(directory)), name_(std::move(name)), file_(std::move(file)), owner_(::getpid()) {}

FileLock::~FileLock() {
  if (!file_ || ::getpid() != owner_) return;
  directory_->remove(name_); // still locked: nobody else can have made it anew
  struct flock unlock = range(F_UNLCK, 0);
  ::fcntl(file_.get(), F_OFD_SETLK, &unlock);
}

std::optional<bool> isFileLocked(const BusDirectory& directory, const std::string& name) {
  const int flags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
  const FileDescriptor file(::openat(directory.descriptor(), name.c_str(), flags));
  if (!file && isShortage(errno)) return std::nullopt;
  return file && lengthInTheWay(file.get()) == ownLength;
}

} // namespace ovk::local
