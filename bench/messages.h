#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "ovk/ovk.h"

// The messages that are received and sent, at least one of each of the eight types. Their values are random, but the same
// in every run. Of each there are several, which take turns: no two messages on a bus are alike, and what a reader or a
// processor remembers of the last one must not count.

namespace bench {

inline constexpr int modbusBufferSize = 256;
inline const std::array<int, ovk_MaxTagRegBlocks> tagRegBlocks = {100,   200,   1400,  5000,  10000,
                                                                  20000, 30000, 40000, 50000, 60000};
inline const std::array<int, ovk_MaxResRegBlocks> resRegBlocks = {7, 300, 32768, 65535};

struct Message {
  ovk_Service_t sender; ///< the service that sends it
  std::string refId;
  std::array<std::vector<uint16_t>, 2> areas; ///< of register messages
  std::vector<DevTagDevInfoTag> selectors;    ///< of tag requests
  std::vector<TagItem_t> items;               ///< of tag responses
  std::string text;                           ///< as the library writes it

  /// The service that handles it at the other end.
  ovk_Service_t receiver() const { return static_cast<ovk_Service_t>(sender ^ 1); }
};

/// Messages of one kind and size.
struct Case {
  std::string name;
  std::vector<Message> variants;
};

/// Sends it by the library's call for it; whether that was done.
bool send(const Message& message);

/// All messages; the library is ready to send and to receive them.
const std::vector<Case>& cases();

} // namespace bench
