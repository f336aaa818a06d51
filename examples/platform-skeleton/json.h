#pragma once

#include <string>
#include <string_view>

// Only for a platform that brings a JSON class of its own (OVK_BUNDLED_JSON=OFF): put this file, or the header of your
// class, in place of src/platform/json.h. The public members are all that the library uses.

/// A JSON document: received and searched, or built and sent.
class Json {
public:
  enum class Kind { object, array };

  /// The text "{}" or "[]". Documents are copied, too, by construction.
  explicit Json(Kind kind = Kind::object) : text_(kind == Kind::object ? "{}" : "[]") {}

  /// Whether the text is "{}" or "[]".
  bool empty() const { return text_ == "{}" || text_ == "[]"; }
  /// Becomes the text given, JSON or not, byte for byte.
  void load(std::string_view text) { text_ = text; }
  /// The text as it is sent, without and with a NUL behind it; gone when the document changes.
  std::string_view text() const { return text_; }
  const char* c_str() const { return text_.c_str(); }

  /// Appends a member, or an element of an array. The value is JSON already: it goes in as it is.
  void add(std::string_view key, std::string_view value);
  void add(std::string_view element);

  // Look-ups by path: "dst.fid", "data[0].words[7]", "telegram[0].portlist[0].tag". Each is true when the value is there
  // and of its type, and leaves the output alone otherwise. They are also asked of texts that are no JSON, in which they
  // must find nothing, and of any path, array elements one by one and in order. The first of duplicate members wins.

  /// The value as it stands in the text; of a text what is between its quotes.
  bool getObject(std::string_view path, Json& value) const;
  /// Only a whole number of 32 bits, without quotes, fraction or exponent.
  bool GetValueAsInt(std::string_view path, int* value) const;
  /// What is between the quotes, nothing unescaped.
  bool GetValueAsString(std::string_view path, std::string& value) const;
  bool GetValueAsBool(std::string_view path, bool& value) const;

private:
  void append(std::string_view item);

  std::string text_;
};
