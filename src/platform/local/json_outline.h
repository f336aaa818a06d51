#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/local/bytes.h"
#include "platform/local/json_text.h"

namespace ovk::local {

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
  bool empty() const { return nodes_.empty(); }
  const Node& operator[](std::uint32_t node) const { return nodes_[node]; }

private:
  // The objects and arrays open at one point of the text.
  class OpenLevels {
  public:
    bool none() const { return depth_ == 0; }
    bool inArray() const { return depth_ > 0 && !inObject(); }
    bool inObject() const { return (kinds_ & 1U) != 0; }
    char closing() const { return inObject() ? '}' : ']'; }
    bool open(bool isObject, std::uint32_t node) {
      if (depth_ == maxJsonDepth) return false;
      nodes_[depth_++] = node;
      kinds_ = kinds_ << 1 | (isObject ? 1U : 0U);
      return true;
    }
    std::uint32_t close() {
      kinds_ >>= 1;
      return nodes_[--depth_];
    }

  private:
    static_assert(maxJsonDepth <= 32, "one bit a level");
    std::uint32_t kinds_ = 0; // one for an object, the innermost level lowest
    int depth_ = 0;
    std::uint32_t nodes_[maxJsonDepth]; // NOLINT(*-member-init): set up to the depth
  };

  std::uint32_t offset(const char* at) const { return static_cast<std::uint32_t>(at - text_); }
  std::uint32_t size() const { return static_cast<std::uint32_t>(nodes_.size()); }
  void add(const char* value) { nodes_.push_back({0, 0, 0, offset(value), 0, size() + 1}); }
  void add(std::string_view key, const char* value) {
    const auto length = static_cast<std::uint32_t>(key.size());
    nodes_.push_back({headOfPadded(key), offset(key.data()), length, offset(value), 0, size() + 1});
  }
  const char* memberStart(const char* at);
  const char* itemStart(const char* at, const OpenLevels& levels);
  const char* afterValue(const char* at, OpenLevels& levels);
  const char* nextValue(const char* at, OpenLevels& levels);

  const char* text_ = nullptr;
  std::vector<Node> nodes_;
};

} // namespace ovk::local
