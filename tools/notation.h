#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// A whole number: decimal, with '-' where one may be negative, or hexadecimal after "0x".
std::optional<int64_t> wholeNumber(std::string_view text, int64_t least, int64_t most);

/// The shortest text that reads back as the same number, with a point whatever the locale.
std::string numberText(float number);

/// How values stand in registers, and how they are written for people.
class Notation {
public:
  /// u16, the plain one.
  Notation() = default;
  /// @param name    u16, i16, hex, u32, i32 or f32; anything else is a Failure (usage), as is the swap of one register.
  /// @param swapped of a value in two registers the first holds its low half, instead of its high one.
  Notation(const std::string& name, bool swapped);

  bool isPlain() const { return kind == U16; }
  bool isNumber() const { return kind != Hex; }
  /// Registers that a value takes.
  int width() const;
  /// Characters of the longest value.
  size_t longest() const;
  /// What can be written, to follow "is not".
  const char* range() const;

  std::string textOf(const uint16_t* words) const;
  /// The registers of a value; nothing when the text is none.
  std::optional<std::vector<uint16_t>> wordsOf(std::string_view text) const;

private:
  enum Kind { U16, I16, Hex, U32, I32, F32 };
  struct Row;
  static const Row rows[];

  uint32_t joined(const uint16_t* words) const;

  Kind kind = U16;
  bool swap = false;
};

} // namespace tool
