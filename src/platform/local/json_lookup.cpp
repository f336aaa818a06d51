// Following a path through the text of a JSON document.
//
// Nothing is decoded or indexed in advance. A look-up goes down the path from the deepest object or array that the last
// look-ups passed and that the new path passes too, and inside it goes on from where they stopped; so the 2048 words of
// a message, asked for one after the other, cost one walk over the text.

#include <cstring>
#include <iterator>

#include "platform/json.h"
#include "platform/local/json_text.h"

using ovk::local::isDigit;
using ovk::local::jsonLevelEnd;
using ovk::local::jsonStringEnd;
using ovk::local::jsonValueEnd;
using ovk::local::readJsonInt;
using ovk::local::skipJsonSpace;

namespace {

// Cuts the next step, "name", ".name" or "[index]", off the path.
std::string_view cutStep(std::string_view& path) {
  std::size_t length = 1;
  while (length < path.size() && path[length] != '.' && path[length] != '[') ++length;
  const std::string_view step = path.substr(0, length);
  path.remove_prefix(length);
  return step;
}

// The number in a step "[index]".
bool indexOf(std::string_view step, std::uint32_t& index) {
  if (step.size() < 3 || step.size() > 11 || step.front() != '[' || step.back() != ']') return false;
  const char* const bracket = &step.back();
  std::uint32_t number = 0;
  for (const char* at = &step[1]; at != bracket; ++at) {
    if (!isDigit(*at)) return false;
    number = number * 10 + static_cast<std::uint32_t>(*at - '0');
  }
  index = number;
  return true;
}

std::uint64_t word(const char* at) {
  std::uint64_t bytes = 0;
  std::memcpy(&bytes, at, sizeof bytes);
  return bytes;
}

// memcmp, without the call when two words cover the bytes, as they do for "data[0].words".
bool sameBytes(const char* a, const char* b, std::size_t size) {
  constexpr std::size_t step = sizeof(std::uint64_t);
  if (size < step || size > 2 * step) return std::memcmp(a, b, size) == 0;
  return word(a) == word(b) && word(a + size - step) == word(b + size - step);
}

} // namespace

// Takes nothing over: what was learnt belongs to the text it was learnt from.
Json::Trail& Json::Trail::operator=(const Trail& other) {
  if (this == &other) return *this;
  depth = 0;
  lastArray = none;
  window.count = 0;
  return *this;
}

// Decodes numbers from the element of the last array at `at` on.
void Json::decodeAhead(const char* at) const {
  Level& array = trail_.levels[trail_.lastArray];
  Window& window = trail_.window;
  window.first = array.count;
  window.count = 0;
  const char* end = readJsonInt(at, window.values[0]);
  while (end != nullptr) {
    array.last = offset(at);
    array.lastEnd = offset(end);
    end = skipJsonSpace(end);
    if (++window.count == std::size(window.values) || *end != ',') break;
    at = skipJsonSpace(end + 1);
    end = readJsonInt(at, window.values[window.count]);
  }
  array.count += window.count - 1;
}

// The value at the path, null when there is none.
const char* Json::find(std::string_view path) const {
  if (!isOneValue()) return nullptr;
  trail_.window.count = 0;
  std::uint32_t index = 0;
  if (Level* array = lastArray(path, index)) return element(*array, index);
  std::size_t depth = knownDepth(path);
  trail_.lastArray = none;
  const Level* known = depth > 0 ? &trail_.levels[depth - 1] : nullptr;
  const char* value = known != nullptr ? text_.c_str() + known->open : skipJsonSpace(text_.c_str());
  std::string_view rest = path.substr(known != nullptr ? known->pathLength : 0);
  while (!rest.empty()) {
    if (*value != '{' && *value != '[') return nullptr;
    const std::string_view pathSoFar = path.substr(0, path.size() - rest.size());
    Level& level = known != nullptr ? trail_.levels[depth - 1] : enter(depth, pathSoFar, value);
    known = nullptr;
    const auto number = static_cast<std::size_t>(&level - trail_.levels);
    trail_.lastArray = *value == '[' && number < trail_.depth ? number : none;
    const std::string_view step = cutStep(rest);
    if (*value == '{') {
      value = member(level, step);
    } else {
      value = indexOf(step, index) ? element(level, index) : nullptr;
    }
    if (value == nullptr) return nullptr;
  }
  return value;
}

