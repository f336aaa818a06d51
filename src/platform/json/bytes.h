#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

// Eight characters at a time, as the bytes of one word. The first character is the lowest byte on every processor.

namespace ovk::json {

using Bytes = std::uint64_t;
constexpr std::size_t bytesAtOnce = sizeof(Bytes);

constexpr Bytes repeated(unsigned char byte) { return 0x0101010101010101U * byte; }

template <typename Word>
Word loadWord(const char* at) {
  Word word = 0;
  std::memcpy(&word, at, sizeof word);
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
  const Word read = word;
  word = 0;
  for (unsigned i = 0; i < sizeof word; ++i) word = static_cast<Word>(word << 8 | (read >> 8 * i & 0xFF));
#endif
  return word;
}
inline Bytes loadBytes(const char* at) { return loadWord<Bytes>(at); }

/// The first `count` of eight characters, with zeros behind.
constexpr Bytes firstOf(Bytes bytes, std::size_t count) {
  return count >= bytesAtOnce ? bytes : bytes & ~(~Bytes{0} << 8 * count);
}

/// The first up to eight characters of a text, as loadBytes() gives them, with zeros behind. `text` may be read for eight
/// characters whatever its size.
inline Bytes headOfPadded(std::string_view text) { return firstOf(loadBytes(text.data()), text.size()); }

/// The same of any text.
inline Bytes headOf(std::string_view text) {
  const std::size_t size = text.size();
  const auto ofTwo = [&](auto word) { // that may overlap
    word = loadWord<decltype(word)>(text.data());
    return word | Bytes{loadWord<decltype(word)>(text.data() + size - sizeof word)} << 8 * (size - sizeof word);
  };
  if (size >= bytesAtOnce) return loadBytes(text.data());
  if (size >= sizeof(std::uint32_t)) return ofTwo(std::uint32_t{});
  if (size >= sizeof(std::uint16_t)) return ofTwo(std::uint16_t{});
  return text.empty() ? 0 : static_cast<unsigned char>(text.front());
}

/// Sets the highest bit of each byte that is `byte`. Only the lowest of these bits is certain: one that follows another may
/// be wrong.
constexpr Bytes marksOf(unsigned char byte, Bytes bytes) {
  const Bytes zeros = bytes ^ repeated(byte);
  return (zeros - repeated(1)) & ~zeros & repeated(0x80);
}

/// The position of the lowest bit that is set; one must be.
inline std::size_t lowestBit(std::uint64_t bits) { return static_cast<std::size_t>(__builtin_ctzll(bits)); }

/// The number of characters before the first marked one; one must be.
inline std::size_t firstMark(Bytes marks) { return lowestBit(marks) / 8; }

/// Sets the highest bit of each byte that is no digit.
constexpr Bytes nonDigitMarks(Bytes bytes) {
  const Bytes digits = bytes ^ repeated('0'); // each 0 to 9
  return (((digits & repeated(0x7F)) + repeated(0x7F - 9)) | digits) & repeated(0x80);
}

/// A bit for each of the 64 characters from `at` on that is no digit, the lowest for the first.
inline std::uint64_t nonDigits(const char* at) {
  std::uint64_t found = 0;
  for (unsigned i = 0; i < 64; i += bytesAtOnce) {
    const Bytes marks = nonDigitMarks(loadBytes(at + i));
    found |= ((marks >> 7) * 0x0102040810204080U >> 56) << i; // gathers the eight bits in the highest byte
  }
  return found;
}

constexpr std::size_t maxShortDigits = bytesAtOnce - 1;

/// The number that one to `maxShortDigits` digits make.
inline int shortNumber(const char* at, std::size_t digits) {
  Bytes number = (loadBytes(at) ^ repeated('0')) << 8 * (bytesAtOnce - digits); // eight digits, with zeros in front
  number = (number * 10 + (number >> 8)) & 0x00FF00FF00FF00FF;                  // four pairs
  number = (number * 100 + (number >> 16)) & 0x0000FFFF0000FFFF;                // two fours
  return static_cast<int>((number * 10000 + (number >> 32)) & 0xFFFFFFFF);
}

/// Copies a text of up to eight characters without a call or a loop: two words that may overlap cover it.
inline void copyShort(std::string_view text, char* to) {
  const std::size_t size = text.size();
  const auto copyEnds = [&](auto word) {
    std::memcpy(&word, text.data(), sizeof word);
    std::memcpy(to, &word, sizeof word);
    std::memcpy(&word, text.data() + size - sizeof word, sizeof word);
    std::memcpy(to + size - sizeof word, &word, sizeof word);
  };
  if (size >= sizeof(std::uint32_t)) return copyEnds(std::uint32_t{});
  if (size >= sizeof(std::uint16_t)) return copyEnds(std::uint16_t{});
  if (size == 1) *to = text.front();
}

/// Copies a text, most often a name of a few characters, and gives the end of the copy.
inline char* copyBytes(std::string_view text, char* to) {
  if (text.size() <= bytesAtOnce) {
    copyShort(text, to);
  } else {
    std::memcpy(to, text.data(), text.size());
  }
  return to + text.size();
}

/// memcmp for equality, without a call: most of what is compared are names and paths of a few characters.
inline bool sameBytes(const char* a, const char* b, std::size_t size) {
  if (size < bytesAtOnce) {
    std::size_t i = 0;
    while (i < size && a[i] == b[i]) ++i;
    return i == size;
  }
  const std::size_t lastWord = size - bytesAtOnce;
  for (std::size_t i = 0; i < lastWord; i += bytesAtOnce) {
    if (loadBytes(a + i) != loadBytes(b + i)) return false;
  }
  return loadBytes(a + lastWord) == loadBytes(b + lastWord);
}

} // namespace ovk::json
