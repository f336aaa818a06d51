#pragma once

#include <cstring>
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
  std::string_view element(int index) {
    const bool isNext = index == index_ + 1 && end_[-1] == ']' && end_[-2] != '9';
    if (!isNext) return otherElement(index);
    index_ = index;
    ++end_[-2]; // most often only the last digit changes
    return path();
  }
  /// The name is a literal.
  template <std::size_t N>
  std::string_view member(int index, const char (&name)[N]) {
    element(index);
    *end_++ = '.';
    std::memcpy(end_, name, N);
    end_ += N - 1;
    return path();
  }
  /// The path asked for last, followed by a NUL.
  const char* text() const { return path_; }

private:
  std::string_view otherElement(int index);
  std::string_view path() const { return {path_, static_cast<std::size_t>(end_ - path_)}; }

  char path_[64];
  char* bracket_; // behind the opening one
  char* end_;
  int index_ = -1;
};

/// An integer, traced under `token` when it is missing and under its path when it is found. A NUL follows the path.
bool findNumber(const char* function, const Json& document, std::string_view path, const char* token, int& value);

/// A text, traced with the whole message when it is missing. A NUL follows the path.
bool findText(const char* function, const Json& document, std::string_view path, const char* msg, std::string& value);

} // namespace ovk
