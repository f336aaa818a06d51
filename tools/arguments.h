#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "notation.h"
#include "ovk/ovk.h"

namespace tool {

constexpr int kAddressCount = 65536;

/// Consecutive registers, as asked for on the command line or in a request.
struct Area {
  int start = 0;
  int count = 0;
};

/// Consecutive registers and what to write into them.
struct Assignment {
  int start = 0;
  std::vector<uint16_t> values;
};

/// VRddd_ddddd_hhhhhhhhhhhh. The bus itself is more lenient, but a mistyped identifier should not get that far.
bool isIdentifier(std::string_view text);

/// Each parser throws a Failure (usage) that names the text, what is wrong with it, and a valid example.
void requireIdentifier(const std::string& text);
/// Without a count, the area of one value.
Area parseArea(const std::string& text, const Notation& notation = {});
Assignment parseAssignment(const std::string& text, const Notation& notation = {});
DevTagDevInfoTag parseTag(const std::string& text);
std::chrono::milliseconds parseSeconds(const std::string& text);

/// "port:17" or "info:3", the form that parseTag() reads.
std::string tagLabel(int tagType, int tagNumber);

/// "100:4", the form that parseArea() reads.
std::string areaText(const Area& area);

/// The text with control characters masked: what a peer sent must not steer the terminal.
std::string printable(std::string_view text);

} // namespace tool
