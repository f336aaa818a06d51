// Where JSON tokens end. Everything received passes through here, so the frequent ones are looked at in blocks.

#include "platform/json/json_text.h"

#include <cstdint>
#include <cstring>

#include "platform/json/bytes.h"

namespace ovk::json {

namespace {

constexpr std::size_t numbersBlock = 64;
static_assert(numbersBlock + 2 <= jsonPadding);

const char* digitsEnd(const char* at) {
  for (;;) {
    const Bytes others = nonDigitMarks(loadBytes(at));
    if (others != 0) return at + firstMark(others);
    at += bytesAtOnce;
  }
}

// -?(0|[1-9][0-9]*)(\.[0-9]+)?([eE][+-]?[0-9]+)?
const char* numberEnd(const char* at) {
  if (*at == '-') ++at;
  if (!isDigit(*at)) return nullptr;
  at = *at == '0' ? at + 1 : digitsEnd(at);
  if (*at == '.') {
    if (!isDigit(*++at)) return nullptr;
    at = digitsEnd(at);
  }
  if (*at == 'e' || *at == 'E') {
    ++at;
    if (*at == '+' || *at == '-') ++at;
    if (!isDigit(*at)) return nullptr;
    at = digitsEnd(at);
  }
  return at;
}

bool startsNumber(const char* at) { return *at >= '1' && *at <= '9'; }

// Whether a block of characters, the first of them a digit from 1 to 9, could stand in "1,20,345": digits, single commas, and
// no 0 that starts a longer number. Bits instead of conditions, so that the compiler makes vector instructions of it.
bool fitsNumbers(const char* at) {
  unsigned char misfits = 0; // of one byte, as the characters, so that a vector takes as many
  for (std::size_t i = 1; i <= numbersBlock; ++i) {
    const auto isComma = static_cast<unsigned char>(at[i] == ',');
    const auto starts = static_cast<unsigned char>(at[i - 1] == ',');
    const auto isDigit = static_cast<unsigned char>((at[i] >= '0') & (at[i] <= '9'));
    const auto leadsOn = static_cast<unsigned char>((at[i] == '0') & (at[i + 1] != ','));
    misfits |= static_cast<unsigned char>(1 ^ (isDigit | isComma));
    misfits |= static_cast<unsigned char>(starts & (isComma | leadsOn));
  }
  return misfits == 0;
}

const char* wordEnd(const char* at, std::string_view word) {
  return std::strncmp(at, word.data(), word.size()) == 0 ? at + word.size() : nullptr;
}

} // namespace

const char* jsonStringEnd(const char* at) {
  for (++at;;) {
    const Bytes bytes = loadBytes(at);
    const Bytes stops = marksOf('"', bytes) | marksOf('\\', bytes) | marksOf('\0', bytes);
    if (stops == 0) {
      at += bytesAtOnce;
      continue;
    }
    at += firstMark(stops);
    if (*at == '"') return at + 1;
    if (*at == '\0' || *++at == '\0') return nullptr;
    ++at;
  }
}

const char* jsonScalarEnd(const char* at) {
  switch (*at) {
  case '"': return jsonStringEnd(at);
  case 't': return wordEnd(at, "true");
  case 'f': return wordEnd(at, "false");
  case 'n': return wordEnd(at, "null");
  default: return numberEnd(at);
  }
}

const char* jsonNumbersEnd(const char* at) {
  while (startsNumber(at) && fitsNumbers(at)) {
    const char* next = at + numbersBlock;
    while (next > at && *next != ',') --next;
    if (next == at) return at;
    at = next + 1;
  }
  while (startsNumber(at)) { // the last few
    const char* const end = digitsEnd(at);
    if (*end != ',') return at;
    at = end + 1;
  }
  return at;
}

bool readJsonInt(const char* at, int& value) {
  const auto isWhole = [](char next) { return next != '.' && next != 'e' && next != 'E'; };
  const Bytes others = nonDigitMarks(loadBytes(at));
  const std::size_t digits = others == 0 ? bytesAtOnce : firstMark(others);
  if (digits > 0 && digits <= maxShortDigits) { // nearly always
    value = shortNumber(at, digits);
    return isWhole(at[digits]);
  }
  const bool minus = *at == '-';
  const char* const first = minus ? at + 1 : at;
  std::uint64_t magnitude = 0;
  for (at = first; isDigit(*at); ++at) magnitude = magnitude * 10 + static_cast<unsigned>(*at - '0');
  const auto number = static_cast<std::int64_t>(minus ? 0 - magnitude : magnitude);
  value = static_cast<int>(number);
  return at != first && at - first <= 10 && isWhole(*at) && value == number;
}

} // namespace ovk::json
