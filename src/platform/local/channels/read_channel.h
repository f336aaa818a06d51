#pragma once

#include <deque>
#include <memory>
#include <string>
#include <sys/epoll.h>
#include <sys/types.h>
#include <vector>

#include "platform/local/bus/bus_directory.h"

namespace ovk::local {

/// A channel that this process reads: a socket at which writers connect, and their connections.
class ReadChannel {
public:
  /// Null, with a trace line, when the socket cannot be made. What stands at its name is replaced.
  static std::unique_ptr<ReadChannel> open(const BusDirectoryPtr& directory, const std::string& socketName);

  ReadChannel(const ReadChannel&) = delete;
  ReadChannel& operator=(const ReadChannel&) = delete;
  ~ReadChannel();

  /// The next message's length, 0 when there is none.
  int read(void* buffer, unsigned size);

private:
  ReadChannel(BusDirectoryPtr directory, std::string socketName);

  bool look();
  int findReady();
  int acceptOne();
  int adopt(FileDescriptor connection);
  void makeRoomForOne();
  void close(int connection);
  bool listenTo(int descriptor, int operation, unsigned events) const;
  int receive(int connection, void* buffer, unsigned size);

  BusDirectoryPtr directory_;
  std::string socketName_;
  FileDescriptor listener_;
  FileDescriptor events_;
  std::vector<FileDescriptor> connections_;
  // Room for the listener and every connection: a look that leaves one out would spoil the order among a writer's own.
  std::vector<epoll_event> found_ = std::vector<epoll_event>(8);
  std::deque<int> ready_; // connections that may hold messages, in the order in which they are to be emptied
  bool knocked_ = false;  // at the last look a writer wanted to be taken in, and others may wait behind it
  bool paused_ = false;   // no descriptor was left for the next connection
  pid_t owner_;
};

} // namespace ovk::local
