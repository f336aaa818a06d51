#pragma once

#include <charconv>
#include <string>
#include <string_view>

#include "platform/json.h"

// The value texts that a JSON document is given ready-made. Nobody else writes a quote or a bracket.

namespace ovk {

/// A whole number in decimal.
class NumberText {
public:
  explicit NumberText(long long value) : end_(std::to_chars(text_, text_ + sizeof text_, value).ptr) {}
  NumberText(const NumberText&) = delete;
  NumberText& operator=(const NumberText&) = delete;
  std::string_view view() const { return {text_, static_cast<std::size_t>(end_ - text_)}; }
  operator std::string_view() const { return view(); } // NOLINT(google-explicit-constructor): it is that text

private:
  char text_[24]; // longer than any 64-bit number
  const char* end_;
};

inline NumberText number(long long value) { return NumberText(value); }

/// A text between quotes, unchanged: nothing is escaped.
inline std::string quoted(std::string_view text) {
  std::string value;
  value.reserve(text.size() + 2);
  return value.append(1, '"').append(text).append(1, '"');
}

inline std::string_view boolean(bool value) { return value ? "true" : "false"; }

/// An object or an array as a value.
inline std::string_view nested(const Json& document) { return document.text(); }

} // namespace ovk
