// topology.json on the disk.
//
// Users write the file by hand, programs edit it through this one. An edit is made under a lock on the directory (the
// file itself is another one after each edit) and put in place by renaming, so that readers need no lock and see the
// old file or the new one. A file with a fault is left alone: its author meant something by it.

#include "platform/local/topology/topology_file.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <string_view>
#include <sys/file.h>

#include "platform/local/bus/file_names.h"
#include "platform/local/pause.h"
#include "platform/local/trace.h"

namespace ovk::local {

namespace {

constexpr off_t mostBytes = off_t{16} * 1024 * 1024;
constexpr const char* currentName = topologyFileName.data();
constexpr const char* newName = "topology.json.new";

std::string failure(const char* step) { return std::string(step) + ": " + errorText(errno); }

// Reads `size` bytes, or fewer when the file became shorter.
bool readAll(int file, std::size_t size, std::string& text) {
  text.resize(size);
  std::size_t length = 0;
  while (length < size) {
    const auto got = uninterrupted([&] { return ::read(file, &text[length], size - length); });
    if (got < 0) return false;
    if (got == 0) break;
    length += static_cast<std::size_t>(got);
  }
  text.resize(length);
  return true;
}

bool writeAll(int file, std::string_view text) {
  while (!text.empty()) {
    const auto written = uninterrupted([&] { return ::write(file, text.data(), text.size()); });
    if (written < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

std::string writeNewFile(const BusDirectory& directory, const std::string& text) {
  directory.remove(newName); // an editor that was killed left it, or it is something that one could hang on
  const int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
  const FileDescriptor file(::openat(directory.descriptor(), newName, flags, S_IRUSR | S_IWUSR));
  if (file && isWithinFileSizeLimit(text.size()) && writeAll(file.get(), text) && ::fsync(file.get()) == 0) return {};
  std::string fault = failure("cannot write");
  directory.remove(newName);
  return fault;
}

// Writes the new file completely before it takes the old one's name.
std::string replaceFile(const BusDirectory& directory, const std::string& text) {
  std::string fault = writeNewFile(directory, text);
  if (!fault.empty()) return fault;
  if (::renameat(directory.descriptor(), newName, directory.descriptor(), currentName) != 0 ||
      ::fsync(directory.descriptor()) != 0) // the name, too, has to survive a loss of power
    return failure("cannot replace");
  return {};
}

// The lock of an edit. Edits take milliseconds, so it is polled: a wait in the kernel would hang with a holder that hangs. Its
// owner pauses for two polling intervals after giving it back, so that each of the others finds it free.
class EditLock {
  using Clock = std::chrono::steady_clock;

public:
  explicit EditLock(const BusDirectory& directory)
      // A descriptor of its own, since the lock is the open file's.
      : file_(::openat(directory.descriptor(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}
  EditLock(const EditLock&) = delete;
  EditLock& operator=(const EditLock&) = delete;
  ~EditLock() {
    if (!held_) return;
    file_ = FileDescriptor();
    pauseUntil(Clock::now() + 2 * interval);
  }

  // Empty when it is held now.
  std::string take() {
    if (!file_) return failure("cannot lock");
    const auto end = Clock::now() + std::chrono::seconds(5);
    while (::flock(file_.get(), LOCK_EX | LOCK_NB) != 0) {
      if (errno != EWOULDBLOCK && errno != EINTR) return failure("cannot lock");
      if (Clock::now() > end) return "other processes have kept it locked for 5 s";
      pauseUntil(Clock::now() + interval);
    }
    held_ = true;
    return {};
  }

private:
  static constexpr auto interval = std::chrono::milliseconds(1);
  FileDescriptor file_;
  bool held_ = false;
};

} // namespace

bool readTopologyFile(const BusDirectory& directory, TopologyConfig& config, std::string& fault) {
  config = TopologyConfig();
  // Not to hang on what is not a file.
  const FileDescriptor file(::openat(directory.descriptor(), currentName, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!file && errno == ENOENT) return true;
  struct stat status;
  std::string text;
  if (!file || ::fstat(file.get(), &status) != 0) {
    fault = failure("cannot open");
  } else if (!S_ISREG(status.st_mode) || status.st_size > mostBytes) {
    fault = S_ISREG(status.st_mode) ? "larger than 16 MB" : "not a file";
  } else if (!readAll(file.get(), static_cast<std::size_t>(status.st_size), text)) {
    fault = failure("cannot read");
  } else {
    return parseTopology(text, config, fault);
  }
  return false;
}

std::string editTopologyFile(const BusDirectory& directory, const TopologyChange& change) {
  EditLock lock(directory);
  std::string fault = lock.take();
  if (!fault.empty()) return fault;
  TopologyConfig config;
  if (!readTopologyFile(directory, config, fault)) return fault;
  fault = change(config);
  if (fault.empty()) fault = conflictIn(config);
  return fault.empty() ? replaceFile(directory, formatTopology(config)) : fault;
}

} // namespace ovk::local
