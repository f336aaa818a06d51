#pragma once

#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

#include "platform/local/file_descriptor.h"

namespace ovk::local {

/// A bus directory that was opened and found to be safe.
class BusDirectory {
public:
  BusDirectory(std::string path, FileDescriptor descriptor, const struct stat& opened)
      : path_(std::move(path)), descriptor_(std::move(descriptor)), device_(opened.st_dev), inode_(opened.st_ino) {}

  const std::string& path() const { return path_; }
  std::string pathOf(std::string_view name) const { return std::string(path_).append(1, '/').append(name); }
  int descriptor() const { return descriptor_.get(); }
  bool is(const struct stat& seen) const { return seen.st_dev == device_ && seen.st_ino == inode_; }

  /// The names in it, in no order; nothing, and errno says why, when they cannot be read now.
  std::optional<std::vector<std::string>> names() const;
  void remove(const std::string& name) const { ::unlinkat(descriptor_.get(), name.c_str(), 0); }

private:
  std::string path_;
  FileDescriptor descriptor_;
  dev_t device_;
  ino_t inode_;
};

using BusDirectoryPtr = std::shared_ptr<const BusDirectory>;

/// What one look at the chosen bus directory found.
struct BusDirectoryLook {
  BusDirectoryPtr directory; ///< null when it cannot be used
  std::string refusal;       ///< why not
  bool isPassing;            ///< the system is only short of something now
  struct stat seen;          ///< as it is now
};

/// Makes the chosen directory when it is missing, checks it, opens it when need be. One system call when it is still
/// the one that was opened last.
BusDirectoryLook lookAtBusDirectory();

/// The chosen directory; null, with a trace line, when it cannot be used.
BusDirectoryPtr busDirectory();

} // namespace ovk::local
