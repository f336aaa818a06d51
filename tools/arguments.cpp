// The texts of the command line: identifiers, register areas, assignments, tags, seconds.
//
// How numbers are written, notation.cpp tells. Nothing here looks at the locale.

#include "arguments.h"

#include <charconv>
#include <cmath>
#include <optional>

#include "failure.h"

namespace tool {
namespace {

constexpr std::string_view kIdentifierShape = "VRddd_ddddd_hhhhhhhhhhhh";

bool isDecimal(char c) { return c >= '0' && c <= '9'; }

bool isHexadecimal(char c) { return isDecimal(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'); }

bool fitsShape(char c, char shape) {
  if (shape == 'd') return isDecimal(c);
  if (shape == 'h') return isHexadecimal(c);
  return c == shape;
}

std::optional<int> number(std::string_view text, int least, int most) {
  const auto value = wholeNumber(text, least, most);
  return value ? std::optional(static_cast<int>(*value)) : std::nullopt;
}

[[noreturn]] void refuse(const std::string& text, const std::string& why) {
  throw Failure(Exit_Usage, "'" + printable(text) + "' " + why);
}

} // namespace

bool isIdentifier(std::string_view text) {
  if (text.size() != kIdentifierShape.size()) return false;
  for (size_t i = 0; i < text.size(); ++i) {
    if (!fitsShape(text[i], kIdentifierShape[i])) return false;
  }
  return true;
}

void requireIdentifier(const std::string& text) {
  if (!isIdentifier(text)) refuse(text, "is not an identifier; write it like VR017_00042_00A0B1C2D3E4");
}

Area parseArea(const std::string& text, const Notation& notation) {
  const size_t colon = text.find(':');
  const auto start = number(std::string_view(text).substr(0, colon), 0, kAddressCount - 1);
  if (!start) refuse(text, "is not a register area; write START[:COUNT], START from 0 to 65535, like 100:4 or 0x64");
  const bool counted = colon != std::string::npos;
  const auto count =
      counted ? number(std::string_view(text).substr(colon + 1), 1, kAddressCount) : std::optional(notation.width());
  if (!count) refuse(text, "asks for an impossible number of registers; COUNT goes from 1 to 65536, like 100:4");
  if (*count % notation.width() != 0) refuse(text, "has an odd number of registers; each value takes two");
  if (*start + *count > kAddressCount) refuse(text, "goes past register 65535; lower the count");
  return {*start, *count};
}

Assignment parseAssignment(const std::string& text, const Notation& notation) {
  const size_t equals = text.find('=');
  if (equals == std::string::npos) refuse(text, "assigns nothing; write START=VALUE[,VALUE]..., like 100=1,0x2F");
  const auto start = number(std::string_view(text).substr(0, equals), 0, kAddressCount - 1);
  if (!start) refuse(text, "does not begin with a register from 0 to 65535; write it like 100=1,0x2F");
  Assignment assignment{*start, {}};
  for (size_t from = equals + 1; from <= text.size();) {
    const size_t comma = std::min(text.find(',', from), text.size());
    const std::string_view value = std::string_view(text).substr(from, comma - from);
    const auto words = notation.wordsOf(value);
    if (!words) refuse(text, "has a value '" + printable(value) + "' that is not " + notation.range());
    assignment.values.insert(assignment.values.end(), words->begin(), words->end());
    from = comma + 1;
  }
  const size_t count = assignment.values.size();
  if (count > ovk_MaxRegistersPerArea)
    refuse(text.substr(0, 20) + "...", "needs more than 1024 registers; write them in two");
  if (static_cast<size_t>(*start) + count > kAddressCount) refuse(text, "goes past register 65535; give fewer values");
  return assignment;
}

DevTagDevInfoTag parseTag(const std::string& text) {
  const size_t colon = text.find(':');
  const std::string_view kind =
      colon == std::string::npos ? std::string_view("port") : std::string_view(text).substr(0, colon);
  const auto tag = number(std::string_view(text).substr(colon == std::string::npos ? 0 : colon + 1), 0, 65535);
  if (!tag || (kind != "port" && kind != "info")) {
    refuse(text, "is not a tag; write N, port:N or info:N with N from 0 to 65535, like 17 or info:3");
  }
  return {kind == "port" ? DevTag : DevInfoTag, static_cast<uint16_t>(*tag)};
}

std::chrono::milliseconds parseSeconds(const std::string& text) {
  double seconds = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds, std::chars_format::fixed);
  const bool whole = error == std::errc() && end == text.data() + text.size();
  // The comparisons are false for nan, which is then refused as well.
  if (!whole || !(seconds >= 0.001 && seconds <= 86400)) {
    refuse(text, "is not a time; write seconds from 0.001 to 86400, like 2 or 0.5");
  }
  return std::chrono::milliseconds(std::lround(seconds * 1000));
}

std::string tagLabel(int tagType, int tagNumber) {
  return (tagType == DevInfoTag ? "info:" : "port:") + std::to_string(tagNumber);
}

std::string areaText(const Area& area) { return std::to_string(area.start) + ":" + std::to_string(area.count); }

std::string printable(std::string_view text) {
  std::string masked(text);
  for (char& c : masked) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
  }
  return masked;
}

} // namespace tool