// The array whose element was looked up last, if the path leads to another element of it.
Json::Level* Json::lastArray(std::string_view path, std::uint32_t& index) const {
  if (trail_.lastArray == none) return nullptr;
  Level& level = trail_.levels[trail_.lastArray];
  const std::size_t length = level.pathLength;
  const bool isElement = path.size() > length && indexOf(path.substr(length), index);
  return isElement && sameBytes(path.data(), trail_.path, length) ? &level : nullptr;
}

// How many of the known levels the path passes through.
std::size_t Json::knownDepth(std::string_view path) const {
  for (std::size_t depth = trail_.depth; depth > 0; --depth) {
    const std::size_t length = trail_.levels[depth - 1].pathLength;
    const bool goesOn = length == 0 || (path.size() > length && (path[length] == '.' || path[length] == '['));
    if (goesOn && sameBytes(path.data(), trail_.path, length)) return depth;
  }
  return 0;
}

// Remembers the object or array that the path led to, below `depth` known levels.
Json::Level& Json::enter(std::size_t& depth, std::string_view path, const char* open) const {
  Level& level = trail_.levels[depth];
  level.pathLength = static_cast<std::uint32_t>(path.size());
  level.open = offset(open);
  level.last = level.lastEnd = level.count = 0;
  level.complete = false;
  if (depth < maxKnownLevels && path.size() <= maxKnownPath) {
    ++depth;
    std::memcpy(trail_.path, path.data(), path.size());
  }
  trail_.depth = depth;
  return level;
}

const char* Json::member(Level& level, std::string_view step) const {
  if (step.front() == '[') return nullptr;
  const std::string_view name = step.substr(step.front() == '.' ? 1 : 0);
  const char* text = text_.c_str();
  for (std::uint32_t i = 0; i < level.count; ++i) {
    const Member& known = level.members[i];
    if (name == std::string_view(text + known.key, known.keyLength)) return text + known.value;
  }
  const char* value = level.last == 0 ? nullptr : text + level.last;
  while (!level.complete) {
    const char* at = skipJsonSpace(value == nullptr ? text + level.open + 1 : jsonValueEnd(value));
    if (*at == ',') at = skipJsonSpace(at + 1);
    if (*at != '"') {
      level.complete = level.count < maxKnownMembers;
      return nullptr;
    }
    const char* keyEnd = jsonStringEnd(at);
    const std::string_view key(at + 1, static_cast<std::size_t>(keyEnd - at - 2));
    value = skipJsonSpace(skipJsonSpace(keyEnd) + 1);
    if (level.count < maxKnownMembers) {
      level.members[level.count++] = {offset(at + 1), static_cast<std::uint32_t>(key.size()), offset(value)};
      level.last = offset(value);
    }
    if (key == name) return value;
  }
  return nullptr;
}

const char* Json::element(Level& level, std::uint32_t index) const {
  const char* text = text_.c_str();
  if (level.last == 0 || index < level.count) {
    const char* first = skipJsonSpace(text + level.open + 1);
    if (*first == ']') return nullptr;
    level.last = offset(first);
    level.lastEnd = level.count = 0;
  }
  while (level.count < index) {
    const char* end = skipJsonSpace(lastValueEnd(level));
    if (*end != ',') return nullptr;
    level.last = offset(skipJsonSpace(end + 1));
    level.lastEnd = 0;
    ++level.count;
  }
  return text + level.last;
}

// The end of the value read last. When look-ups went down into it, they have left most of it behind.
const char* Json::lastValueEnd(const Level& level) const {
  if (level.lastEnd != 0) return text_.c_str() + level.lastEnd;
  const Level& below = *(&level + 1);
  const bool wentDown = &below < trail_.levels + trail_.depth && below.open == level.last && below.last != 0;
  return wentDown ? jsonLevelEnd(lastValueEnd(below)) : jsonValueEnd(text_.c_str() + level.last);
}
