#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// The JSON document class.

/// The text of a document, always followed by a NUL. Short ones need no memory of their own, so that the small documents
/// that a message is put together from cost no allocation.
class JsonText {
public:
  JsonText() { *short_ = '\0'; }
  JsonText(const JsonText& other) { assign(other.view()); }
  JsonText& operator=(const JsonText& other) {
    if (this != &other) assign(other.view());
    return *this;
  }

  const char* c_str() const { return data_; }
  std::size_t size() const { return size_; }
  std::string_view view() const { return {data_, size_}; }

  void assign(std::string_view text) {
    reserve(text.size());
    end(std::copy_n(text.data(), text.size(), data_));
  }
  void append(std::string_view text) {
    reserve(size_ + text.size());
    end(std::copy_n(text.data(), text.size(), data_ + size_));
  }
  void append(char c) { append({&c, 1}); }
  void cutLast() { end(data_ + size_ - 1); }

private:
  void reserve(std::size_t size) {
    if (size >= capacity_) grow(size);
  }
  void grow(std::size_t size);
  void end(char* at) {
    size_ = static_cast<std::size_t>(at - data_);
    *at = '\0';
  }

  char* data_ = short_;
  std::size_t size_ = 0;
  std::size_t capacity_ = sizeof short_; // the NUL included
  std::unique_ptr<char[]> long_;
  char short_[256];
};

/// A JSON document held as its text.
///
/// Written, it grows member by member; value texts are given ready-made and nothing is escaped. Read, it answers
/// look-ups by path: member names with dots between the levels, array elements in brackets ("dst.fid",
/// "data[0].words[7]"). A look-up finds something only when the whole text is one JSON value of at most 32 levels; the
/// first of duplicate members wins; texts come as the bytes between their quotes, in which a backslash takes the next
/// byte along.
///
/// A document remembers where its last look-up ended, so that reading an array element by element costs as much as
/// reading it once. It may not be shared between threads, not even for reading.
class Json {
public:
  enum class Kind { object, array };

  explicit Json(Kind kind = Kind::object);

  /// Back to "{}" or "[]".
  void clear();
  /// Whether the text is "{}" or "[]".
  bool empty() const;
  /// Takes a received text over as it stands, JSON or not.
  void load(std::string_view text);
  std::string_view text() const { return text_.view(); }
  const char* c_str() const { return text_.c_str(); }

  /// Appends one member.
  void add(std::string_view key, std::string_view value);
  /// Appends one element.
  void add(std::string_view element);

  /// Copies the value at the path, whatever its type; of a text the bytes between its quotes.
  bool getObject(std::string_view path, Json& value) const;
  /// True only for whole numbers in 32 bits, written without fraction or exponent.
  bool GetValueAsInt(std::string_view path, int* value) const;
  bool GetValueAsString(std::string_view path, std::string& value) const;
  bool GetValueAsBool(std::string_view path, bool& value) const;
  /// The member names of the object at the path (the whole document for an empty path), in their order. The library does
  /// not use it: a controller's own class needs none, it serves the bundled topology service.
  bool getNames(std::string_view path, std::vector<std::string>& names) const;

private:
  // A value passed on the way: where its key and the value itself stand in the text.
  struct Member {
    std::uint32_t key, keyLength, value;
  };
  static constexpr std::size_t maxKnownMembers = 10;
  // What look-ups learnt about one object or array on the way to the last value.
  struct Level {
    std::uint32_t pathLength; // of the path that leads here
    std::uint32_t open;       // its opening bracket
    std::uint32_t last;       // the value read last, 0 before the first
    std::uint32_t lastEnd;    // array: the end of that value, 0 while unknown
    std::uint32_t count;      // object: members remembered; array: index of the value read last
    bool complete;            // object: all its members are remembered
    Member members[maxKnownMembers];
  };
  static constexpr std::size_t maxKnownLevels = 6;
  static constexpr std::size_t maxKnownPath = 64;
  // Whole numbers of the array read last, decoded ahead of the look-ups that will probably ask for them. Reading an array
  // element by element takes half the time it takes without.
  struct Window {
    std::uint32_t first = 0; // index of the first
    std::uint32_t count = 0;
    int values[32];
  };
  static constexpr std::size_t none = maxKnownLevels + 1;
  // The levels down to the value looked up last. A copy of a document starts without.
  struct Trail {
    Trail() {} // NOLINT(modernize-use-equals-default): the levels stay unset until they are entered
    Trail(const Trail& /*other*/) {}
    Trail& operator=(const Trail& other);
    char path[maxKnownPath]; // to the last of the levels
    std::size_t depth = 0;
    std::size_t lastArray = none;     // level whose element was looked up last
    Level levels[maxKnownLevels + 1]; // the last is for levels too deep to be remembered
    Window window;
  };

  void decodeAhead(const char* at) const;
  bool isOneValue() const;
  const char* find(std::string_view path) const;
  Level* lastArray(std::string_view path, std::uint32_t& index) const;
  std::size_t knownDepth(std::string_view path) const;
  Level& enter(std::size_t& depth, std::string_view path, const char* open) const;
  const char* member(Level& level, std::string_view step) const;
  const char* element(Level& level, std::uint32_t index) const;
  const char* lastValueEnd(const Level& level) const;
  char reopen();
  std::uint32_t offset(const char* at) const { return static_cast<std::uint32_t>(at - text_.c_str()); }

  JsonText text_;
  Kind kind_;
  enum class Check { pending, good, bad };
  mutable Check check_ = Check::pending;
  mutable Trail trail_;
};
