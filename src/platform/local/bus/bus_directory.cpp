// The directory in which the participants of a bus meet.
//
// Whoever may write to it could read and forge every message, so it is used only while it belongs to this user and to
// nobody else. That is looked at anew each time, since it costs no more than noticing that somebody removed it.

#include "platform/local/bus/bus_directory.h"

#include <dirent.h>
#include <fcntl.h>
#include <filesystem>

#include "ovk/local_platform.h"
#include "ovk/records.h"
#include "platform/local/bus/file_names.h"
#include "platform/local/bus/socket_address.h"
#include "platform/local/lasting.h"
#include "platform/local/trace.h"

namespace ovk::local {

namespace {

struct Choice {
  std::string path = "/tmp/ovk-" + std::to_string(::geteuid());
  BusDirectoryPtr opened;
};

Lasting<Choice> chosen;
Choice& choice() { return chosen.get(); }
[[gnu::destructor]] void endChoice() { chosen.end(); }

std::string faultOf(const struct stat& seen) {
  static const uid_t self = ::geteuid(); // kept: each look is to be one system call
  if (S_ISLNK(seen.st_mode)) return "is a link";
  if (!S_ISDIR(seen.st_mode)) return "is not a directory";
  if (seen.st_uid != self) return "belongs to another user";
  if ((seen.st_mode & (S_IWGRP | S_IWOTH)) != 0) return "may be written to by others";
  return {};
}

// Looks without following a link, and makes the directory when there is nothing.
bool lookOrMake(const std::string& path, struct stat& seen) {
  if (::lstat(path.c_str(), &seen) == 0) return true;
  if (errno != ENOENT || (::mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST)) return false;
  return ::lstat(path.c_str(), &seen) == 0;
}

// Refuses when the path leads elsewhere than it did for the check.
BusDirectoryPtr openDirectory(const std::string& path, BusDirectoryLook& look) {
  FileDescriptor descriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat opened;
  if (!descriptor || ::fstat(descriptor.get(), &opened) != 0) {
    look.isPassing = isShortage(errno);
    look.refusal = errorText(errno);
    return nullptr;
  }
  auto directory = std::make_shared<const BusDirectory>(path, std::move(descriptor), opened);
  if (directory->is(look.seen)) return directory;
  look.refusal = "was replaced meanwhile";
  return nullptr;
}

std::string withoutEndSlashes(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

} // namespace

std::optional<std::vector<std::string>> BusDirectory::names() const {
  // A descriptor of its own: the place where reading stopped is the open file's.
  FileDescriptor copy(::openat(descriptor_.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(copy ? ::fdopendir(copy.get()) : nullptr, ::closedir);
  if (!entries) return std::nullopt;
  copy.release(); // closedir() closes it
  std::vector<std::string> found;
  errno = 0;
  while (const dirent* entry = ::readdir(entries.get())) found.emplace_back(entry->d_name);
  if (errno != 0) return std::nullopt;
  return found;
}

BusDirectoryLook lookAtBusDirectory() {
  BusDirectoryLook look{};
  const std::string& path = choice().path;
  if (!lookOrMake(path, look.seen)) {
    look.refusal = errorText(errno);
    return look;
  }
  look.refusal = faultOf(look.seen);
  if (!look.refusal.empty()) return look;
  BusDirectoryPtr& opened = choice().opened;
  if (!opened || !opened->is(look.seen)) opened = openDirectory(path, look);
  look.directory = opened;
  return look;
}

BusDirectoryPtr busDirectory() {
  BusDirectoryLook look = lookAtBusDirectory();
  if (!look.directory)
    OVK_LOCAL_TRACE(traceError, "bus directory %s refused: %s\n", choice().path.c_str(), look.refusal.c_str());
  return look.directory;
}

} // namespace ovk::local

bool ovk_local_set_bus_directory(const char* path) {
  ovk::local::Choice chosen;
  if (path != nullptr && *path != '\0') {
    std::error_code error;
    chosen.path = ovk::local::withoutEndSlashes(std::filesystem::absolute(path, error).string());
    const std::size_t nameLength = 1 + ovk_FusionIdLength + ovk::local::socketSuffix(1).size();
    if (error || chosen.path.size() + nameLength > ovk::local::longestSocketPath) return false;
  }
  ovk::local::choice() = chosen;
  return true;
}

std::string ovk_local_bus_directory() { return ovk::local::choice().path; }
