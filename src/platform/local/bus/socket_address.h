#pragma once

#include <string>
#include <sys/socket.h>
#include <sys/un.h>

namespace ovk::local {

/// The longest path that a socket can have, without its NUL.
constexpr std::size_t longestSocketPath = sizeof(sockaddr_un::sun_path) - 1;

/// The address of the socket at the path. False when the path is too long for one.
inline bool makeSocketAddress(const std::string& path, sockaddr_un& address) {
  if (path.size() > longestSocketPath) return false;
  address = {};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, longestSocketPath);
  return true;
}

inline const sockaddr* asGeneric(const sockaddr_un& address) { return reinterpret_cast<const sockaddr*>(&address); }

} // namespace ovk::local
