#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/local/bytes.h"
#include "platform/local/json_outline.h"

namespace ovk::local {

/// Whole numbers of an array, decoded ahead of the look-ups that will probably ask for them one after the other. Reading an
/// array element by element takes half the time it takes without.
class NumbersAhead {
public:
  static constexpr std::size_t maxPath = 64;
  static constexpr std::size_t room = 128;

  void clear() { next_ = end_ = numbers_; }
  /// Forgets what is there; the next number added will be found at the path that follows this one.
  void startBehind(std::string_view path);
  /// The numbers added are the first `count` of `room` here.
  int* numbers() { return numbers_; }
  void add(std::size_t count) { end_ = numbers_ + count; }

  bool isNext(std::string_view path) const {
    return next_ != end_ && path.size() == pathLength_ && endsAsNext(path.data()) &&
           sameBytes(path.data(), path_, indexAt_);
  }
  int take() {
    stepPath();
    return *next_++;
  }

private:
  // Character by character: a processor has to wait for a word of which one byte was written just before.
  bool endsAsNext(const char* path) const {
    std::size_t i = pathLength_ - 1;
    while (path[i] == path_[i] && i >= indexAt_) --i;
    return i < indexAt_;
  }

  // From "words[7]" to "words[8]".
  void stepPath() {
    char* digit = path_ + pathLength_ - 2;
    while (*digit == '9') *digit-- = '0';
    if (*digit != '[') {
      ++*digit;
      return;
    }
    digit[1] = '1'; // "[99]", which is "[00]" by now, becomes "[100]"
    path_[pathLength_ - 1] = '0';
    path_[pathLength_++] = ']';
  }

  int numbers_[room];
  const int* next_ = numbers_;
  int* end_ = numbers_;
  char path_[maxPath + 1]; // of the next number; an index may get one digit more
  std::size_t pathLength_ = 0;
  std::size_t indexAt_ = 0; // where the digits of its index start
};

/// Look-ups in one text, whose outline is drawn once. A look-up starts at the object or array in which the one before ended,
/// if its path leads there, and an array is gone through from the element found last; so the 2048 words of a message,
/// asked for one after the other, cost one walk over the text.
class JsonReading {
public:
  JsonReading() = default;
  JsonReading(const JsonReading&) = delete;
  JsonReading& operator=(const JsonReading&) = delete;

  /// A reading of the text, to be given back by keep(). A received message is loaded into three or four documents, one after
  /// the other: what the first learnt, by the check above all, goes on to the next through the reading kept.
  static JsonReading* of(std::string_view text);
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
  using NodeIndex = std::uint32_t;
  static constexpr NodeIndex none = 0xFFFFFFFF; // of elements that are neither objects nor arrays

  struct Value {
    const char* at = nullptr; // null for no value
    NodeIndex node = none;
  };
  // Where a look-up starts: at the object or array to which the first characters of the path lead.
  struct Start {
    std::size_t pathLength = 0;
    NodeIndex node = JsonOutline::root;
  };
  // What was found at a path of up to eight characters.
  struct Answer {
    Bytes path = 0;
    std::size_t pathLength = 0;
    Value value;
  };
  // An element on the walk through an array.
  struct Element {
    std::uint32_t index;
    const char* at;
    const char* end;    // null while unknown
    NodeIndex nextNode; // of the first object or array from here on
  };

  void turnTo(std::string_view text);
  const Answer* knownAnswer(std::string_view path, Bytes head) const;
  Value lookUp(std::string_view path);
  Value value(NodeIndex node) const { return {text_.data() + outline_[node].value, node}; }
  Value member(NodeIndex object, std::string_view step) const;
  Value element(NodeIndex array, std::string_view step);
  bool leadsFrom(const Start& start, std::string_view path) const;
  void remember(std::string_view path, const Start& parent, const Start& array);
  bool toNext(Element& element) const;
  Element decodeAhead(Element element);
  Element taken(Element element, std::uint32_t count);

  std::string text_; // with padding behind it
  std::size_t size_ = 0;
  JsonOutline outline_;
  Value found_;
  Answer answers_[8]; // the last; other documents of the same text will ask again
  std::size_t answerCount_ = 0;
  char path_[NumbersAhead::maxPath]; // of both starts
  Start near_;                       // where the last value was found
  Start nearArray_;                  // the last array on the way there
  NodeIndex array_ = none;           // whose element was found last
  Element element_ = {};
  Element decoded_ = {}; // of the same array, not before `element_`
  NumbersAhead ahead_;
};

} // namespace ovk::local
