// Building the envelope of a message, and sending it:
//
//   {"msg_type":200,"ver":"1.0","ref_id":"r-17","src":{"fid":"..."},"dst":{"fid":"...","at":"..."},"data":...}
//
// Exactly one of "src" and "dst" carries "at". Several trace lines name another message or channel than the one at hand;
// they are shared by all services and kept as field tools know them.

#include "message/envelope.h"

#include "core/catalogue.h"
#include "core/registry.h"
#include "core/text.h"
#include "core/trace.h"
#include "message/value_text.h"
#include "ovk/status.h"
#include "platform/topology.h"
#include "platform/transfer_channel.h"

namespace {

void addParticipant(Json& msg, std::string_view key, const ovk::Participant& participant) {
  Json object;
  object.add("fid", ovk::quoted(participant.fid));
  if (participant.at) object.add("at", ovk::quoted(*participant.at));
  msg.add(key, ovk::nested(object));
}

bool findParent(const char* function, const std::string& fid, std::string& parent) {
  if (Topology().get_parent_fid(fid, parent) != 0) return true;
  OVK_TRACE_AS(function, traceError, "cannot not get parent fid\n");
  return false;
}

} // namespace

namespace ovk {

void addHeading(Json& msg, int msgType, std::string_view refId) {
  msg.add("msg_type", number(msgType));
  msg.add("ver", quoted("1.0"));
  msg.add("ref_id", quoted(refId));
}

void addParticipants(Json& msg, const Participant& src, const Participant& dst) {
  addParticipant(msg, "src", src);
  addParticipant(msg, "dst", dst);
}

void addOutcome(const char* function, Json& msg, bool success, const char* errReason) {
  msg.add("success", boolean(success));
  if (success) return;
  if (errReason != nullptr) {
    msg.add("err_reason", quoted(errReason));
  } else {
    OVK_TRACE_AS(function, traceError, "err_reason should be passed when success = false\n");
  }
}

void traceOutgoing(const char* function, const Json& msg) {
  OVK_TRACE_AS(function, traceBulk, "\n========================= outgoing message:\n%s\n=========================\n",
               msg.c_str());
}

bool writeMessage(int channel, const Json& msg) {
  return writeTransferChannel(channel, msg.text().data(), static_cast<unsigned>(msg.text().size())) == 0;
}

bool areGiven(const char* function, const char* fusionIdDst, const char* fusionIdSrc, const char* refId) {
  if (fusionIdDst != nullptr && fusionIdSrc != nullptr && refId != nullptr) return true;
  OVK_TRACE_AS(function, traceError, "Null destination (%s), source (%s) or reference identifier (%s)\n",
               shown(fusionIdDst), shown(fusionIdSrc), shown(refId));
  return false;
}

bool findMyFid(const char* function, std::string& fid) {
  if (Topology().get_my_fid(fid) != 0) return true;
  OVK_TRACE_AS(function, traceError, "cannot not get my fid\n");
  return false;
}

} // namespace ovk

int ovk_build_common_message(ovk_Service_t service, std::string destFid, std::string srcFid, std::string refId,
                             Json& msg) {
  OVK_TRACE(traceProgress, "ovk_build_common_message( dest_fid=%s src_fid=%s ref_id=%s )\n", destFid.c_str(),
            srcFid.c_str(), refId.c_str());
  if (destFid.empty()) {
    OVK_TRACE(traceError, "Empty destination fid\n");
    return -1;
  }
  ovk::addHeading(msg, getServiceMsgType(service), refId);
  const bool isOwn = srcFid == ovk::ownParticipant;
  std::string myFid;
  std::string parent;
  if (!ovk::findMyFid(__func__, myFid) || !findParent(__func__, isOwn ? destFid : srcFid, parent)) return -1;
  if (isOwn) {
    ovk::addParticipants(msg, {myFid, {}}, {destFid, parent});
  } else {
    ovk::addParticipants(msg, {srcFid, parent}, {destFid, {}});
  }
  return 0;
}

unsigned ovk_build_and_transfer_message(ovk_Service_t service, const char* fusionIdDst, const char* fusionIdSrc,
                                        const char* refId, bool withSuccess, bool success, const char* errReason,
                                        const Json& data) {
  OVK_TRACE(traceBulk, "ovk_build_and_transfer_message( service=%d, fusionIdDst=%s, ref_id=%s )\n", service,
            ovk::shown(fusionIdDst), ovk::shown(refId));
  const OrvaneServiceRegistration_t* registration = ovk::registrationOf(service);
  const int channel = registration == nullptr ? 0 : registration->TransferChannelWriteIdx;
  OVK_TRACE(traceProgress, "Service %d gives TC_WriteIdx %d\n", service, channel);
  Json msg;
  if (!ovk::areGiven(__func__, fusionIdDst, fusionIdSrc, refId) ||
      ovk_build_common_message(service, fusionIdDst, fusionIdSrc, refId, msg) != 0) {
    OVK_TRACE(traceError, "failed to build register read message\n");
    return ovk_Status_Invalid;
  }
  if (withSuccess) ovk::addOutcome(__func__, msg, success, errReason);
  msg.add("data", ovk::nested(data));
  ovk::traceOutgoing(__func__, msg);
  if (ovk::writeMessage(channel, msg)) return ovk_Status_Done;
  OVK_TRACE(traceError, "failed to write message to transfer channel IPC_TC_QMX_CLIENT_REQ_IDX\n");
  return ovk_Status_NotWritten;
}
