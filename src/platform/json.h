#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// The JSON document class.

namespace ovk::json {
class JsonReading;
}

/// The text of a document, always followed by a NUL. Short ones need no memory of their own, so that the small documents
/// that a message is put together from cost no allocation.
class JsonText {
public:
  JsonText() = default;
  JsonText(const JsonText&) = delete;
  JsonText& operator=(const JsonText&) = delete;

  std::size_t size() const { return size_; }
  std::string_view view() const { return {data_, size_}; }
  void assign(std::string_view text);
  bool hasRoom(std::size_t length) const { return size_ + length < capacity_; }
  void makeRoom(std::size_t length) {
    if (!hasRoom(length)) grow(size_ + length);
  }
  /// Moves the last character `length` places on; where it stood, as many can be written. There must be room for them.
  char* openBeforeLast(std::size_t length) {
    char* const opened = data_ + size_ - 1;
    size_ += length;
    opened[length] = *opened;
    opened[length + 1] = '\0';
    return opened;
  }

private:
  void grow(std::size_t size);

  char* data_ = short_;
  std::size_t size_ = 0;
  std::size_t capacity_ = sizeof short_; // the NUL included
  std::unique_ptr<char[]> long_;
  char short_[512];
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
  Json(const Json& other) : kind_(other.kind_) { text_.assign(other.text()); }
  Json& operator=(const Json& other);
  ~Json() = default;

  /// Back to "{}" or "[]".
  void clear();
  /// Whether the text is "{}" or "[]".
  bool empty() const;
  /// Takes a received text over as it stands, JSON or not.
  void load(std::string_view text);
  std::string_view text() const;
  /// The text, followed by a NUL.
  const char* c_str() const { return text().data(); }

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
  // Keeps what was learnt about the text for the next document with the same one.
  struct KeepReading {
    void operator()(ovk::json::JsonReading* reading) const;
  };

  ovk::json::JsonReading& reading() const {
    if (reading_ == nullptr) beginReading();
    return *reading_;
  }
  void beginReading() const;
  char* extend(std::size_t length);
  [[gnu::noinline]] void addLong(std::string_view element);

  void setText(std::string_view text);

  JsonText text_; // of a document that was written; a reading has its own
  Kind kind_;
  mutable std::unique_ptr<ovk::json::JsonReading, KeepReading> reading_; // since the first look-up
};
