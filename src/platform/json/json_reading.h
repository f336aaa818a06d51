#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/json/bytes.h"
#include "platform/json/json_outline.h"
#include "platform/json/json_text.h"

namespace ovk::json {

/// Whole numbers of an array, decoded ahead of the look-ups that will probably ask for them one after the other. Reading an
/// array element by element takes half the time it takes without.
class NumbersAhead {
public:
  static constexpr std::size_t maxPath = 64;
  static constexpr std::size_t room = 128;

  /// Whether the numbers behind this path can be found again: the path must hold a word and fit in here.
  static constexpr bool canFollow(std::string_view path) {
    return path.size() >= bytesAtOnce && path.size() <= maxPath;
  }

  void clear() { next_ = end_ = numbers_; }
  /// Forgets what is there; the next number added will be found at the path that follows this one, which it can follow.
  void startBehind(std::string_view path);
  /// The numbers added are the first `count` of `room` here.
  int* numbers() { return numbers_; }
  void add(std::size_t count) { end_ = numbers_ + count; }

  bool isNext(std::string_view path) const {
    return next_ != end_ && path.size() == beforeLastWord_ + bytesAtOnce &&
           loadBytes(path.data() + beforeLastWord_) == lastWord_ && sameBytes(path.data(), path_, beforeLastWord_);
  }
  int take() {
    stepPath();
    return *next_++;
  }

private:
  static constexpr unsigned lastDigitAt = 48; // in front of the bracket

  char lastDigit() const { return static_cast<char>(lastWord_ >> lastDigitAt); }
  void stepPath() {
    if (lastDigit() == '9') return stepTens();
    lastWord_ += Bytes{1} << lastDigitAt;
  }
  void stepTens();

  int numbers_[room];
  const int* next_ = numbers_;
  int* end_ = numbers_;
  // The path of the next number, which ends with `lastWord_`. Its index may get two digits more, from "[9]" to "[100]".
  char path_[maxPath + 2];
  std::size_t beforeLastWord_ = 0;
  Bytes lastWord_ = 0;
};

/// Look-ups in one text, whose outline is drawn once. A path that leads to another element of the array gone through last
/// is followed from there, and the array from the element found last; so the 2048 words of a message, asked for one after
/// the other, cost one walk over the text.
class JsonReading {
public:
  JsonReading() = default;
  JsonReading(const JsonReading&) = delete;
  JsonReading& operator=(const JsonReading&) = delete;

  /// A reading of the text, to be given back by keep(). A received message is loaded into three or four documents, one after
  /// the other: what the first learnt, by the check above all, goes on to the next through the reading kept.
  static JsonReading* of(std::string_view text);
  /// A large one is not kept.
  static void keep(JsonReading* reading);

  /// The text, followed by a NUL.
  std::string_view text() const { return {text_.data(), size_}; }

  /// The value at the path; null when there is none, or when the text is not one JSON value.
  const char* find(std::string_view path);
  /// The end of the value that was found last.
  const char* foundEnd() const;
  /// The member names of the object that was found last.
  std::vector<std::string> foundNames() const;

  bool findInt(std::string_view path, int& value);
  /// As findInt(), only for a number that is decoded already.
  bool takeInt(std::string_view path, int& value) {
    const bool isNext = ahead_.isNext(path);
    if (isNext) value = ahead_.take();
    return isNext;
  }

private:
  bool isSmall();

  using NodeIndex = std::uint32_t;
  static constexpr NodeIndex none = 0xFFFFFFFF;                  // of elements that are neither objects nor arrays
  static constexpr std::size_t nowhere = std::string_view::npos; // to which no path leads

  struct Value {
    const char* at = nullptr; // null for no value
    NodeIndex node = none;
  };
  // An element on the walk through an array.
  struct Element {
    std::uint32_t index;
    const char* at;
    const char* end;    // null while unknown
    NodeIndex nextNode; // of the first object or array from here on
  };

  void turnTo(std::string_view text);
  Value lookUp(std::string_view path);
  Value value(NodeIndex node) const { return {text_.data() + outline_[node].value, node}; }
  Value member(NodeIndex object, std::string_view name, Bytes head) const;
  bool leadsToArray(std::string_view path) const;
  void enterArray(NodeIndex array, std::string_view path);
  Element firstElement() const;
  Value element(std::uint32_t index);
  bool toNext(Element& element) const;
  Element decodeAhead(Element element);

  std::string text_; // with padding behind it
  std::size_t size_ = 0;
  JsonOutline outline_;
  Value found_;
  NodeIndex array_ = none; // whose element was found last
  std::size_t arrayPathLength_ = nowhere;
  char arrayPath_[NumbersAhead::maxPath];
  Element element_ = {};
  Element decoded_ = {}; // of the same array, not before `element_`
  NumbersAhead ahead_;
};

} // namespace ovk::json
