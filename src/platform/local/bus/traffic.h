#pragma once

namespace ovk::local {

/// What this process's transfer channels carried.
struct Traffic {
  unsigned delivered = 0; ///< messages written with success
  unsigned received = 0;  ///< messages read
};

inline Traffic& traffic() {
  static Traffic carried;
  return carried;
}

} // namespace ovk::local
