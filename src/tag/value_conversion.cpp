// Tag values as texts. What is written and read is what printf and scanf would do in the C locale; the application's locale
// must not turn a point into a comma, so neither is used.
//
// One thing differs on purpose: a number outside the range of its type does not convert, where scanf would wrap it round or
// make it infinite or 0.

#include "tag/value_conversion.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

#include "core/text.h"
#include "core/trace.h"

namespace ovk {

namespace {

enum class ValueKind { real, natural, integer, text, none };

ValueKind kindOf(uint8_t idd) {
  switch (idd) {
  case ovk_TagData_Float: return ValueKind::real;
  case ovk_TagData_Unsigned: return ValueKind::natural;
  case ovk_TagData_Signed:
  case ovk_TagData_Signed5:
  case ovk_TagData_Signed8:
  case ovk_TagData_Signed9: return ValueKind::integer;
  case ovk_TagData_Text: return ValueKind::text;
  default: return ValueKind::none;
  }
}

constexpr std::string_view blanks = " \t\n\v\f\r";
constexpr std::string_view digits = "0123456789";
constexpr std::string_view hexDigits = "0123456789abcdefABCDEF";

std::string_view skipBlanks(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
  return text;
}

// Takes a sign off; whether it was a minus.
bool cutSign(std::string_view& text) {
  if (text.empty() || (text.front() != '-' && text.front() != '+')) return false;
  const bool minus = text.front() == '-';
  text.remove_prefix(1);
  return minus;
}

// The character at `at`, if there is one, is in the set.
bool isOneOf(std::string_view set, std::string_view text, std::size_t at) {
  return at < text.size() && set.find(text[at]) != std::string_view::npos;
}

bool isHexPrefix(std::string_view text) { return text.size() >= 2 && text[0] == '0' && (text[1] | 0x20) == 'x'; }

// Takes "0x" off when a hexadecimal number follows; its 0 alone is a number too.
int cutBase(std::string_view& text) {
  if (isHexPrefix(text) && isOneOf(hexDigits, text, 2)) {
    text.remove_prefix(2);
    return 16;
  }
  return !text.empty() && text.front() == '0' ? 8 : 10;
}

const char* endOf(std::string_view text) { return text.data() + text.size(); }

// Whether the text begins with that word of small letters, in capitals or not.
bool beginsWith(std::string_view text, std::string_view word) {
  return text.size() >= word.size() && std::equal(word.begin(), word.end(), text.begin(), [](char small, char c) {
           return (c | 0x20) == small; // true of the letter in either case, and of nothing else
         });
}

// "nan", "inf" or "infinity". An i behind "inf" must begin the rest of the long word.
bool readWordNumber(std::string_view text, float& value) {
  const bool isNan = beginsWith(text, "nan");
  value = isNan ? std::numeric_limits<float>::quiet_NaN() : std::numeric_limits<float>::infinity();
  return isNan || beginsWith(text, beginsWith(text, "infi") ? "infinity" : "inf");
}

bool readDigits(std::string_view text, float& value) {
  const bool isHex = isHexPrefix(text);
  if (isHex) text.remove_prefix(2);
  const bool beginsWithPoint = isOneOf(".", text, 0);
  if (isHex && beginsWithPoint && !isOneOf(hexDigits, text, 1)) { // "0x." is the number 0, "0x" is none
    value = 0;
    return true;
  }
  if (!beginsWithPoint && !isOneOf(isHex ? hexDigits : digits, text, 0)) return false;
  text = text.substr(0, text.find("+-")); // hexadecimal exponents are read with both signs
  const auto format = isHex ? std::chars_format::hex : std::chars_format::general;
  return std::from_chars(text.data(), endOf(text), value, format).ec == std::errc();
}

} // namespace

bool readNumber(std::string_view text, NumberBase base, std::int64_t low, std::int64_t high, std::int64_t& number) {
  text = skipBlanks(text);
  const bool minus = cutSign(text);
  const int radix = base == NumberBase::any ? cutBase(text) : 10;
  if (!text.empty() && text.front() == '-') return false; // a second sign
  std::int64_t magnitude = 0;
  if (std::from_chars(text.data(), endOf(text), magnitude, radix).ec != std::errc()) return false;
  const std::int64_t value = minus ? -magnitude : magnitude;
  if (value < low || value > high) return false;
  number = value;
  return true;
}

bool readFloat(std::string_view text, float& number) {
  text = skipBlanks(text);
  const bool minus = cutSign(text);
  float value = 0;
  if (!readWordNumber(text, value) && !readDigits(text, value)) return false;
  number = minus ? -value : value;
  return true;
}

std::string tagValueText(const TagItem_t& item) {
  char text[64]; // the longest is the largest float, 39 digits and six decimals
  const auto written = [&text](std::to_chars_result result) { return std::string(text, result.ptr); };
  switch (kindOf(item.idd)) {
  case ValueKind::real:
    return written(std::to_chars(text, std::end(text), static_cast<double>(item.data.f), std::chars_format::fixed, 6));
  case ValueKind::natural: return written(std::to_chars(text, std::end(text), item.data.ui));
  case ValueKind::integer: return written(std::to_chars(text, std::end(text), item.data.i));
  case ValueKind::text: return {item.data.str, strnlen(item.data.str, sizeof item.data.str - 1)};
  case ValueKind::none: break;
  }
  return "empty";
}

namespace {

void readWord(const char* function, std::string_view text, TagItem_t& item) {
  const std::string_view rest = skipBlanks(text);
  const std::string_view word = rest.substr(0, rest.find_first_of(blanks));
  if (word.size() >= sizeof item.data.str) {
    OVK_TRACE_AS(function, traceError, "value %.*s of tag %d cut to %d characters\n", static_cast<int>(word.size()),
                 word.data(), item.tag, static_cast<int>(sizeof item.data.str) - 1);
  }
  copyText(item.data.str, word);
}

} // namespace

void readTagValue(const char* function, std::string_view text, TagItem_t& item) {
  std::int64_t number = 0;
  switch (kindOf(item.idd)) {
  case ValueKind::real: readFloat(text, item.data.f); break;
  case ValueKind::natural:
    if (readNumber(text, NumberBase::decimal, 0, std::numeric_limits<uint32_t>::max(), number)) {
      item.data.ui = static_cast<uint32_t>(number);
    }
    break;
  case ValueKind::integer:
    if (readNumber(text, NumberBase::any, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max(),
                   number)) {
      item.data.i = static_cast<int32_t>(number);
    }
    break;
  case ValueKind::text: readWord(function, text, item); break;
  case ValueKind::none: break;
  }
}

} // namespace ovk
