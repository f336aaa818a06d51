// The bundled JSON document class: a text that grows, and look-ups that walk it on demand.
//
// Nothing is decoded or indexed in advance. A look-up goes down the path from the deepest object or array that the last
// look-ups passed and that the new path passes too, and inside it goes on from where they stopped; so the 2048 words of
// a message, asked for one after the other, cost one walk over the text.

#include "platform/json.h"

#include <charconv>
#include <cstring>
#include <limits>

#include "platform/local/json_text.h"

using ovk::local::isDigit;
using ovk::local::jsonStringEnd;
using ovk::local::jsonValueEnd;
using ovk::local::skipJsonSpace;

namespace {

// Cuts the next step, "name", ".name" or "[index]", off the path.
std::string_view cutStep(std::string_view& path) {
  const std::size_t end = path.find_first_of(".[", 1);
  const std::string_view step = path.substr(0, end);
  path.remove_prefix(step.size());
  return step;
}

bool indexOf(std::string_view step, std::uint32_t& index) {
  const char* end = step.data() + step.size();
  if (step.size() < 3 || step.front() != '[' || step.back() != ']') return false;
  const auto read = std::from_chars(step.data() + 1, end - 1, index);
  return read.ec == std::errc() && read.ptr == end - 1;
}

} // namespace

Json::Trail& Json::Trail::operator=(const Trail& /*other*/) {
  depth = 0;
  return *this;
}

Json::Json(Kind kind) : text_(kind == Kind::object ? "{}" : "[]"), kind_(kind) {}

void Json::clear() { load(kind_ == Kind::object ? "{}" : "[]"); }

bool Json::empty() const { return text_ == "{}" || text_ == "[]"; }

void Json::load(std::string_view text) {
  text_ = text;
  check_ = Check::pending;
  trail_ = Trail();
}

void Json::add(std::string_view key, std::string_view value) {
  const char close = reopen();
  text_.append(1, '"').append(key).append("\":").append(value).append(1, close);
}

void Json::add(std::string_view element) {
  const char close = reopen();
  text_.append(element).append(1, close);
}

// Takes the closing bracket off and sets the next item apart from the last.
char Json::reopen() {
  const char close = text_.back();
  text_.pop_back();
  if (text_.size() > 1) text_ += ',';
  return close;
}

bool Json::getObject(std::string_view path, Json& value) const {
  const char* at = find(path);
  if (at == nullptr) return false;
  const char* end = jsonValueEnd(at);
  const bool quoted = *at == '"';
  value.load(std::string(at + (quoted ? 1 : 0), end - (quoted ? 1 : 0)));
  return true;
}

bool Json::GetValueAsInt(std::string_view path, int* value) const {
  const char* at = find(path);
  if (at == nullptr || (!isDigit(*at) && *at != '-')) return false;
  const auto read = std::from_chars(at, text_.c_str() + text_.size(), *value);
  if (read.ec != std::errc() || *read.ptr == '.' || *read.ptr == 'e' || *read.ptr == 'E') return false;
  if (trail_.lastArray != none) trail_.levels[trail_.lastArray].lastEnd = offset(read.ptr);
  return true;
}

bool Json::GetValueAsString(std::string_view path, std::string& value) const {
  const char* at = find(path);
  if (at == nullptr || *at != '"') return false;
  value.assign(at + 1, jsonStringEnd(at) - 1);
  return true;
}

bool Json::GetValueAsBool(std::string_view path, bool& value) const {
  const char* at = find(path);
  if (at == nullptr || (*at != 't' && *at != 'f')) return false;
  value = *at == 't';
  return true;
}

bool Json::getNames(std::string_view path, std::vector<std::string>& names) const {
  const char* at = find(path);
  if (at == nullptr || *at != '{') return false;
  names.clear();
  for (at = skipJsonSpace(at + 1); *at == '"';) {
    const char* keyEnd = jsonStringEnd(at);
    names.emplace_back(at + 1, keyEnd - 1);
    const char* value = skipJsonSpace(skipJsonSpace(keyEnd) + 1);
    at = skipJsonSpace(jsonValueEnd(value));
    if (*at == ',') at = skipJsonSpace(at + 1);
  }
  return true;
}

bool Json::isOneValue() const {
  if (check_ == Check::pending) check_ = ovk::local::isOneJsonValue(text_) ? Check::good : Check::bad;
  return check_ == Check::good;
}

// The value at the path, null when there is none.
const char* Json::find(std::string_view path) const {
  if (!isOneValue()) return nullptr;
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
    trail_.lastArray = *value == '[' ? static_cast<std::size_t>(&level - trail_.levels) : none;
    const std::string_view step = cutStep(rest);
    value = *value == '{' ? member(level, step) : element(level, step);
    if (value == nullptr) return nullptr;
  }
  return value;
}

// How many of the known levels the path passes through.
std::size_t Json::knownDepth(std::string_view path) const {
  for (std::size_t depth = trail_.depth; depth > 0; --depth) {
    const std::size_t length = trail_.levels[depth - 1].pathLength;
    const bool goesOn = length == 0 || (path.size() > length && (path[length] == '.' || path[length] == '['));
    if (goesOn && std::memcmp(path.data(), trail_.path.data(), length) == 0) return depth;
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
  if (depth < maxKnownLevels) {
    ++depth;
    trail_.path = path;
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

const char* Json::element(Level& level, std::string_view step) const {
  std::uint32_t index = 0;
  if (!indexOf(step, index)) return nullptr;
  const char* text = text_.c_str();
  if (level.last == 0 || index < level.count) {
    const char* first = skipJsonSpace(text + level.open + 1);
    if (*first == ']') return nullptr;
    level.last = offset(first);
    level.lastEnd = level.count = 0;
  }
  while (level.count < index) {
    const char* end = level.lastEnd != 0 ? text + level.lastEnd : jsonValueEnd(text + level.last);
    end = skipJsonSpace(end);
    if (*end != ',') return nullptr;
    level.last = offset(skipJsonSpace(end + 1));
    level.lastEnd = 0;
    ++level.count;
  }
  return text + level.last;
}
