// Following a path through the text of a JSON document.

#include "platform/local/json_reading.h"

#include <algorithm>
#include <iterator>
#include <memory>

#include "platform/local/json_text.h"

namespace ovk::local {

namespace {

// The length of the next step, "name", ".name" or "[index]", of a path.
std::size_t stepLength(std::string_view path) {
  std::size_t length = 1;
  for (; length + bytesAtOnce <= path.size(); length += bytesAtOnce) {
    const Bytes bytes = loadBytes(path.data() + length);
    const Bytes ends = marksOf('.', bytes) | marksOf('[', bytes);
    if (ends != 0) return length + firstMark(ends);
  }
  while (length < path.size() && path[length] != '.' && path[length] != '[') ++length;
  return length;
}

// The number in a step "[index]".
bool indexOf(std::string_view step, std::uint32_t& index) {
  if (step.size() < 3 || step.size() > 11 || step.front() != '[' || step.back() != ']') return false;
  std::uint32_t number = 0;
  for (const char digit : step.substr(1, step.size() - 2)) {
    if (!isDigit(digit)) return false;
    number = number * 10 + static_cast<std::uint32_t>(digit - '0');
  }
  index = number;
  return true;
}

thread_local std::unique_ptr<JsonReading> kept;

} // namespace

void NumbersAhead::startBehind(std::string_view path) {
  clear();
  copyBytes(path, path_);
  pathLength_ = path.size();
  indexAt_ = path.rfind('[') + 1;
  stepPath();
}

JsonReading* JsonReading::of(std::string_view text) {
  std::unique_ptr<JsonReading> reading = kept != nullptr ? std::move(kept) : std::make_unique<JsonReading>();
  reading->turnTo(text);
  return reading.release();
}

void JsonReading::keep(JsonReading* reading) { kept.reset(reading); }

// Checks the text and forgets all about the one before, unless it is the same.
void JsonReading::turnTo(std::string_view text) {
  if (text == std::string_view(text_.data(), size_)) return;
  size_ = 0; // should there be no memory for the text, nothing is known of any
  outline_.clear();
  ahead_.clear();
  near_ = nearArray_ = Start{};
  array_ = none;
  answerCount_ = 0;
  text_.reserve(text.size() + jsonPadding);
  text_.assign(text).append(jsonPadding, '\0');
  outline_.draw({text_.data(), text.size()});
  size_ = text.size();
}

const char* JsonReading::find(std::string_view path) {
  if (path.size() > bytesAtOnce) {
    found_ = lookUp(path);
    return found_.at;
  }
  const Bytes head = headOf(path);
  const Answer* known = knownAnswer(path, head);
  if (known == nullptr) {
    Answer& answer = answers_[answerCount_++ % std::size(answers_)];
    answer = {head, path.size(), lookUp(path)};
    known = &answer;
  }
  found_ = known->value;
  return found_.at;
}

const JsonReading::Answer* JsonReading::knownAnswer(std::string_view path, Bytes head) const {
  const std::size_t count = std::min(answerCount_, std::size(answers_));
  for (const Answer* answer = answers_; answer != answers_ + count; ++answer) {
    if (answer->path == head && answer->pathLength == path.size()) return answer;
  }
  return nullptr;
}

JsonReading::Value JsonReading::lookUp(std::string_view path) {
  if (outline_.empty()) return {};
  const bool isNear = leadsFrom(near_, path);
  const Start start = isNear ? near_ : leadsFrom(nearArray_, path) ? nearArray_ : Start{};
  Value found = value(start.node);
  std::string_view rest = path;
  rest.remove_prefix(start.pathLength);
  Start parent;
  Start array = isNear ? nearArray_ : Start{};
  while (!rest.empty() && found.at != nullptr) {
    parent = {path.size() - rest.size(), found.node};
    const std::string_view step(rest.data(), stepLength(rest));
    rest.remove_prefix(step.size());
    if (*found.at == '{') {
      found = member(parent.node, step);
    } else if (*found.at == '[') {
      array = parent;
      found = element(parent.node, step);
    } else {
      found = {};
    }
  }
  if (found.at != nullptr && parent.node != near_.node) remember(path, parent, array);
  return found;
}

// Whether the path goes on from there.
bool JsonReading::leadsFrom(const Start& start, std::string_view path) const {
  const std::size_t length = start.pathLength;
  return path.size() > length && (path[length] == '.' || path[length] == '[') && sameBytes(path.data(), path_, length);
}

// Where the next look-up may start.
void JsonReading::remember(std::string_view path, const Start& parent, const Start& array) {
  if (parent.node == none || parent.pathLength > sizeof path_) return;
  copyBytes(path.substr(0, parent.pathLength), path_);
  near_ = parent;
  nearArray_ = array;
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

JsonReading::Value JsonReading::member(NodeIndex object, std::string_view step) const {
  if (step.front() == '[') return {};
  const std::size_t dot = step.front() == '.' ? 1 : 0;
  const std::string_view name(step.data() + dot, step.size() - dot);
  const Bytes head = headOf(name);
  const NodeIndex end = outline_[object].after;
  for (NodeIndex node = object + 1; node < end; node = outline_[node].after) {
    const JsonOutline::Node& each = outline_[node];
    if (each.keyHead != head || each.keyLength != name.size()) continue;
    if (name.size() <= bytesAtOnce || sameBytes(text_.data() + each.key, name.data(), name.size())) return value(node);
  }
  return {};
}

JsonReading::Value JsonReading::element(NodeIndex array, std::string_view step) {
  std::uint32_t index = 0;
  if (!indexOf(step, index)) return {};
  const bool isKnown = array == array_;
  if (isKnown && index >= decoded_.index) element_ = decoded_;
  if (!isKnown || index < element_.index) {
    const char* const first = skipJsonSpace(text_.data() + outline_[array].value + 1);
    if (*first == ']') return {};
    element_ = {0, first, nullptr, array + 1};
    array_ = array;
  }
  while (element_.index < index && toNext(element_)) {
  }
  decoded_ = element_;
  if (element_.index != index) return {};
  const bool hasNode = *element_.at == '{' || *element_.at == '[';
  return {element_.at, hasNode ? element_.nextNode : none};
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
  if (array_ == none || element_.at != at || path.size() > NumbersAhead::maxPath) return true;
  ahead_.startBehind(path);
  decoded_ = decodeAhead(element_);
  return true;
}

// Decodes short plain numbers behind the element; gives the last of them. Their ends are found 64 characters at a time, so
// that no number has to wait for the end of the one before.
JsonReading::Element JsonReading::decodeAhead(Element element) {
  element.end = jsonScalarEnd(element.at);
  if (*element.end != ',') return element;
  int* const numbers = ahead_.numbers();
  std::uint32_t count = 0;
  const char* block = nullptr;
  const char* at = skipJsonSpace(element.end + 1);
  while (block != at && *element.end == ',') {
    block = at;
    for (std::uint64_t stops = nonDigits(block); stops != 0; stops &= stops - 1) {
      const char* const stop = block + lowestBit(stops);
      if (stop < at) continue; // white space in front of the number
      const auto digits = static_cast<std::size_t>(stop - at);
      const bool isPlain = digits - 1 < maxShortDigits && (*stop == ',' || *stop == ']');
      if (!isPlain || count == NumbersAhead::room) return taken(element, count);
      numbers[count++] = shortNumber(at, digits);
      element.at = at;
      element.end = stop;
      if (*stop == ']') break;
      at = skipJsonSpace(stop + 1);
    }
  }
  return taken(element, count);
}

// The element at the end of `count` numbers decoded behind it.
JsonReading::Element JsonReading::taken(Element element, std::uint32_t count) {
  ahead_.add(count);
  element.index += count;
  return element;
}

} // namespace ovk::local
