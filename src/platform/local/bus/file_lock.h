#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

#include "platform/local/bus/bus_directory.h"

namespace ovk::local {

/// A locked file in the bus directory. The lock ends with the process, however it ends; an ordinary end removes the
/// file too. A forked child that never calls exec shares the lock, but removes nothing.
class FileLock {
public:
  enum class Outcome {
    taken,
    held,  ///< by a process that runs
    failed ///< errno says why
  };
  enum class Purpose {
    own,  ///< makes the file when it is missing
    sweep ///< to remove what a dead process left; others see that it will be over soon
  };

  static Outcome take(const BusDirectoryPtr& directory, const std::string& name, Purpose purpose,
                      std::optional<FileLock>& lock);

  FileLock(FileLock&& other) noexcept = default;
  FileLock& operator=(FileLock&&) = delete;
  ~FileLock();

  int descriptor() const { return file_.get(); }

private:
  FileLock(BusDirectoryPtr directory, std::string name, FileDescriptor file);

  BusDirectoryPtr directory_;
  std::string name_;
  FileDescriptor file_;
  pid_t owner_;
};

/// Whether a running process holds the file as its own; nothing, and errno says why, when that cannot be seen now.
std::optional<bool> isFileLocked(const BusDirectory& directory, const std::string& name);

} // namespace ovk::local
