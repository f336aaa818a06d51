#pragma once

#include <array>
#include <type_traits>

#include "message/parse.h"
#include "ovk/service.h"
#include "platform/bus_counters.h"

// What the messages of a service become: the record table, one row per service. The catalogue in core tells the rest.

namespace ovk {

// Records of responses tell how the peer fared.
template <typename Record, typename = void>
inline constexpr bool isResponse = false;
template <typename Record>
inline constexpr bool isResponse<Record, std::void_t<decltype(Record::success)>> = true;

/// The addresses in the pointer fields of a record, null where there is none; in the order in which they are freed.
using OwnedBlocks = std::array<void*, 2>;

struct RecordRow {
  unsigned size; ///< of the record, in bytes
  void (*fillHeader)(const CommonMembers& members, void* record);
  int (*extract)(const char* msg, unsigned msgLen, void* record); ///< fills the body; 0 on success
  OwnedBlocks (*blocks)(const void* record);
  void (*setBlocks)(void* record, const OwnedBlocks& blocks);
  const char* tracedBlock; ///< the block whose release is traced, as it stands in the trace line; null for none
  QMXBCounter_e filled;
  QMXBCounter_e notFilled;
};

/// The row of a service; null for no service.
const RecordRow* recordRowOf(ovk_Service_t service);

} // namespace ovk
