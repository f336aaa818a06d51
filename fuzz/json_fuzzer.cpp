// The JSON class alone: a path, a line feed and a text.
//
// Another parser decides whether the text is JSON. The two agree but for what is meant to differ:
//   accepted here alone   control characters, bytes that are no UTF-8 and unknown escapes within texts; numbers beyond what a
//                         double holds
//   refused here alone    more than 32 levels, a byte order mark, a NUL
// And the look-ups must agree with one another, and must not depend on those that went before.

#include <algorithm>
#include <nlohmann/json.hpp>

#include "check.h"
#include "platform/json.h"

namespace {

using fuzz::check;

// Without what stands within texts, and with the first two of every run of digits alone, so that no number is too large
// for the other parser, which would not look at what stands behind it. What is a text or a number stays one and what is
// none stays none: two digits show whether a zero leads.
std::string simplified(const std::string& text) {
  std::string simple;
  int digits = 0;
  bool isInside = false, isEscaped = false;
  for (const char c : text) {
    const bool isQuote = c == '"' && !isEscaped;
    isEscaped = isInside && c == '\\' && !isEscaped;
    digits = c >= '0' && c <= '9' ? digits + 1 : 0;
    if (isQuote || (!isInside && digits <= 2)) simple += c;
    if (isQuote) isInside = !isInside;
  }
  return simple;
}

// Whether the other parser and the limits set here accept the text.
bool isAcceptable(const std::string& text) {
  const std::string simple = simplified(text);
  int level = 0, deepest = 0;
  for (const char c : simple) {
    level += (c == '{' || c == '[') - (c == '}' || c == ']');
    deepest = std::max(deepest, level);
  }
  const bool isPlain = text.find('\0') == std::string::npos && text.compare(0, 3, "\xEF\xBB\xBF") != 0;
  return isPlain && deepest <= 32 && nlohmann::json::accept(simple);
}

// What all look-ups say of one path, as text.
std::string lookUp(const Json& document, const std::string& path) {
  Json value;
  if (!document.getObject(path, value)) value.load("nothing");
  int number = 0;
  std::string text;
  bool flag = false;
  const bool isNumber = document.GetValueAsInt(path, &number);
  const bool isText = document.GetValueAsString(path, text);
  const bool isFlag = document.GetValueAsBool(path, flag);
  check(isNumber + isText + isFlag <= 1, "a value has one type");
  if (isNumber) check(value.text() == std::to_string(number) || value.text() == "-0", "a number is its text");
  if (isText) check(value.text() == text, "a text is the same either way");
  if (isFlag) check(value.text() == (flag ? "true" : "false"), "a flag is its word");
  return std::to_string(isNumber) + std::to_string(isText) + std::to_string(isFlag) + std::string(value.text());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::size_t end = input.find('\n');
  if (end == std::string::npos) return 0;
  const std::string path = input.substr(0, end);
  const std::string text = input.substr(end + 1);
  Json used;
  used.load(text);
  Json whole;
  check(used.getObject("", whole) == isAcceptable(text), "both accept the text or both refuse it");
  // In the order of a reader, against documents that have read nothing yet.
  for (const char* suffix : {"", "[0]", "[1]", "[2]", ".start", ".num", "[1]", "[0].fid"}) {
    const std::string each = path + suffix;
    Json fresh;
    fresh.load(" " + text);
    check(lookUp(used, each) == lookUp(fresh, each), "a look-up does not depend on those before");
  }
  return 0;
}
