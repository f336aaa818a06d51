// The check of a whole text, and what it notes down on the way.
//
// It runs once over every received text before anything is taken from it, so it is one tight pass without recursion.

#include "platform/json/json_outline.h"

#include "platform/json/json_text.h"

namespace ovk::json {

namespace {

using Node = JsonOutline::Node;

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

// One pass over a text. Its functions give where to go on, null when the text is no JSON.
class Pass {
public:
  Pass(const char* text, std::vector<Node>& nodes) : text_(text), nodes_(nodes) {}

  // The end of the text's one value and the white space behind.
  const char* run() {
    const char* at = skipJsonSpace(text_);
    add(at);
    do {
      if (levels_.inObject()) at = memberValue(at);
      if (at != nullptr) at = nextItem(at);
    } while (at != nullptr && !levels_.none());
    return at;
  }

private:
  // Notes a member and goes on to its value.
  const char* memberValue(const char* at) {
    if (*at++ != '"') return nullptr;
    const std::size_t shortLength = jsonShortString(at);
    const char* const end = shortLength < bytesAtOnce ? at + shortLength + 1 : jsonStringEnd(at - 1);
    if (end == nullptr) return nullptr;
    const char* value = skipJsonSpace(end);
    if (*value != ':') return nullptr;
    value = skipJsonSpace(value + 1);
    addMember({at, static_cast<std::size_t>(end - at - 1)}, value);
    return value;
  }

  // From a value to the next member or element, which may be the first one in it, or to the end of all.
  const char* nextItem(const char* at) {
    const bool inArray = levels_.inArray();
    if (inArray) at = skipJsonSpace(jsonNumbersEnd(at));
    const bool isObject = *at == '{';
    const bool opens = isObject || *at == '[';
    if (opens) {
      if (inArray) add(at);
      if (!levels_.open(isObject, size() - 1)) return nullptr;
      ++at;
    } else {
      at = jsonScalarEnd(at);
      if (at == nullptr) return nullptr;
      if (!inArray) nodes_.back().end = offset(at);
    }
    at = skipJsonSpace(at);
    return opens && *at != levels_.closing() ? at : closeLevels(at);
  }

  // Closes what ends here and goes on to the next member or element.
  const char* closeLevels(const char* at) {
    for (; !levels_.none(); at = skipJsonSpace(at)) {
      if (*at == ',') return skipJsonSpace(at + 1);
      if (*at != levels_.closing()) return nullptr;
      Node& node = nodes_[levels_.close()];
      node.end = offset(++at);
      node.after = size();
    }
    return at;
  }

  std::uint32_t offset(const char* at) const { return static_cast<std::uint32_t>(at - text_); }
  std::uint32_t size() const { return static_cast<std::uint32_t>(nodes_.size()); }
  void add(const char* value) { nodes_.push_back({0, 0, 0, offset(value), 0, size() + 1}); }
  void addMember(std::string_view key, const char* value) {
    nodes_.push_back(
        {headOfPadded(key), offset(key.data()), static_cast<std::uint32_t>(key.size()), offset(value), 0, size() + 1});
  }

  const char* text_;
  std::vector<Node>& nodes_;
  OpenLevels levels_;
};

} // namespace

void JsonOutline::draw(std::string_view text) {
  nodes_.clear();
  if (Pass(text.data(), nodes_).run() != text.data() + text.size()) nodes_.clear();
}

} // namespace ovk::json
