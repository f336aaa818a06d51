// Look-ups in received messages, and the paths of array elements.

#include "message/lookup.h"

#include <charconv>
#include <cstring>

#include "core/trace.h"

namespace ovk {

ElementPath::ElementPath(std::string_view array) {
  std::memcpy(buffer_ + wordSize, array.data(), array.size());
  digits_ = buffer_ + wordSize + array.size();
  *digits_++ = '[';
  elementEnd_ = end_ = digits_;
}

void ElementPath::writeIndex(int index) {
  elementEnd_ = std::to_chars(digits_, buffer_ + sizeof buffer_, index).ptr;
  *elementEnd_++ = ']';
  std::memcpy(&lastWord_, elementEnd_ - wordSize, wordSize);
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
