#include "json.h"

void Json::append(std::string_view item) {
  const std::string separated = empty() ? std::string(item) : "," + std::string(item);
  text_.insert(text_.size() - 1, separated);
}

void Json::add(std::string_view key, std::string_view value) {
  append('"' + std::string(key) + "\":" + std::string(value));
}

void Json::add(std::string_view element) { append(element); }

// Here nothing is ever found: a document that is only sent needs none of these.

bool Json::getObject(std::string_view /*path*/, Json& /*value*/) const { return false; }

bool Json::GetValueAsInt(std::string_view /*path*/, int* /*value*/) const { return false; }

bool Json::GetValueAsString(std::string_view /*path*/, std::string& /*value*/) const { return false; }

bool Json::GetValueAsBool(std::string_view /*path*/, bool& /*value*/) const { return false; }
