#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "ovk/tags.h"

// Tag values as texts, the same under every locale.

namespace ovk {

/// What the conversion "%i" (any base) or "%d" (decimal) makes of the beginning of a text: leading blanks, a sign and, in any
/// base, a "0x" or "0" in front. False when no number is there or it is outside [low, high].
enum class NumberBase { decimal, any };
bool readNumber(std::string_view text, NumberBase base, std::int64_t low, std::int64_t high, std::int64_t& number);

/// What the conversion "%f" makes of the beginning of a text. False when no number is there, or one that is too large or too
/// small for a float.
bool readFloat(std::string_view text, float& number);

/// The text under "data" of an item: its value by its `idd`, or "empty".
std::string tagValueText(const TagItem_t& item);

/// Reads such a text into the item's value by its `idd`. What does not convert leaves the value as it is; a word too long for
/// `str` is cut, which is traced in the name of `function`.
void readTagValue(const char* function, std::string_view text, TagItem_t& item);

} // namespace ovk
