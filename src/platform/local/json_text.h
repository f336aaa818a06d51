#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// JSON as text: where tokens and values end. Every text here ends in a NUL, which stops each of these functions.

namespace ovk::local {

/// Levels of objects and arrays that a text may nest.
constexpr int maxJsonDepth = 32;

constexpr bool isJsonSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }

inline const char* skipJsonSpace(const char* at) {
  while (isJsonSpace(*at)) ++at;
  return at;
}

/// Whether the text is one JSON value with nothing but white space around it. `text` must be followed by a NUL.
bool isOneJsonValue(std::string_view text);

/// The end of the string whose opening quote is at `at`; null when it has none. A backslash takes the next byte along.
const char* jsonStringEnd(const char* at);

/// The end of the value at `at`, in a text that was checked before.
const char* jsonValueEnd(const char* at);

/// The end of the object or array that `at` stands in, anywhere between its values, in a text that was checked before.
const char* jsonLevelEnd(const char* at);

/// Reads a whole number of 32 bits, written without fraction and exponent; its end, or null.
inline const char* readJsonInt(const char* at, int& value) {
  const bool minus = *at == '-';
  const char* const first = minus ? at + 1 : at;
  std::uint64_t magnitude = 0;
  for (at = first; isDigit(*at); ++at) magnitude = magnitude * 10 + static_cast<unsigned>(*at - '0');
  const auto number = static_cast<std::int64_t>(minus ? 0 - magnitude : magnitude);
  value = static_cast<int>(number);
  const bool isWhole = at != first && at - first <= 10 && *at != '.' && *at != 'e' && *at != 'E';
  return isWhole && value == number ? at : nullptr;
}

} // namespace ovk::local
