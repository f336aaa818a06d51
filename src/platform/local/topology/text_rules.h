#pragma once

#include <algorithm>
#include <string_view>

#include "ovk/records.h"

namespace ovk::local {

constexpr bool isControlCharacter(char c) { return static_cast<unsigned char>(c) < ' '; }

/// Why the text cannot stand between quotes that nothing escapes; null when it can.
inline const char* quotingFault(std::string_view text) {
  const auto spoils = [](char c) { return c == '"' || c == '\\' || isControlCharacter(c); };
  return std::any_of(text.begin(), text.end(), spoils) ? "holds a quote, a backslash or a control character" : nullptr;
}

/// Why the text cannot be an identifier; null when it can.
inline const char* identifierFault(std::string_view fid) {
  return fid.size() == ovk_FusionIdLength ? quotingFault(fid) : "does not have the 24 characters of an identifier";
}

} // namespace ovk::local
