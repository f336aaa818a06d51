// Receives messages from any number of writers.
//
// The order of each writer is kept even when it connects anew: a connection found readable is emptied before the next,
// and new connections are taken in last. What a stranger sends that is no message costs no other message.

#include "platform/local/channels/read_channel.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/ioctl.h>

#include "platform/local/bus/socket_address.h"
#include "platform/local/channels/wait_set.h"
#include "platform/local/trace.h"

namespace ovk::local {

namespace {

FileDescriptor listenAt(const std::string& path) {
  sockaddr_un address;
  if (!makeSocketAddress(path, address)) {
    OVK_LOCAL_TRACE(traceError, "socket path %s has %zu characters, the limit is %zu\n", path.c_str(), path.size(),
                    longestSocketPath);
    return FileDescriptor();
  }
  FileDescriptor listener(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (listener && ::bind(listener.get(), asGeneric(address), sizeof address) == 0 &&
      ::listen(listener.get(), SOMAXCONN) == 0)
    return listener;
  OVK_LOCAL_TRACE(traceError, "cannot listen at %s: %s\n", path.c_str(), errorText(errno).c_str());
  return FileDescriptor();
}

// A read of 0 bytes is an empty message or the end. Once the writer has hung up nothing can follow, so the count of
// waiting bytes is final then.
bool isAtEnd(int connection) {
  pollfd state{connection, POLLRDHUP, 0};
  if (::poll(&state, 1, 0) <= 0 || (state.revents & (POLLRDHUP | POLLHUP | POLLERR)) == 0) return false;
  int waiting = 0;
  return ::ioctl(connection, FIONREAD, &waiting) != 0 || waiting == 0;
}

} // namespace

std::unique_ptr<ReadChannel> ReadChannel::open(const BusDirectoryPtr& directory, const std::string& socketName) {
  directory->remove(socketName);
  std::unique_ptr<ReadChannel> channel(new ReadChannel(directory, socketName)); // which removes the socket if it fails
  channel->listener_ = listenAt(directory->pathOf(socketName));
  if (!channel->listener_) return nullptr;
  if (channel->events_ && channel->listenTo(channel->listener_.get(), EPOLL_CTL_ADD, EPOLLIN) &&
      watch(channel->events_.get()))
    return channel;
  OVK_LOCAL_TRACE(traceError, "cannot wait for messages: %s\n", errorText(errno).c_str());
  return nullptr;
}

ReadChannel::ReadChannel(BusDirectoryPtr directory, std::string socketName)
    : directory_(std::move(directory)), socketName_(std::move(socketName)), events_(::epoll_create1(EPOLL_CLOEXEC)),
      owner_(::getpid()) {}

ReadChannel::~ReadChannel() {
  // A forked child shares socket and wait descriptor with its parent, who goes on using them.
  if (::getpid() != owner_) return;
  const int error = errno; // of an opening that failed
  unwatch(events_.get());
  directory_->remove(socketName_);
  errno = error;
}

int ReadChannel::read(void* buffer, unsigned size) {
  for (;;) {
    if (ready_.empty() && !look()) return 0;
    const int length = receive(ready_.front(), buffer, size);
    if (length > 0) return length;
    ready_.pop_front();
    if (ready_.empty() && !knocked_) return 0; // what came since the last look shows at the next call
  }
}

// Lists the connections to be emptied; false when there are none. A new connection is accepted before the list is made: what
// its writer has sent through an older one is certain to be in the list then, and comes first.
bool ReadChannel::look() {
  int count = findReady();
  const auto isListener = [this](const epoll_event& event) { return event.data.fd == listener_.get(); };
  knocked_ = paused_ || std::any_of(found_.begin(), found_.begin() + count, isListener); // no event comes while paused
  const int newcomer = knocked_ ? acceptOne() : -1;
  if (knocked_) count = findReady();
  for (auto event = found_.begin(); event != found_.begin() + count; ++event) {
    if (!isListener(*event) && event->data.fd != newcomer) ready_.push_back(event->data.fd);
  }
  if (newcomer >= 0) ready_.push_back(newcomer);
  return !ready_.empty();
}

int ReadChannel::findReady() {
  const int room = static_cast<int>(found_.size());
  return std::max(0, uninterrupted([&] { return ::epoll_wait(events_.get(), found_.data(), room, 0); }));
}

// Returns the new connection, or -1. Without a descriptor for it the listener would stay readable: it is left alone until one
// is free.
int ReadChannel::acceptOne() {
  // Memory and a descriptor must be there first: a connection that is closed again loses what its writer has sent already.
  makeRoomForOne();
  const bool isRoom = canOpenAboveStreams(listener_.get());
  const auto accept = [this] { return ::accept4(listener_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC); };
  FileDescriptor connection(isRoom ? uninterrupted(accept) : -1);
  const int error = errno;
  const bool shortage = !connection && isShortage(error);
  if (shortage != paused_) {
    paused_ = shortage;
    listenTo(listener_.get(), EPOLL_CTL_MOD, shortage ? 0U : unsigned{EPOLLIN});
    if (shortage) OVK_LOCAL_TRACE(traceError, "cannot take in a new writer: %s\n", errorText(error).c_str());
  }
  return connection ? adopt(std::move(connection)) : -1;
}

int ReadChannel::adopt(FileDescriptor connection) {
  if (!listenTo(connection.get(), EPOLL_CTL_ADD, EPOLLIN)) {
    OVK_LOCAL_TRACE(traceError, "cannot wait for a new writer: %s\n", errorText(errno).c_str());
    return -1;
  }
  connections_.push_back(std::move(connection));
  return connections_.back().get();
}

void ReadChannel::makeRoomForOne() {
  if (connections_.size() == connections_.capacity()) connections_.reserve(2 * connections_.size() + 1);
  if (found_.size() < connections_.size() + 2) found_.resize(2 * found_.size());
}

void ReadChannel::close(int connection) {
  const auto closed = std::find_if(connections_.begin(), connections_.end(),
                                   [=](const FileDescriptor& each) { return each.get() == connection; });
  if (closed == connections_.end()) return;
  listenTo(connection, EPOLL_CTL_DEL, 0); // a forked child's copy would keep it watched, under a number of the past
  std::swap(*closed, connections_.back());
  connections_.pop_back();
}

bool ReadChannel::listenTo(int descriptor, int operation, unsigned events) const {
  epoll_event event{};
  event.events = events;
  event.data.fd = descriptor;
  return ::epoll_ctl(events_.get(), operation, descriptor, &event) == 0;
}

// The next message of one connection; 0 when it is empty, or at its end and closed now.
int ReadChannel::receive(int connection, void* buffer, unsigned size) {
  for (;;) {
    const ssize_t length = uninterrupted([&] { return ::recv(connection, buffer, size, MSG_DONTWAIT | MSG_TRUNC); });
    if (length > static_cast<ssize_t>(size)) {
      OVK_LOCAL_TRACE(traceError, "message of %zd bytes dropped, the buffer has %u\n", length, size);
      std::memset(buffer, 0, size); // a shorter one may follow, and nothing is to stand behind that
      continue;
    }
    if (length > 0) return static_cast<int>(length);
    if (length < 0 && errno == EAGAIN) return 0;
    if (length == 0 && !isAtEnd(connection)) continue;
    close(connection);
    return 0;
  }
}

} // namespace ovk::local
