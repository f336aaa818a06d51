// The bundled JSON document class: a text that grows, and the typed look-ups. How a path is followed through the text is in
// json_lookup.cpp.

#include "platform/json.h"

#include <algorithm>

#include "platform/local/json_text.h"

using ovk::local::jsonStringEnd;
using ovk::local::jsonValueEnd;
using ovk::local::readJsonInt;
using ovk::local::skipJsonSpace;

namespace {

// The text that was checked last, so that the three or four documents that one message is loaded into check it once.
class CheckedText {
public:
  bool isGood(std::string_view text) {
    if (text != text_) {
      isGood_ = false; // should there be no memory for the text, the verdict must not stand for the one before
      text_ = text;
      isGood_ = ovk::local::isOneJsonValue(text);
    }
    return isGood_;
  }

private:
  std::string text_;
  bool isGood_ = false;
};

thread_local CheckedText checkedText;

} // namespace

void JsonText::grow(std::size_t size) {
  const std::size_t capacity = std::max(2 * capacity_, size + 1);
  std::unique_ptr<char[]> grown(new char[capacity]);
  std::copy_n(data_, size_ + 1, grown.get());
  long_ = std::move(grown);
  data_ = long_.get();
  capacity_ = capacity;
}

Json::Json(Kind kind) : kind_(kind) { clear(); }

void Json::clear() { load(kind_ == Kind::object ? "{}" : "[]"); }

bool Json::empty() const { return text() == "{}" || text() == "[]"; }

void Json::load(std::string_view text) {
  text_.assign(text);
  check_ = Check::pending;
  trail_ = Trail();
}

void Json::add(std::string_view key, std::string_view value) {
  const char close = reopen();
  text_.append('"');
  text_.append(key);
  text_.append("\":");
  text_.append(value);
  text_.append(close);
}

void Json::add(std::string_view element) {
  const char close = reopen();
  text_.append(element);
  text_.append(close);
}

// Takes the closing bracket off and sets the next item apart from the last.
char Json::reopen() {
  const char close = text_.view().back();
  text_.cutLast();
  if (text_.size() > 1) text_.append(',');
  return close;
}

bool Json::getObject(std::string_view path, Json& value) const {
  const char* at = find(path);
  if (at == nullptr) return false;
  const char* end = jsonValueEnd(at);
  const bool quoted = *at == '"';
  value.load(std::string(at + (quoted ? 1 : 0), end - (quoted ? 1 : 0)));
  return true;
}

bool Json::GetValueAsInt(std::string_view path, int* value) const {
  std::uint32_t index = 0;
  if (lastArray(path, index) != nullptr && index - trail_.window.first < trail_.window.count) {
    *value = trail_.window.values[index - trail_.window.first];
    return true;
  }
  const char* at = find(path);
  int number = 0;
  if (at == nullptr || readJsonInt(at, number) == nullptr) return false;
  *value = number;
  if (trail_.lastArray != none) decodeAhead(at);
  return true;
}

bool Json::GetValueAsString(std::string_view path, std::string& value) const {
  const char* at = find(path);
  if (at == nullptr || *at != '"') return false;
  value.assign(at + 1, jsonStringEnd(at) - 1);
  return true;
}

bool Json::GetValueAsBool(std::string_view path, bool& value) const {
  const char* at = find(path);
  if (at == nullptr || (*at != 't' && *at != 'f')) return false;
  value = *at == 't';
  return true;
}

bool Json::getNames(std::string_view path, std::vector<std::string>& names) const {
  const char* at = find(path);
  if (at == nullptr || *at != '{') return false;
  names.clear();
  for (at = skipJsonSpace(at + 1); *at == '"';) {
    const char* keyEnd = jsonStringEnd(at);
    names.emplace_back(at + 1, keyEnd - 1);
    const char* value = skipJsonSpace(skipJsonSpace(keyEnd) + 1);
    at = skipJsonSpace(jsonValueEnd(value));
    if (*at == ',') at = skipJsonSpace(at + 1);
  }
  return true;
}

bool Json::isOneValue() const {
  if (check_ == Check::pending) check_ = checkedText.isGood(text()) ? Check::good : Check::bad;
  return check_ == Check::good;
}
