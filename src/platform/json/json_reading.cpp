// Following a path through the text of a JSON document.

#include "platform/json/json_reading.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace ovk::json {

namespace {

// A member's name as a step of a path.
struct Name {
  std::string_view text;
  Bytes head; // its first characters
};

// The length of the name with which a path starts; `head` are its first characters.
std::size_t nameLength(std::string_view path, Bytes head) {
  const Bytes ends = marksOf('.', head) | marksOf('[', head);
  if (ends != 0) return firstMark(ends);
  if (path.size() <= bytesAtOnce) return path.size();
  return std::min({path.find('.', bytesAtOnce), path.find('[', bytesAtOnce), path.size()});
}

// Takes the step "name" or ".name" off the front of a path.
Name takeName(std::string_view& path) {
  if (path.front() == '.') path.remove_prefix(1);
  const Bytes head = headOf(path);
  const std::string_view text = path.substr(0, nameLength(path, head));
  path.remove_prefix(text.size());
  return {text, firstOf(head, text.size())};
}

// Takes the step "[index]" off the front of a path; false when it is none.
bool takeIndex(std::string_view& path, std::uint32_t& index) {
  constexpr std::size_t maxDigits = 9;
  std::uint32_t number = 0;
  std::size_t at = 1;
  for (; at < path.size() && isDigit(path[at]); ++at) number = number * 10 + static_cast<std::uint32_t>(path[at] - '0');
  if (at == 1 || at > 1 + maxDigits || at == path.size() || path[at] != ']') return false;
  path.remove_prefix(at + 1);
  index = number;
  return path.empty() || path.front() == '.' || path.front() == '[';
}

constexpr std::size_t mostBytesKept = std::size_t{64} * 1024;

// A bare pointer, so that exit handlers and ending threads can still read messages.
JsonReading* kept = nullptr;

[[gnu::destructor]] void dropKept() { delete std::exchange(kept, nullptr); }

} // namespace

void NumbersAhead::startBehind(std::string_view path) {
  clear();
  copyBytes(path, path_);
  beforeLastWord_ = path.size() - bytesAtOnce;
  lastWord_ = loadBytes(path_ + beforeLastWord_);
  stepPath();
}

// From "words[9]" to "words[10]" of the path.
void NumbersAhead::stepTens() {
  path_[beforeLastWord_ + bytesAtOnce - 2] = '9';
  char* digit = path_ + beforeLastWord_ + bytesAtOnce - 2;
  while (*digit == '9') *digit-- = '0';
  if (*digit != '[') {
    ++*digit;
  } else {
    digit[1] = '1'; // "[00]" by now becomes "[100]"
    path_[beforeLastWord_ + bytesAtOnce - 1] = '0';
    path_[beforeLastWord_ + bytesAtOnce] = ']';
    ++beforeLastWord_;
  }
  lastWord_ = loadBytes(path_ + beforeLastWord_);
}

JsonReading* JsonReading::of(std::string_view text) {
  std::unique_ptr<JsonReading> reading(std::exchange(kept, nullptr));
  if (reading == nullptr) reading = std::make_unique<JsonReading>();
  reading->turnTo(text);
  return reading.release();
}

void JsonReading::keep(JsonReading* reading) {
  const bool isKept = reading != nullptr && reading->isSmall();
  const std::unique_ptr<JsonReading> dropped(isKept ? std::exchange(kept, reading) : reading);
}

// The outline of the longest messages fits only without the room that it has for more.
bool JsonReading::isSmall() {
  const auto fits = [this] { return sizeof *this + text_.capacity() + outline_.footprint() <= mostBytesKept; };
  if (!fits() && text_.capacity() < mostBytesKept) outline_.dropSpareRoom();
  return fits();
}

// Checks the text and forgets all about the one before, unless it is the same.
void JsonReading::turnTo(std::string_view text) {
  if (text == std::string_view(text_.data(), size_)) return;
  outline_.clear();
  ahead_.clear();
  array_ = none;
  arrayPathLength_ = nowhere;
  text_.reserve(text.size() + jsonPadding);
  text_.assign(text).append(jsonPadding, '\0');
  outline_.draw({text_.data(), text.size()});
  size_ = text.size();
}

// The parts of a look-up are small and inline: as one function it takes a fifth fewer instructions.

// Whether the path goes on from the array whose elements were found last.
inline bool JsonReading::leadsToArray(std::string_view path) const {
  return path.size() > arrayPathLength_ && path[arrayPathLength_] == '[' &&
         sameBytes(path.data(), arrayPath_, arrayPathLength_);
}

const char* JsonReading::foundEnd() const {
  return found_.node == none ? jsonScalarEnd(found_.at) : text_.data() + outline_[found_.node].end;
}

std::vector<std::string> JsonReading::foundNames() const {
  std::vector<std::string> names;
  for (NodeIndex node = found_.node + 1; node < outline_[found_.node].after; node = outline_[node].after) {
    names.emplace_back(text_.data() + outline_[node].key, outline_[node].keyLength);
  }
  return names;
}

