#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace fuzz {

/// Values made of the bytes that a fuzzer is given; zeros when they are used up.
class Input {
public:
  Input(const uint8_t* data, std::size_t size) : rest_(reinterpret_cast<const char*>(data), size) {}

  bool isUsedUp() const { return rest_.empty(); }

  template <typename Number>
  Number number() {
    Number value{};
    const std::size_t size = std::min(sizeof value, rest_.size());
    std::memcpy(&value, rest_.data(), size);
    rest_.remove_prefix(size);
    return value;
  }

  /// 0 to `most`.
  int upTo(int most) { return number<uint16_t>() % (most + 1); }

  /// Up to `most` characters that may stand in a message: no NUL, no quote, no backslash.
  std::string text(int most) {
    std::string text(rest_.substr(0, static_cast<std::size_t>(upTo(most))));
    rest_.remove_prefix(std::min(text.size(), rest_.size()));
    for (char& c : text) {
      if (c == '\0' || c == '"' || c == '\\') c = '_';
    }
    return text;
  }

private:
  std::string_view rest_;
};

} // namespace fuzz
