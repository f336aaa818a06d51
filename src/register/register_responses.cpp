// The server side of register access: ovk_serveReadRegisters and ovk_serveWriteRegisters.
//
// A read response names the own controller as the place where its source is reached, a write response the source's parent
// in the topology.

#include "core/identifiers.h"
#include "core/text.h"
#include "core/trace.h"
#include "message/envelope.h"
#include "ovk/ovk.h"
#include "platform/bus_counters.h"
#include "platform/transfer_channel.h"
#include "register/register_payload.h"

namespace {

unsigned transferReadResponse(const char* function, const char* fusionIdDst, const Json& msg) {
  if (ovk::writeMessage(IPC_TC_QMX_SERVER_RSP_IDX, msg)) {
    OVK_TRACE_AS(function, traceProgress,
                 "successfully sent register read response message 109 via IPC_TC_QMX_SERVER_RSP_IDX to %s\n",
                 fusionIdDst);
    IncrQMXBCnt(QMXB_API_REG_READ_RSP_TX_OK);
    return ovk_Status_Done;
  }
  OVK_TRACE_AS(function, traceError, "failed to write message 109 to transfer channel IPC_TC_QMX_SERVER_RSP_IDX\n");
  IncrQMXBCnt(QMXB_API_REG_READ_RSP_TX_ERR);
  return ovk_Status_NotWritten;
}

} // namespace

unsigned ovk_serveReadRegisters(const char* fusionIdDst, const char* fusionIdSrc, const char* refId, int TagResAddress1,
                                const uint16_t* pStartRegister1, int numberRegisters1, int TagResAddress2,
                                const uint16_t* pStartRegister2, int numberRegisters2, bool success,
                                const char* ErrReason) {
  OVK_TRACE(traceProgress, "ovk_serveReadRegisters( TagResAddress1=%d, pStartRegister1=%p, numberRegisters1=%d \n",
            TagResAddress1, static_cast<const void*>(pStartRegister1), numberRegisters1);
  OVK_TRACE(traceProgress, "ovk_serveReadRegisters(... TagResAddress2=%d, pStartRegister2=%p, numberRegisters2=%d )\n",
            TagResAddress2, static_cast<const void*>(pStartRegister2), numberRegisters2);
  OVK_TRACE(traceProgress, "ovk_serveReadRegisters(... success=%d, ErrReason=%s\n", success ? 1 : 0,
            ovk::shown(ErrReason));
  if (!ovk::areValidIdentifiers(__func__, fusionIdDst, fusionIdSrc, refId)) return ovk_Status_Invalid;
  std::string myFid;
  if (!ovk::findMyFid(__func__, myFid)) return ovk_Status_Topology;
  const std::vector<RegisterArea> areas = {{TagResAddress1, pStartRegister1, numberRegisters1},
                                           {TagResAddress2, pStartRegister2, numberRegisters2}};
  if (success && (ovk::lacksValues(__func__, areas[0]) || ovk::lacksValues(__func__, areas[1]))) {
    return ovk_Status_Invalid;
  }
  Json msg;
  if (ovk_build_data_read_response_message(fusionIdDst, fusionIdSrc, myFid, refId, success, ErrReason, areas, msg) !=
      0) {
    OVK_TRACE(traceError, "failed to build message 108\n");
    return ovk_Status_Invalid;
  }
  return transferReadResponse(__func__, fusionIdDst, msg);
}

unsigned ovk_serveWriteRegisters(const char* fusionIdDst, const char* fusionIdSrc, const char* refId, bool success,
                                 const char* ErrReason) {
  OVK_TRACE(traceProgress, "ovk_serveWriteRegisters(... success=%d, ErrReason=%s\n", success ? 1 : 0,
            ovk::shown(ErrReason));
  if (!ovk::areValidIdentifiers(__func__, fusionIdDst, fusionIdSrc, refId)) return ovk_Status_Invalid;
  return ovk_build_and_transfer_message(ovk_Service_RegisterWriteServer, fusionIdDst, fusionIdSrc, refId, true, success,
                                        ErrReason, Json());
}
