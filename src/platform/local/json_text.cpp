// Where JSON tokens and values end, and the check of a whole text.
//
// The check runs once over every received text before anything is taken from it, so it is one tight pass without
// recursion: the kind of each open level is a bit of one word.

#include "platform/local/json_text.h"

#include <cstdint>
#include <cstring>

namespace ovk::local {

namespace {

const char* digitsEnd(const char* at) {
  while (isDigit(*at)) ++at;
  return at;
}

// -?(0|[1-9][0-9]*)(\.[0-9]+)?([eE][+-]?[0-9]+)?
const char* numberEnd(const char* at) {
  if (*at == '-') ++at;
  if (!isDigit(*at)) return nullptr;
  at = *at == '0' ? at + 1 : digitsEnd(at);
  if (*at == '.') {
    if (!isDigit(*++at)) return nullptr;
    at = digitsEnd(at);
  }
  if (*at == 'e' || *at == 'E') {
    ++at;
    if (*at == '+' || *at == '-') ++at;
    if (!isDigit(*at)) return nullptr;
    at = digitsEnd(at);
  }
  return at;
}

// Steps over the plain numbers of an array, each with its comma, up to its last value or to one of another kind.
const char* numbersEnd(const char* at) {
  for (const char* number = at; *number >= '1' && *number <= '9'; at = number) {
    number = digitsEnd(number);
    if (*number++ != ',') break;
  }
  return at;
}

const char* wordEnd(const char* at, std::string_view word) {
  return std::strncmp(at, word.data(), word.size()) == 0 ? at + word.size() : nullptr;
}

const char* scalarEnd(const char* at) {
  switch (*at) {
  case '"': return jsonStringEnd(at);
  case 't': return wordEnd(at, "true");
  case 'f': return wordEnd(at, "false");
  case 'n': return wordEnd(at, "null");
  default: return numberEnd(at);
  }
}

// The objects and arrays open at one point of the text.
class OpenLevels {
public:
  bool open(bool object) {
    if (depth_ == maxJsonDepth) return false;
    kinds_ = kinds_ << 1 | (object ? 1U : 0U);
    ++depth_;
    return true;
  }
  void close() {
    kinds_ >>= 1;
    --depth_;
  }
  bool none() const { return depth_ == 0; }
  bool inObject() const { return (kinds_ & 1U) != 0; }
  bool inArray() const { return !none() && !inObject(); }
  char closing() const { return inObject() ? '}' : ']'; }

private:
  static_assert(maxJsonDepth <= 32, "one bit a level");
  std::uint32_t kinds_ = 0;
  int depth_ = 0;
};

// Where the value of the next member or element starts; null when an object's key or colon is missing.
const char* itemStart(const char* at, bool inObject) {
  at = skipJsonSpace(at);
  if (!inObject) return at;
  if (*at != '"' || (at = jsonStringEnd(at)) == nullptr) return nullptr;
  at = skipJsonSpace(at);
  return *at == ':' ? skipJsonSpace(at + 1) : nullptr;
}

// Goes on behind a finished value: closes levels, and stops at the start of the next value or at the end of all.
const char* afterValue(const char* at, OpenLevels& levels) {
  for (at = skipJsonSpace(at); !levels.none(); at = skipJsonSpace(at + 1)) {
    if (*at == ',') return itemStart(at + 1, levels.inObject());
    if (*at != levels.closing()) return nullptr;
    levels.close();
  }
  return at;
}

// Steps over a scalar or an empty object or array, or into one that holds something, up to the next value.
const char* nextValue(const char* at, OpenLevels& levels) {
  if (levels.inArray()) at = skipJsonSpace(numbersEnd(at));
  if (*at != '{' && *at != '[') {
    at = scalarEnd(at);
    return at == nullptr ? nullptr : afterValue(at, levels);
  }
  if (!levels.open(*at == '{')) return nullptr;
  at = skipJsonSpace(at + 1);
  if (*at != levels.closing()) return itemStart(at, levels.inObject());
  levels.close();
  return afterValue(at + 1, levels);
}

} // namespace

const char* jsonStringEnd(const char* at) {
  for (++at; *at != '"'; ++at) {
    if (*at == '\\') ++at;
    if (*at == '\0') return nullptr;
  }
  return at + 1;
}

bool isOneJsonValue(std::string_view text) {
  OpenLevels levels;
  const char* at = skipJsonSpace(text.data());
  do {
    at = nextValue(at, levels);
  } while (at != nullptr && !levels.none());
  return at == text.data() + text.size();
}

const char* jsonValueEnd(const char* at) {
  if (*at == '"') return jsonStringEnd(at);
  if (*at != '{' && *at != '[') {
    while (*at != ',' && *at != '}' && *at != ']' && *at != '\0' && !isJsonSpace(*at)) ++at;
    return at;
  }
  return jsonLevelEnd(at + 1);
}

const char* jsonLevelEnd(const char* at) {
  for (int depth = 1; depth > 0;) {
    const char c = *at;
    if (c == '"') {
      at = jsonStringEnd(at);
      continue;
    }
    if (c == '[' || c == '{') ++depth;
    if (c == ']' || c == '}') --depth;
    ++at;
  }
  return at;
}

} // namespace ovk::local