inline JsonReading::Value JsonReading::member(NodeIndex object, std::string_view name, Bytes head) const {
  const NodeIndex end = outline_[object].after;
  for (NodeIndex node = object + 1; node < end; node = outline_[node].after) {
    const JsonOutline::Node& each = outline_[node];
    if (each.keyHead != head || each.keyLength != name.size()) continue;
    if (name.size() <= bytesAtOnce || sameBytes(text_.data() + each.key, name.data(), name.size())) return value(node);
  }
  return {};
}

// Turns to the elements of another array.
void JsonReading::enterArray(NodeIndex array, std::string_view path) {
  array_ = array;
  arrayPathLength_ = path.size() <= sizeof arrayPath_ ? path.size() : nowhere;
  if (arrayPathLength_ != nowhere) copyBytes(path, arrayPath_);
  element_ = decoded_ = firstElement();
}

JsonReading::Element JsonReading::firstElement() const {
  return {0, skipJsonSpace(text_.data() + outline_[array_].value + 1), nullptr, array_ + 1};
}

inline JsonReading::Value JsonReading::element(std::uint32_t index) {
  if (index >= decoded_.index) {
    element_ = decoded_;
  } else if (index < element_.index) {
    element_ = firstElement();
  }
  if (*element_.at == ']') return {}; // of an empty array
  while (element_.index < index && toNext(element_)) {
  }
  decoded_ = element_;
  if (element_.index != index) return {};
  const bool hasNode = *element_.at == '{' || *element_.at == '[';
  return {element_.at, hasNode ? element_.nextNode : none};
}

inline JsonReading::Value JsonReading::lookUp(std::string_view path) {
  const bool isNear = leadsToArray(path);
  Value found = value(isNear ? array_ : JsonOutline::root);
  std::string_view rest = isNear ? path.substr(arrayPathLength_) : path;
  while (!rest.empty() && found.at != nullptr) {
    if (*found.at == '{' && rest.front() != '[') {
      const Name name = takeName(rest);
      found = member(found.node, name.text, name.head);
    } else if (*found.at == '[' && rest.front() == '[') {
      if (found.node != array_) enterArray(found.node, path.substr(0, path.size() - rest.size()));
      std::uint32_t index = 0;
      found = takeIndex(rest, index) ? element(index) : Value{};
    } else {
      return {};
    }
  }
  return found;
}

const char* JsonReading::find(std::string_view path) {
  found_ = outline_.empty() ? Value{} : lookUp(path);
  return found_.at;
}

// Goes on to the next element; false, and nothing changes, when there is none.
bool JsonReading::toNext(Element& element) const {
  const bool hasNode = *element.at == '{' || *element.at == '[';
  const char* end = element.end;
  if (end == nullptr) end = hasNode ? text_.data() + outline_[element.nextNode].end : jsonScalarEnd(element.at);
  end = skipJsonSpace(end);
  if (*end != ',') return false;
  element = {element.index + 1, skipJsonSpace(end + 1), nullptr,
             hasNode ? outline_[element.nextNode].after : element.nextNode};
  return true;
}

bool JsonReading::findInt(std::string_view path, int& value) {
  const char* const at = find(path);
  int number = 0;
  if (at == nullptr || !readJsonInt(at, number)) return false;
  value = number;
  if (array_ == none || element_.at != at || !NumbersAhead::canFollow(path)) return true;
  ahead_.startBehind(path);
  decoded_ = decodeAhead(element_);
  return true;
}

// Decodes short plain numbers behind the element; gives the last of them. Their ends are found 64 characters at a time, so
// that no number has to wait for the end of the one before.
JsonReading::Element JsonReading::decodeAhead(Element element) {
  const auto upTo = [&](const char* at, const char* end, std::uint32_t count) {
    ahead_.add(count);
    return Element{element.index + count, at, end, element.nextNode};
  };
  const char* at = element.at;
  const char* end = jsonScalarEnd(at);
  int* const numbers = ahead_.numbers();
  std::uint32_t count = 0;
  const char* block = nullptr;
  for (const char* next = skipJsonSpace(end + 1); block != next && *end == ',';) {
    block = next;
    for (std::uint64_t stops = nonDigits(block); stops != 0; stops &= stops - 1) {
      const char* const stop = block + lowestBit(stops);
      if (stop < next) continue; // white space in front of the number
      const auto digits = static_cast<std::size_t>(stop - next);
      const char delimiter = *stop;
      if (digits - 1 >= maxShortDigits || count == NumbersAhead::room) return upTo(at, end, count);
      if (delimiter != ',' && delimiter != ']') return upTo(at, end, count);
      numbers[count++] = shortNumber(next, digits);
      at = next;
      end = stop;
      if (delimiter == ']') break;
      next = skipJsonSpace(stop + 1);
    }
  }
  return upTo(at, end, count);
}

} // namespace ovk::json
