// Reading the envelope of a received message:
//
//   {"msg_type":201,"ver":"1.0","ref_id":"r-17","src":{"fid":"...","at":"..."},"dst":{"fid":"..."},
//    "success":false,"err_reason":"...","data":...}
//
// "ver" and "at" are not read. A later member's outcome replaces that of the ones before it; only the check of the
// identifiers makes a missing one fail for certain.

#include "message/parse.h"

#include <algorithm>
#include <charconv>
#include <string>

#include "core/identifiers.h"
#include "core/text.h"
#include "core/trace.h"
#include "message/lookup.h"

namespace {

// The identifying members as received, whatever their length.
struct Identifiers {
  std::string dstFid, srcFid, refId;
};

int readMsgType(const char* function, const Json& message, int* msgType) {
  int value = 0;
  if (!ovk::findNumber(function, message, "msg_type", "msg_type", value)) return -1;
  *msgType = value;
  return 0;
}

template <std::size_t length>
int readField(const char* function, const Json& message, std::string_view path, const char* msg, std::string& value,
              char* field) {
  if (!ovk::findText(function, message, path, msg, value)) return -1;
  std::copy_n(value.data(), std::min(value.size(), length), field);
  return 0;
}

int readIdentifiers(const char* function, const Json& message, const char* msg, Identifiers& found, char* dstFid,
                    char* srcFid, char* refId) {
  readField<ovk_FusionIdLength>(function, message, "dst.fid", msg, found.dstFid, dstFid);
  readField<ovk_FusionIdLength>(function, message, "src.fid", msg, found.srcFid, srcFid);
  return readField<ovk_RefIdLength>(function, message, "ref_id", msg, found.refId, refId);
}

int readErrReason(const char* function, const Json& message, const char* msg, char* errReason) {
  std::string reason;
  if (!ovk::findText(function, message, "err_reason", msg, reason)) return -1;
  const std::size_t length = ovk::fittingLength(reason, ovk_ErrReasonLength);
  if (length < reason.size()) {
    OVK_TRACE_AS(function, traceError, "err_reason of %d bytes cut to %d: %s\n", static_cast<int>(reason.size()),
                 static_cast<int>(length), reason.c_str());
  }
  std::copy_n(reason.data(), length, errReason);
  return 0;
}

// `result` is what the members before came to; a success leaves it as it is.
int readOutcome(const char* function, const Json& message, const char* msg, int result, int* success, char* errReason) {
  bool succeeded = false;
  if (!message.GetValueAsBool("success", succeeded)) {
    OVK_TRACE_AS(function, traceError, "token 'success' not found in message\n");
    return -1;
  }
  OVK_TRACE_AS(function, traceProgress, "Found 'success' with value %d \n", succeeded ? 1 : 0);
  *success = succeeded ? 1 : 0;
  return succeeded ? result : readErrReason(function, message, msg, errReason);
}

constexpr std::size_t escapeLength = 6; // of "\uXXXX"

// The number in the escape "\uXXXX" at `at`; -1 when none is there.
int escapedUnit(std::string_view text, std::size_t at) {
  const std::string_view escape = text.substr(at, escapeLength);
  if (escape.size() < escapeLength || escape.substr(0, 2) != "\\u") return -1;
  unsigned unit = 0;
  const char* const end = escape.data() + escapeLength;
  return std::from_chars(end - 4, end, unit, 16).ptr == end ? static_cast<int>(unit) : -1;
}

// The bytes that must stay together from `at` on.
std::size_t unitLength(std::string_view text, std::size_t at) {
  if (const int unit = escapedUnit(text, at); unit >= 0) {
    const bool isHigh = (unit & 0xFC00) == 0xD800; // the first half of a character beyond U+FFFF
    const bool isPair = isHigh && (escapedUnit(text, at + escapeLength) & 0xFC00) == 0xDC00;
    return isPair ? 2 * escapeLength : escapeLength;
  }
  if (text[at] == '\\' && at + 1 < text.size()) return 1 + unitLength(text.substr(0, at + 2), at + 1);
  const auto lead = static_cast<unsigned char>(text[at]);
  if (lead >= 0xF0) return 4;
  if (lead >= 0xE0) return 3;
  return lead >= 0xC0 ? 2 : 1;
}

} // namespace

std::size_t ovk::fittingLength(std::string_view text, std::size_t limit) {
  if (text.size() <= limit) return text.size();
  std::size_t length = 0;
  for (;;) {
    const std::size_t next = length + unitLength(text, length);
    if (next > limit) return length;
    length = next;
  }
}

int getMsgType(const char* msg, unsigned /*len*/, int* msgType) {
  Json message;
  message.load(msg);
  return readMsgType(__func__, message, msgType);
}

int getRequestMessageParameters(const char* msg, unsigned /*len*/, int* msgType, char* dstFid, char* srcFid,
                                char* refId) {
  Json message;
  message.load(msg);
  readMsgType(__func__, message, msgType);
  Identifiers found;
  return readIdentifiers(__func__, message, msg, found, dstFid, srcFid, refId);
}

int getCommonMessageParameters(const char* msg, unsigned /*len*/, int* msgType, char* dstFid, char* srcFid, char* refId,
                               bool isClient, int* success, char* errReason) {
  Json message;
  message.load(msg);
  readMsgType(__func__, message, msgType);
  Identifiers found;
  int result = readIdentifiers(__func__, message, msg, found, dstFid, srcFid, refId);
  if (isClient) result = readOutcome(__func__, message, msg, result, success, errReason);
  const bool valid =
      ovk::areValidIdentifiers(__func__, found.dstFid.c_str(), found.srcFid.c_str(), found.refId.c_str());
  return valid ? result : -1;
}
