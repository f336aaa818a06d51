#pragma once

#include <cstdint>
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
  ElementPath(const ElementPath&) = delete;
  ElementPath& operator=(const ElementPath&) = delete;
  std::string_view element(int index) {
    if (index == index_ + 1 && lastDigit() != '9') {
      stepLastDigit();
    } else if (index != index_) {
      writeIndex(index);
    }
    index_ = index;
    end_ = elementEnd_;
    *end_ = '\0';
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
  const char* text() const { return buffer_ + wordSize; }

private:
  static constexpr std::size_t wordSize = sizeof(std::uint64_t);
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
  static constexpr unsigned lastDigitAt = 8;
#else
  static constexpr unsigned lastDigitAt = 48;
#endif

  char lastDigit() const { return static_cast<char>(lastWord_ >> lastDigitAt); }
  // Writes the whole word that ends the path: whoever reads the path in words would have to wait for a single byte, and
  // receiving 2048 words takes a tenth longer then.
  void stepLastDigit() {
    lastWord_ += std::uint64_t{1} << lastDigitAt;
    std::memcpy(elementEnd_ - wordSize, &lastWord_, wordSize);
  }
  void writeIndex(int index);
  std::string_view path() const { return {text(), static_cast<std::size_t>(end_ - text())}; }

  char buffer_[wordSize + 64] = {}; // the path stands behind one word, so that even a short one ends with a whole word
  char* digits_;                    // behind the opening bracket
  char* elementEnd_;
  char* end_;
  std::uint64_t lastWord_ = 0; // of the path of the element
  int index_ = -2;             // followed by none that is asked for
};

/// An integer, traced under `token` when it is missing and under its path when it is found. A NUL follows the path.
bool findNumber(const char* function, const Json& document, std::string_view path, const char* token, int& value);

/// A text, traced with the whole message when it is missing. A NUL follows the path.
bool findText(const char* function, const Json& document, std::string_view path, const char* msg, std::string& value);

} // namespace ovk
