// The catalogue of services, one row each. Every other place that needs to know what a service is asks here, or the record
// table for what its messages become.

#include "core/catalogue.h"

#include <iterator>

#include "core/trace.h"
#include "platform/transfer_channel.h"

namespace {

struct Row {
  ovk_MessageType_t sent;
  ovk_MessageType_t handled;
};

constexpr Row rows[] = {
    {ovk_Message_DescriptorReadRequest, ovk_Message_DescriptorReadResponse},
    {ovk_Message_DescriptorReadResponse, ovk_Message_DescriptorReadRequest},
    {ovk_Message_TagReadRequest, ovk_Message_TagReadResponse},
    {ovk_Message_TagReadResponse, ovk_Message_TagReadRequest},
    {ovk_Message_RegisterReadRequest, ovk_Message_RegisterReadResponse},
    {ovk_Message_RegisterReadResponse, ovk_Message_RegisterReadRequest},
    {ovk_Message_RegisterWriteRequest, ovk_Message_RegisterWriteResponse},
    {ovk_Message_RegisterWriteResponse, ovk_Message_RegisterWriteRequest},
};
static_assert(std::size(rows) == ovk::serviceCount);

} // namespace

int getService(int msgType, ovk_Service_t* service) {
  for (int i = 0; i < ovk::serviceCount; ++i) {
    if (rows[i].handled != msgType) continue;
    OVK_TRACE(traceProgress, "returning service %d for msg_type %d\n", i, msgType);
    *service = static_cast<ovk_Service_t>(i);
    return 0;
  }
  OVK_TRACE(traceError, "invalid/unhandled message type %d\n", msgType);
  OVK_TRACE(traceError, "no valid service found for MsgType %d\n", msgType);
  return -1;
}

int getServiceMsgType(ovk_Service_t service) { return ovk::isService(service) ? rows[service].sent : -1; }

int getTransferChannelReadIdx(ovk_Service_t service) {
  if (!ovk::isService(service)) return -1;
  return ovk::isClientService(service) ? IPC_TC_QMX_CLIENT_RSP_IDX : IPC_TC_QMX_SERVER_REQ_IDX;
}

int getTransferChannelWriteIdx(ovk_Service_t service) {
  if (!ovk::isService(service)) return -1;
  return ovk::isClientService(service) ? IPC_TC_QMX_CLIENT_REQ_IDX : IPC_TC_QMX_SERVER_RSP_IDX;
}
