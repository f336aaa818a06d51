#pragma once

#include <string>
#include <string_view>

#include "platform/json.h"

// Look-ups in received messages: each finds a member and traces, in the name of the function it works for, whether it did.

namespace ovk {

/// Paths of the elements of an array and of their members, "prefix[7]" and "prefix[7].name". One buffer is rewritten for
/// every path, so a path is good until the next one is asked for.
class ElementPath {
public:
  explicit ElementPath(std::string_view array);
  std::string_view element(int index);
  std::string_view member(int index, std::string_view name);
  /// The path asked for last, followed by a NUL.
  const char* text() const { return path_; }

private:
  char path_[64];
  char* bracket_; // behind the opening one
  char* end_;
  int index_ = -1;
};

/// An integer, traced under `token` when it is missing and under its path when it is found.
bool findNumber(const char* function, const Json& document, const char* path, const char* token, int& value);

/// A text, traced with the whole message when it is missing.
bool findText(const char* function, const Json& document, const char* path, const char* msg, std::string& value);

} // namespace ovk
