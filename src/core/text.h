#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace ovk {

/// Copies as much of a text as fits a zero-filled field and leaves the field's last byte, its NUL, alone.
template <std::size_t N>
void copyText(char (&field)[N], std::string_view text) {
  std::memcpy(field, text.data(), std::min(text.size(), N - 1));
}

/// A text of the application as it stands in a trace line.
inline const char* shown(const char* text) { return text == nullptr ? "(null)" : text; }

inline bool isNullOrEmpty(const char* text) { return text == nullptr || *text == '\0'; }

} // namespace ovk
