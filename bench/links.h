#pragma once

#include <cstdint>
#include <memory>
#include <vector>

// Ways of asking another process for register values, each in its own file, which enters it here.

namespace bench {

constexpr int fewRegisters = 10;
constexpr int manyRegisters = 2048;

/// The value of a register of every server.
constexpr uint16_t registerValue(int address) { return static_cast<uint16_t>(address * 40503); }

class Link {
public:
  Link() = default;
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;
  virtual ~Link() = default;
  /// Asks for so many registers, from 0 on, and waits for the answer. Whether their values are right.
  virtual bool read(int registers) = 0;
};

struct LinkType {
  const char* name;
  std::unique_ptr<Link> (*open)(); ///< starts the server; null when that fails
};

inline std::vector<LinkType>& linkTypes() {
  static std::vector<LinkType> all;
  return all;
}

inline bool enter(const LinkType& type) {
  linkTypes().push_back(type);
  return true;
}

/// Whether all of a reader's values are those of registers 0 and following.
inline bool areRight(const uint16_t* values, int count) {
  for (int i = 0; i < count; ++i) {
    if (values[i] != registerValue(i)) return false;
  }
  return true;
}

} // namespace bench
