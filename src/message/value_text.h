#pragma once

#include <charconv>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "platform/json.h"

// The value texts that a JSON document is given ready-made. Nobody else writes a quote or a bracket.

namespace ovk {

/// A whole number in decimal.
class NumberText {
public:
  explicit NumberText(long long value) {
    if (value < 0 || value > 99999999) {
      length_ = static_cast<std::size_t>(std::to_chars(text_, text_ + sizeof text_, value).ptr - text_);
    } else {
      writeShort(static_cast<std::uint64_t>(value));
    }
  }
  NumberText(const NumberText&) = delete;
  NumberText& operator=(const NumberText&) = delete;
  std::string_view view() const { return {text_, length_}; }
  operator std::string_view() const { return view(); } // NOLINT(google-explicit-constructor): it is that text

private:
  // Up to eight digits, made side by side in one word and stored at once, so that whoever copies the text need not wait for
  // single digits: sending 2048 words takes half the time that it takes with std::to_chars().
  void writeShort(std::uint64_t value) {
    std::uint64_t digits = value / 10000 | value % 10000 << 32;                           // two fours, the first lowest
    std::uint64_t high = (digits * 10486 >> 20) & 0x0000007F0000007F;                     // hundredths
    digits = high | (digits - high * 100) << 16;                                          // four pairs
    high = (digits * 103 >> 10) & 0x000F000F000F000F;                                     // tenths
    digits = high | (digits - high * 10) << 8;                                            // eight digits
    const auto zeros = static_cast<unsigned>(__builtin_ctzll(digits | 1ULL << 56)) & ~7U; // in front, of the last stays
    digits = (digits | 0x3030303030303030) >> zeros;
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    digits = __builtin_bswap64(digits);
#endif
    std::memcpy(text_, &digits, sizeof digits);
    length_ = 8 - zeros / 8;
  }

  char text_[24]; // longer than any 64-bit number
  std::size_t length_;
};

inline NumberText number(long long value) { return NumberText(value); }

/// A text between quotes, unchanged: nothing is escaped. Identifiers need no memory of their own.
class QuotedText {
public:
  explicit QuotedText(std::string_view text) : length_(text.size() + 2) {
    if (length_ > sizeof short_) long_.resize(length_);
    char* const start = length_ > sizeof short_ ? long_.data() : short_;
    text_ = start;
    *start = '"';
    std::memcpy(start + 1, text.data(), text.size());
    start[length_ - 1] = '"';
  }
  QuotedText(const QuotedText&) = delete;
  QuotedText& operator=(const QuotedText&) = delete;
  std::string_view view() const { return {text_, length_}; }
  operator std::string_view() const { return view(); } // NOLINT(google-explicit-constructor): it is that text

private:
  std::size_t length_;
  const char* text_;
  char short_[48];
  std::string long_;
};

inline QuotedText quoted(std::string_view text) { return QuotedText(text); }

inline std::string_view boolean(bool value) { return value ? "true" : "false"; }

/// An object or an array as a value.
inline std::string_view nested(const Json& document) { return document.text(); }

} // namespace ovk
