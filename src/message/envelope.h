#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "ovk/service.h"
#include "platform/json.h"

// Building the members that every message has, and sending the finished message.

namespace ovk {

/// The source of a message that comes from this controller itself.
constexpr const char* ownParticipant = "here";

/// A sender or an addressee: its fusion identifier and, in one of the two, the controller at which it is reached.
struct Participant {
  std::string_view fid;
  std::optional<std::string_view> at;
};

/// Appends "msg_type", "ver" and "ref_id".
void addHeading(Json& msg, int msgType, std::string_view refId);

/// Appends "src" and "dst".
void addParticipants(Json& msg, const Participant& src, const Participant& dst);

/// Appends "success" and, of a failure, "err_reason"; a missing reason is traced in the name of `function`.
void addOutcome(const char* function, Json& msg, bool success, const char* errReason);

/// Traces the finished message in the name of `function`.
void traceOutgoing(const char* function, const Json& msg);

/// Writes the finished message, without a NUL; whether the channel took it.
bool writeMessage(int channel, const Json& msg);

/// Whether every text is there; if not, traced in the name of `function`.
bool areGiven(const char* function, const char* fusionIdDst, const char* fusionIdSrc, const char* refId);

/// The own identifier from the topology service; a failure is traced in the name of `function`.
bool findMyFid(const char* function, std::string& fid);

} // namespace ovk

/// Appends the members up to "dst". The source "here" is the own participant: then the destination carries the controller
/// at which it is reached, otherwise the source does. Returns 0, or -1 when the destination is empty or the topology service
/// does not know an identifier; members appended before stay.
int ovk_build_common_message(ovk_Service_t service, std::string destFid, std::string srcFid, std::string refId,
                             Json& msg);

/// Builds the whole message and writes it to the service's channel.
///
/// @param withSuccess whether the message carries `success` and, of a failure, `errReason` (which may be null).
/// @return 0 written, 2 envelope could not be built, 7 channel refused the message.
unsigned ovk_build_and_transfer_message(ovk_Service_t service, const char* fusionIdDst, const char* fusionIdSrc,
                                        const char* refId, bool withSuccess, bool success, const char* errReason,
                                        const Json& data);
