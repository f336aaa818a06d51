// The bundled JSON document class: a text that grows, and the typed look-ups. How a path is followed through the text is in
// json_reading.cpp.

#include "platform/json.h"

#include <algorithm>

#include "platform/json/bytes.h"
#include "platform/json/json_reading.h"

using ovk::json::bytesAtOnce;
using ovk::json::copyBytes;
using ovk::json::copyShort;
using ovk::json::JsonReading;

void JsonText::grow(std::size_t size) {
  const std::size_t capacity = std::max(4 * capacity_, size + 1);
  std::unique_ptr<char[]> grown(new char[capacity]);
  std::copy_n(data_, size_, grown.get());
  long_ = std::move(grown);
  data_ = long_.get();
  capacity_ = capacity;
}

void JsonText::assign(std::string_view text) {
  if (text.size() >= capacity_) grow(text.size());
  std::copy_n(text.data(), text.size(), data_);
  size_ = text.size();
  data_[size_] = '\0';
}

void Json::KeepReading::operator()(JsonReading* reading) const { JsonReading::keep(reading); }

Json::Json(Kind kind) : kind_(kind) { clear(); }

Json& Json::operator=(const Json& other) {
  kind_ = other.kind_;
  if (this != &other) setText(other.text());
  return *this;
}

void Json::clear() { setText(kind_ == Kind::object ? "{}" : "[]"); }

bool Json::empty() const { return text() == "{}" || text() == "[]"; }

std::string_view Json::text() const { return reading_ != nullptr ? reading_->text() : text_.view(); }

void Json::setText(std::string_view text) {
  text_.assign(text);
  reading_.reset();
}

// Most are looked at next, and the reading keeps the text.
void Json::load(std::string_view text) {
  reading_.reset(); // first: it may be the reading of this very text
  reading_.reset(JsonReading::of(text));
}

// Room for an item of `length` characters behind the last one, from which it is set apart.
char* Json::extend(std::size_t length) {
  if (reading_ != nullptr) setText(text());
  text_.makeRoom(length + 1);
  if (text_.size() <= 2) return text_.openBeforeLast(length);
  char* const at = text_.openBeforeLast(length + 1);
  *at = ',';
  return at + 1;
}

void Json::add(std::string_view key, std::string_view value) {
  char* at = extend(key.size() + value.size() + 3);
  *at++ = '"';
  at = copyBytes(key, at);
  *at++ = '"';
  *at++ = ':';
  copyBytes(value, at);
}

void Json::addLong(std::string_view element) { copyBytes(element, extend(element.size())); }

// A number behind another, as most elements are, needs no call: 2048 words are added in half the time.
void Json::add(std::string_view element) {
  const std::size_t length = element.size() + 1;
  if (length > bytesAtOnce || !text_.hasRoom(length) || text_.size() <= 2 || reading_ != nullptr)
    return addLong(element);
  char* const at = text_.openBeforeLast(length);
  *at = ',';
  copyShort(element, at + 1);
}

void Json::beginReading() const { reading_.reset(JsonReading::of(text_.view())); }

bool Json::getObject(std::string_view path, Json& value) const {
  const char* at = reading().find(path);
  if (at == nullptr) return false;
  const char* end = reading().foundEnd();
  const bool quoted = *at == '"';
  value.setText(std::string(at + (quoted ? 1 : 0), end - (quoted ? 1 : 0)));
  return true;
}

bool Json::GetValueAsInt(std::string_view path, int* value) const {
  return (reading_ != nullptr && reading_->takeInt(path, *value)) || reading().findInt(path, *value);
}

bool Json::GetValueAsString(std::string_view path, std::string& value) const {
  const char* at = reading().find(path);
  if (at == nullptr || *at != '"') return false;
  const char* const end = reading().foundEnd() - 1;
  ++at;
  if (static_cast<std::size_t>(end - at) <= value.capacity()) {
    value.assign(at, end);
  } else {
    value = std::string(at, end); // growing would copy what is overwritten
  }
  return true;
}

bool Json::GetValueAsBool(std::string_view path, bool& value) const {
  const char* at = reading().find(path);
  if (at == nullptr || (*at != 't' && *at != 'f')) return false;
  value = *at == 't';
  return true;
}

bool Json::getNames(std::string_view path, std::vector<std::string>& names) const {
  const char* at = reading().find(path);
  if (at == nullptr || *at != '{') return false;
  names = reading().foundNames();
  return true;
}
