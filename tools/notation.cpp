// How values stand in registers: one table of what --as takes.
//
// A number is always the whole text: "12x", "+1" and " 1" are refused rather than half understood. Nothing here looks at
// the locale.

#include "notation.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "failure.h"

namespace tool {

struct Notation::Row {
  std::string_view name;
  int width;
  size_t longest;
  int64_t least, most;
  const char* range;
};

const Notation::Row Notation::rows[] = {
    {"u16", 1, 5, 0, UINT16_MAX, "a number from 0 to 65535"},
    {"i16", 1, 6, INT16_MIN, INT16_MAX, "a number from -32768 to 32767"},
    {"hex", 1, 6, 0, UINT16_MAX, "a hexadecimal number from 0 to FFFF"},
    {"u32", 2, 10, 0, UINT32_MAX, "a number from 0 to 4294967295"},
    {"i32", 2, 11, INT32_MIN, INT32_MAX, "a number from -2147483648 to 2147483647"},
    {"f32", 2, 14, 0, 0, "a number like 21.5"},
};

namespace {

std::optional<uint32_t> bitsOfFloat(std::string_view text) {
  float number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(number)) return std::nullopt;
  uint32_t bits = 0;
  std::memcpy(&bits, &number, sizeof bits);
  return bits;
}

} // namespace

std::optional<int64_t> wholeNumber(std::string_view text, int64_t least, int64_t most) {
  const bool hexadecimal = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
  if (hexadecimal) text.remove_prefix(2);
  if (hexadecimal && text.substr(0, 1) == "-") return std::nullopt;
  int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, hexadecimal ? 16 : 10);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  if (value < least || value > most) return std::nullopt;
  return value;
}

std::string numberText(float number) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, number);
  return {text, end.ptr};
}

Notation::Notation(const std::string& name, bool swapped) : swap(swapped) {
  for (const Row& row : rows) {
    if (row.name != name) continue;
    kind = static_cast<Kind>(&row - rows);
    if (swap && row.width == 1)
      throw Failure(Exit_Usage, "--swap needs --as u32, i32 or f32: " + name + " has one word");
    return;
  }
  throw Failure(Exit_Usage, "'" + name + "' is nothing for --as; write u16, i16, hex, u32, i32 or f32");
}

int Notation::width() const { return rows[kind].width; }
size_t Notation::longest() const { return rows[kind].longest; }
const char* Notation::range() const { return rows[kind].range; }

uint32_t Notation::joined(const uint16_t* words) const {
  if (width() == 1) return words[0];
  return uint32_t{words[swap ? 1 : 0]} << 16U | words[swap ? 0 : 1];
}

std::string Notation::textOf(const uint16_t* words) const {
  const uint32_t bits = joined(words);
  switch (kind) {
  case I16: return std::to_string(static_cast<int16_t>(bits));
  case I32: return std::to_string(static_cast<int32_t>(bits));
  case F32: {
    float number = 0;
    std::memcpy(&number, &bits, sizeof number);
    return numberText(number);
  }
  case Hex: {
    char text[8];
    std::snprintf(text, sizeof text, "0x%04X", static_cast<unsigned>(bits & UINT16_MAX));
    return text;
  }
  default: return std::to_string(bits);
  }
}

std::optional<std::vector<uint16_t>> Notation::wordsOf(std::string_view text) const {
  std::optional<uint32_t> bits;
  if (kind == F32) {
    bits = bitsOfFloat(text);
  } else {
    const bool bare = kind == Hex && text.substr(0, 2) != "0x" && text.substr(0, 2) != "0X";
    const auto number =
        wholeNumber(bare ? "0x" + std::string(text) : std::string(text), rows[kind].least, rows[kind].most);
    if (number) bits = static_cast<uint32_t>(*number);
  }
  if (!bits) return std::nullopt;
  const auto high = static_cast<uint16_t>(*bits >> 16U);
  const auto low = static_cast<uint16_t>(*bits & UINT16_MAX);
  if (width() == 1) return std::vector<uint16_t>{low};
  return swap ? std::vector<uint16_t>{low, high} : std::vector<uint16_t>{high, low};
}

} // namespace tool
