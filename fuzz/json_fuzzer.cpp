// The JSON class alone: a path, a line feed and a text.
//
// Another parser decides whether the text is JSON. The two agree but for what is meant to differ:
//   accepted here alone   control characters, bytes that are no UTF-8 and unknown escapes within texts; numbers beyond what a
//                         double holds
//   refused here alone    more than 32 levels, a byte order mark, a NUL
// And the look-ups must agree with one another, and must not depend on those that went before.

#include <charconv>
#include <nlohmann/json.hpp>

#include "check.h"
#include "platform/json.h"

namespace {

using fuzz::check;

// Notes only how deep it got, and whether it stopped at a number that no double holds.
class Verdict : public nlohmann::json_sax<nlohmann::json> {
public:
  bool null() override { return true; }
  bool boolean(bool /*value*/) override { return true; }
  bool number_integer(number_integer_t /*value*/) override { return true; }
  bool number_unsigned(number_unsigned_t /*value*/) override { return true; }
  bool number_float(number_float_t /*value*/, const string_t& /*text*/) override { return true; }
  bool string(string_t& /*text*/) override { return true; }
  bool binary(binary_t& /*value*/) override { return true; }
  bool key(string_t& /*text*/) override { return true; }
  bool start_object(std::size_t /*count*/) override { return enter(); }
  bool end_object() override { return leave(); }
  bool start_array(std::size_t /*count*/) override { return enter(); }
  bool end_array() override { return leave(); }
  bool parse_error(std::size_t /*at*/, const std::string& /*token*/,
                   const nlohmann::detail::exception& error) override {
    isTooLarge = error.id == 406;
    return false;
  }

  bool isTooLarge = false;
  int deepest = 0;

private:
  bool enter() {
    deepest = std::max(deepest, ++depth_);
    return true;
  }
  bool leave() {
    --depth_;
    return true;
  }
  int depth_ = 0;
};

// Every byte within texts that is none of their business replaced by one that is.
std::string withPlainTexts(std::string text) {
  bool inside = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '"') {
      inside = !inside;
    } else if (inside && text[i] == '\\' && i + 1 < text.size()) {
      text[i++] = 'x';
      text[i] = 'x';
    } else if (inside) {
      text[i] = 'x';
    }
  }
  return text;
}

void compareVerdicts(const std::string& text, bool accepted) {
  if (text.find('\0') != std::string::npos || text.compare(0, 3, "\xEF\xBB\xBF") == 0) {
    check(!accepted, "a text with a NUL or a byte order mark is refused");
    return;
  }
  Verdict verdict;
  const bool isJson = nlohmann::json::sax_parse(withPlainTexts(text), &verdict);
  if (verdict.isTooLarge) return;
  check(accepted == (isJson && verdict.deepest <= 32), "both accept the text or both refuse it");
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
  compareVerdicts(text, used.getObject("", whole));
  // In the order of a reader, against documents that have read nothing yet.
  for (const char* suffix : {"", "[0]", "[1]", "[2]", ".start", ".num", "[1]", "[0].fid"}) {
    const std::string each = path + suffix;
    Json fresh;
    fresh.load(" " + text);
    check(lookUp(used, each) == lookUp(fresh, each), "a look-up does not depend on those before");
  }
  return 0;
}
