// The bundled JSON document class: a text that grows, and the typed look-ups. How a path is followed through the text is in
// json_reading.cpp.

#include "platform/json.h"

#include <algorithm>

#include "platform/local/bytes.h"
#include "platform/local/json_reading.h"

using ovk::local::copyBytes;
using ovk::local::JsonReading;

namespace {

// A received message is loaded into three or four documents, one after the other. What the first learnt about the text, its
// check above all, goes on to the next.
thread_local std::unique_ptr<JsonReading> keptReading;

} // namespace

void JsonText::grow(std::size_t size) {
  const std::size_t capacity = std::max(2 * capacity_, size + 1);
  std::unique_ptr<char[]> grown(new char[capacity]);
  std::copy_n(data_, size_, grown.get());
  long_ = std::move(grown);
  data_ = long_.get();
  capacity_ = capacity;
}

void JsonText::assign(std::string_view text) {
  reserve(text.size());
  std::copy_n(text.data(), text.size(), data_);
  size_ = text.size();
  data_[size_] = '\0';
}

char* JsonText::openBeforeLast(std::size_t length) {
  reserve(size_ + length);
  char* const opened = data_ + size_ - 1;
  size_ += length;
  data_[size_ - 1] = *opened;
  data_[size_] = '\0';
  return opened;
}

void Json::KeepReading::operator()(JsonReading* reading) const { keptReading.reset(reading); }

Json::Json(Kind kind) : kind_(kind) { clear(); }

Json& Json::operator=(const Json& other) {
  kind_ = other.kind_;
  if (this != &other) load(other.text());
  return *this;
}

void Json::clear() { load(kind_ == Kind::object ? "{}" : "[]"); }

bool Json::empty() const { return text() == "{}" || text() == "[]"; }

void Json::load(std::string_view text) {
  reading_.reset();
  text_.assign(text);
}

// Room for an item of `length` characters behind the last one, from which it is set apart.
char* Json::extend(std::size_t length) {
  reading_.reset();
  if (empty()) return text_.openBeforeLast(length);
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

void Json::add(std::string_view element) { copyBytes(element, extend(element.size())); }

void Json::beginReading() const {
  reading_.reset(keptReading != nullptr ? keptReading.release() : new JsonReading);
  reading_->turnTo(text());
}

bool Json::getObject(std::string_view path, Json& value) const {
  const char* at = reading().find(path);
  if (at == nullptr) return false;
  const char* end = reading().foundEnd();
  const bool quoted = *at == '"';
  value.load(std::string(at + (quoted ? 1 : 0), end - (quoted ? 1 : 0)));
  return true;
}

bool Json::GetValueAsInt(std::string_view path, int* value) const {
  return (reading_ != nullptr && reading_->takeInt(path, *value)) || reading().findInt(path, *value);
}

bool Json::GetValueAsString(std::string_view path, std::string& value) const {
  const char* at = reading().find(path);
  if (at == nullptr || *at != '"') return false;
  value.assign(at + 1, reading().foundEnd() - 1);
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
