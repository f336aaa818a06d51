#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/json/bytes.h"

namespace ovk::json {

/// The members of all objects of a text and all objects and arrays, in the order in which they start: what the check of the
/// text passes anyway. Elements that are neither objects nor arrays are left out; an array has many of them.
class JsonOutline {
public:
  struct Node {
    Bytes keyHead;                // of a member: the first characters of its key
    std::uint32_t key, keyLength; // of a member
    std::uint32_t value;          // where the value starts
    std::uint32_t end;            // of the value
    std::uint32_t after;          // the first node that is not below this one
  };
  static constexpr std::uint32_t root = 0;

  /// Outlines the text; no node when it is not one JSON value with nothing but white space around it.
  void draw(std::string_view text);
  void clear() { nodes_.clear(); }
  std::size_t footprint() const { return nodes_.capacity() * sizeof(Node); }
  void dropSpareRoom() { nodes_.shrink_to_fit(); }
  bool empty() const { return nodes_.empty(); }
  const Node& operator[](std::uint32_t node) const { return nodes_[node]; }

private:
  std::vector<Node> nodes_;
};

} // namespace ovk::json
