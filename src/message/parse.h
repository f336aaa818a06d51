#pragma once

#include <cstddef>
#include <string_view>

#include "core/text.h"
#include "ovk/records.h"

// Reading the members that every received message has. `msg` is a text followed by a NUL; its length `len` is not used.
// Outputs of members that are missing stay as they were; texts are copied without their NUL into zero-filled fields.

namespace ovk {

/// The common members of a message, zero-filled before they are read.
struct CommonMembers {
  int msgType = -1;
  char dstFid[ovk_FusionIdLength + 1] = {};
  char srcFid[ovk_FusionIdLength + 1] = {};
  char refId[ovk_RefIdLength + 1] = {};
  int success = -1;
  char errReason[ovk_ErrReasonLength + 1] = {};
};

/// Copies the identifying members into a record's zero-filled header.
template <typename Record>
void copyHeader(const CommonMembers& members, Record& record) {
  copyText(record.dstFid, members.dstFid);
  copyText(record.srcFid, members.srcFid);
  copyText(record.refId, members.refId);
}

/// The length of the longest beginning of `text` that fits `limit` bytes and splits neither an escape sequence
/// nor a UTF-8 sequence, nor the two "\uXXXX" of one character.
std::size_t fittingLength(std::string_view text, std::size_t limit);

} // namespace ovk

/// Returns 0, or -1 when the message has no integer "msg_type".
int getMsgType(const char* msg, unsigned len, int* msgType);

/// Reads the type, both identifiers and the reference, unchecked; returns the outcome of the last of them, the reference:
/// 0, or -1 when it is missing.
int getRequestMessageParameters(const char* msg, unsigned len, int* msgType, char* dstFid, char* srcFid, char* refId);

/// Reads the same and, of a response (`isClient`), success and the reason of a failure, and checks the identifiers as
/// received. Returns 0, or -1 when one of them is missing or invalid, or "success" or a failure's reason is missing.
int getCommonMessageParameters(const char* msg, unsigned len, int* msgType, char* dstFid, char* srcFid, char* refId,
                               bool isClient, int* success, char* errReason);
