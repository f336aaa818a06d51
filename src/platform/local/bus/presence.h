#pragma once

#include <optional>
#include <string>

#include "platform/local/bus/file_lock.h"

namespace ovk::local {

/// Takes an identifier for this process: while the lock lives, the participant runs. Removes what killed processes
/// left, of this identifier and of others. Nothing, with a trace line, when another process has the identifier.
std::optional<FileLock> join(const BusDirectoryPtr& directory, const std::string& fid);

} // namespace ovk::local
