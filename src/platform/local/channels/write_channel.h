#pragma once

#include <map>
#include <string>

#include "platform/local/bus/bus_directory.h"

namespace ovk::local {

/// A channel that this process writes: one connection to each participant that it wrote to.
class WriteChannel {
public:
  /// @param targetChannel the channel at which the targets read what is written here
  WriteChannel(BusDirectoryPtr directory, int targetChannel);

  /// Hands a message over. False, with a trace line, when the target does not run or its queue is full.
  bool write(const std::string& target, const void* message, unsigned size);
  /// Likewise, but without complaint. 0 or the error.
  int offer(const std::string& target, const void* message, unsigned size);

private:
  int connect(const std::string& target, FileDescriptor& connection) const;
  void dropClosed();

  BusDirectoryPtr directory_;
  std::string suffix_;
  std::map<std::string, FileDescriptor> targets_;
};

} // namespace ovk::local
