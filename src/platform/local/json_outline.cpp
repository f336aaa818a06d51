// The check of a whole text, and what it notes down on the way.
//
// It runs once over every received text before anything is taken from it, so it is one tight pass without recursion.

#include "platform/local/json_outline.h"

namespace ovk::local {

bool JsonOutline::draw(std::string_view text) {
  text_ = text.data();
  nodes_.clear();
  OpenLevels levels;
  const char* at = skipJsonSpace(text.data());
  add(at);
  do {
    at = nextValue(at, levels);
  } while (at != nullptr && !levels.none());
  const bool isOneValue = at == text.data() + text.size();
  if (!isOneValue) nodes_.clear();
  return isOneValue;
}

// Where the value of the next member or element starts; null when an object's key or colon is missing.
const char* JsonOutline::itemStart(const char* at, const OpenLevels& levels) {
  at = skipJsonSpace(at);
  if (!levels.inObject()) return at;
  const char* const keyEnd = *at == '"' ? jsonStringEnd(at) : nullptr;
  if (keyEnd == nullptr) return nullptr;
  const std::string_view key(at + 1, static_cast<std::size_t>(keyEnd - at - 2));
  at = skipJsonSpace(keyEnd);
  if (*at != ':') return nullptr;
  at = skipJsonSpace(at + 1);
  add(key, at);
  return at;
}

// Goes on behind a finished value: closes levels, and stops at the start of the next value or at the end of all.
const char* JsonOutline::afterValue(const char* at, OpenLevels& levels) {
  for (at = skipJsonSpace(at); !levels.none(); at = skipJsonSpace(at)) {
    if (*at == ',') return itemStart(at + 1, levels);
    if (*at != levels.closing()) return nullptr;
    Node& node = nodes_[levels.close()];
    node.end = offset(++at);
    node.after = size();
  }
  return at;
}

// Steps over a scalar or an empty object or array, or into one that holds something, up to the next value.
const char* JsonOutline::nextValue(const char* at, OpenLevels& levels) {
  if (levels.inArray()) at = skipJsonSpace(jsonNumbersEnd(at));
  const bool isObject = *at == '{';
  if (!isObject && *at != '[') {
    at = jsonScalarEnd(at);
    if (at == nullptr) return nullptr;
    if (!levels.inArray()) nodes_.back().end = offset(at);
    return afterValue(at, levels);
  }
  if (levels.inArray()) add(at);
  if (!levels.open(isObject, size() - 1)) return nullptr;
  at = skipJsonSpace(at + 1);
  return *at == levels.closing() ? afterValue(at, levels) : itemStart(at, levels);
}

} // namespace ovk::local
