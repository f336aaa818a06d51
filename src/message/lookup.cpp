// Look-ups in received messages, and the paths of array elements.

#include "message/lookup.h"

#include <charconv>
#include <cstring>

#include "core/trace.h"

namespace ovk {

ElementPath::ElementPath(std::string_view array) {
  std::memcpy(path_, array.data(), array.size());
  bracket_ = path_ + array.size();
  *bracket_++ = '[';
  end_ = bracket_;
  *end_ = '\0';
}

std::string_view ElementPath::element(int index) {
  const bool isNext = index == index_ + 1 && end_[-1] == ']' && end_[-2] != '9';
  index_ = index;
  if (isNext) { // most often: only the last digit changes
    ++end_[-2];
    return {path_, static_cast<std::size_t>(end_ - path_)};
  }
  end_ = std::to_chars(bracket_, path_ + sizeof path_, index).ptr;
  *end_++ = ']';
  *end_ = '\0';
  return {path_, static_cast<std::size_t>(end_ - path_)};
}

std::string_view ElementPath::member(int index, std::string_view name) {
  element(index);
  *end_++ = '.';
  std::memcpy(end_, name.data(), name.size());
  end_ += name.size();
  *end_ = '\0';
  return {path_, static_cast<std::size_t>(end_ - path_)};
}

bool findNumber(const char* function, const Json& document, const char* path, const char* token, int& value) {
  if (document.GetValueAsInt(path, &value)) {
    OVK_TRACE_AS(function, traceProgress, "Found '%s' with value %d \n", path, value);
    return true;
  }
  OVK_TRACE_AS(function, traceError, "token '%s' not found in message\n", token);
  return false;
}

bool findText(const char* function, const Json& document, const char* path, const char* msg, std::string& value) {
  if (document.GetValueAsString(path, value)) {
    OVK_TRACE_AS(function, traceProgress, "JSON: Found \"%s\" with value \"%s\" \n", path, value.c_str());
    return true;
  }
  OVK_TRACE_AS(function, traceError, "JSON_HOST: parse \"%s\" failed at \"%s\"\n", path, msg);
  return false;
}

} // namespace ovk
