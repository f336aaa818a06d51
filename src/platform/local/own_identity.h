#pragma once

#include <string>

namespace ovk::local {

/// The identifier that the topology service was started with; empty before. Never destroyed, so that it can be used
/// while the program's statics go.
inline std::string& ownFid() {
  static std::string& fid = *new std::string;
  return fid;
}

} // namespace ovk::local
