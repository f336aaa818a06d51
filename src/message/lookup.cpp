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
}

std::string_view ElementPath::otherElement(int index) {
  index_ = index;
  end_ = std::to_chars(bracket_, path_ + sizeof path_, index).ptr;
  *end_++ = ']';
  *end_ = '\0';
  return path();
}

bool findNumber(const char* function, const Json& document, std::string_view path, const char* token, int& value) {
  if (document.GetValueAsInt(path, &value)) {
    OVK_TRACE_AS(function, traceProgress, "Found '%s' with value %d \n", path.data(), value);
    return true;
  }
  OVK_TRACE_AS(function, traceError, "token '%s' not found in message\n", token);
  return false;
}

bool findText(const char* function, const Json& document, std::string_view path, const char* msg, std::string& value) {
  if (document.GetValueAsString(path, value)) {
    OVK_TRACE_AS(function, traceProgress, "JSON: Found \"%s\" with value \"%s\" \n", path.data(), value.c_str());
    return true;
  }
  OVK_TRACE_AS(function, traceError, "JSON_HOST: parse \"%s\" failed at \"%s\"\n", path.data(), msg);
  return false;
}

} // namespace ovk
