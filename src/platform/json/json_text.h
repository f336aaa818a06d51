#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/json/bytes.h"

// JSON as text: where tokens and values end. Every text here is followed by NULs: the first stops each of these functions,
// the others let them look at several characters at once.

namespace ovk::json {

/// Levels of objects and arrays that a text may nest.
constexpr int maxJsonDepth = 32;

/// NULs behind a text.
constexpr std::size_t jsonPadding = 80;

constexpr bool isJsonSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }

inline const char* skipJsonSpace(const char* at) {
  while (isJsonSpace(*at)) ++at;
  return at;
}

/// The end of the string whose opening quote is at `at`; null when it has none. A backslash takes the next byte along.
const char* jsonStringEnd(const char* at);

/// The length of the string whose first character is at `at`, when it is under eight and nothing is escaped; otherwise eight.
inline std::size_t jsonShortString(const char* at) {
  const Bytes bytes = loadBytes(at);
  const Bytes quotes = marksOf('"', bytes);
  const Bytes others = marksOf('\\', bytes) | marksOf('\0', bytes);
  const Bytes lowestQuote = quotes & (~quotes + 1);
  return quotes == 0 || (others & (lowestQuote - 1)) != 0 ? bytesAtOnce : firstMark(quotes);
}

/// The end of the string, number or word at `at`; null when there is none.
const char* jsonScalarEnd(const char* at);

/// Steps over most of the plain numbers of an array from the value at `at` on, each with its comma, without finding each of
/// them: a text of 2048 numbers is checked in a sixth of the time.
const char* jsonNumbersEnd(const char* at);

/// Reads a whole number of 32 bits; false when it is none, or written with fraction or exponent.
bool readJsonInt(const char* at, int& value);

} // namespace ovk::json
