// The check of a whole text, and what it notes down on the way.
//
// It runs once over every received text before anything is taken from it, so it is one tight pass without recursion.

#include "platform/local/json_outline.h"

namespace ovk::local {

void JsonOutline::draw(std::string_view text) {
  text_ = text.data();
  nodes_.clear();
  OpenLevels levels;
  const char* at = skipJsonSpace(text.data());
  add(at);
  do {
    at = nextValue(at, levels);
  } while (at != nullptr && !levels.none());
  if (at != text.data() + text.size()) nodes_.clear();
}

// Notes a member and gives where its value starts; null when its key or colon is missing.
const char* JsonOutline::memberStart(const char* at) {
  if (*at++ != '"') return nullptr;
  const std::size_t shortLength = jsonShortString(at);
  const char* const end = shortLength < bytesAtOnce ? at + shortLength + 1 : jsonStringEnd(at - 1);
  if (end == nullptr) return nullptr;
  const char* value = skipJsonSpace(end);
  if (*value != ':') return nullptr;
  value = skipJsonSpace(value + 1);
  add({at, static_cast<std::size_t>(end - at - 1)}, value);
  return value;
}

// Where the value of the next member or element starts, null when there is none.
const char* JsonOutline::itemStart(const char* at, const OpenLevels& levels) {
  at = skipJsonSpace(at);
  return levels.inObject() ? memberStart(at) : at;
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
