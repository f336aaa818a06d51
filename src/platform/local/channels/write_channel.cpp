// Sends messages to the participants of this machine.
//
// A connection lasts until its reader goes. That shows only at the next message, which is then tried once more on a new
// connection: the reader may have started again.

#include "platform/local/channels/write_channel.h"

#include <cerrno>
#include <poll.h>

#include "platform/local/bus/file_names.h"
#include "platform/local/bus/socket_address.h"
#include "platform/local/trace.h"

namespace ovk::local {

namespace {

// The depth of an unread queue is the sender's buffer. Only root may exceed the system's limit.
void enlargeQueue(int connection) {
  constexpr int bytes = 1024 * 1024;
  if (::setsockopt(connection, SOL_SOCKET, SO_SNDBUFFORCE, &bytes, sizeof bytes) != 0)
    ::setsockopt(connection, SOL_SOCKET, SO_SNDBUF, &bytes, sizeof bytes);
}

// 0 or the error.
int sendTo(const FileDescriptor& connection, const void* message, unsigned size) {
  const auto sent = uninterrupted([&] { return ::send(connection.get(), message, size, MSG_NOSIGNAL | MSG_DONTWAIT); });
  return sent < 0 ? errno : 0;
}

bool isGone(int error) { return error == EPIPE || error == ECONNRESET || error == ECONNREFUSED; }

std::string reasonOf(int error) {
  if (isGone(error) || error == ENOENT) return "it is not running";
  return error == EAGAIN ? "its queue is full" : errorText(error);
}

} // namespace

WriteChannel::WriteChannel(BusDirectoryPtr directory, int targetChannel)
    : directory_(std::move(directory)), suffix_(socketSuffix(targetChannel)) {}

bool WriteChannel::write(const std::string& target, const void* message, unsigned size) {
  const int error = offer(target, message, size);
  if (error == 0) return true;
  OVK_LOCAL_TRACE(traceError, "cannot write to %s: %s\n", target.c_str(), reasonOf(error).c_str());
  return false;
}

int WriteChannel::offer(const std::string& target, const void* message, unsigned size) {
  const auto known = targets_.find(target);
  int error = known != targets_.end() ? sendTo(known->second, message, size) : EPIPE;
  if (isGone(error)) {
    dropClosed();
    FileDescriptor fresh;
    error = connect(target, fresh);
    // Kept before it is used: with the message under way nothing may fail any more.
    if (error == 0) error = sendTo(targets_[target] = std::move(fresh), message, size);
  }
  return error;
}

// Closes the connections whose readers went. A server that answers many short-lived clients would run out of
// descriptors otherwise.
void WriteChannel::dropClosed() {
  for (auto target = targets_.begin(); target != targets_.end();) {
    pollfd state{target->second.get(), POLLRDHUP, 0};
    const bool closed = ::poll(&state, 1, 0) > 0;
    target = closed ? targets_.erase(target) : std::next(target);
  }
}

// 0 or the error.
int WriteChannel::connect(const std::string& target, FileDescriptor& connection) const {
  sockaddr_un address;
  if (!makeSocketAddress(directory_->pathOf(fileName(target, suffix_)), address)) return ENAMETOOLONG;
  FileDescriptor fresh(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!fresh) return errno;
  enlargeQueue(fresh.get());
  if (::connect(fresh.get(), asGeneric(address), sizeof address) != 0) return errno;
  connection = std::move(fresh);
  return 0;
}

} // namespace ovk::local
