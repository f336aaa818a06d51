#pragma once

#include <cstddef>
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

} // namespace ovk::local
