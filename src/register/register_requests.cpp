// The client side of register access: ovk_ReadRegisters and ovk_WriteRegisters.
//
// The two look alike and differ on purpose: the write request checks its identifiers, asks the topology service itself and
// counts its outcome, the read request leaves all that to the common sending function. Field software relies on the
// statuses that follow from it.

#include "core/catalogue.h"
#include "core/identifiers.h"
#include "core/registry.h"
#include "core/text.h"
#include "core/trace.h"
#include "message/envelope.h"
#include "message/value_text.h"
#include "ovk/ovk.h"
#include "platform/bus_counters.h"
#include "platform/topology.h"
#include "platform/transfer_channel.h"
#include "register/register_payload.h"

namespace {

constexpr int wholeArea = -1; // a read request's count whose meaning is the server's

void traceValues(const char* function, int area, int start, const uint16_t* values, int count) {
  if (start < 0) return;
  for (int i = 0; i < count; ++i) {
    OVK_TRACE_AS(function, traceProgress, "Register%d[%3d] at %p = %d\n", area, i, static_cast<const void*>(values + i),
                 values[i]);
  }
}

void traceArguments(const char* function, const char* fusionIdDst, const char* refId, const RegisterArea& area1,
                    const RegisterArea& area2) {
  OVK_TRACE_AS(function, traceProgress, "fusionIdDst      = %s\n", ovk::shown(fusionIdDst));
  OVK_TRACE_AS(function, traceProgress, "refId            = %s\n", ovk::shown(refId));
  OVK_TRACE_AS(function, traceProgress, "startRegister1   = 0x%X\n", static_cast<unsigned>(area1.start));
  OVK_TRACE_AS(function, traceProgress, "pStartRegister1  = %p\n", static_cast<const void*>(area1.values));
  traceValues(function, 1, area1.start, area1.values, area1.count);
  OVK_TRACE_AS(function, traceProgress, "numberRegisters1 = %d\n", area1.count);
  OVK_TRACE_AS(function, traceProgress, "startRegister2   = %d\n", area2.start);
  OVK_TRACE_AS(function, traceProgress, "pStartRegister2  = %p\n", static_cast<const void*>(area2.values));
  traceValues(function, 2, area2.start, area2.values, area2.count);
  OVK_TRACE_AS(function, traceProgress, "numberRegisters2 = %d\n", area2.count);
}

unsigned refuseArea1(const char* function, const RegisterArea& area) {
  OVK_TRACE_AS(function, traceError, "Invalid register request: startRegister1=%d, numberRegisters1=%d\n", area.start,
               area.count);
  return ovk_Status_Invalid;
}

// The second area of a request: as given when it is used, otherwise empty.
RegisterArea usedOrEmpty(const char* function, const RegisterArea& area, bool used) {
  if (used) return area;
  OVK_TRACE_AS(function, traceProgress, "skip startRegister2/numberRegisters2 information\n");
  return {};
}

unsigned transferWriteRequest(const char* function, const Json& msg) {
  OVK_TRACE_AS(function, traceProgress, "write register write msg (%d bytes) to IPC_TC_QMX_CLIENT_REQ_IDX\n",
               static_cast<int>(msg.text().size()));
  OVK_TRACE_AS(function, traceProgress, "msg: %s\n", msg.c_str());
  if (ovk::writeMessage(IPC_TC_QMX_CLIENT_REQ_IDX, msg)) {
    IncrQMXBCnt(QMXB_API_REG_WRITE_REQ_TX_OK);
    return ovk_Status_Done;
  }
  OVK_TRACE_AS(function, traceError,
               "failed to write register write message 108 to transfer channel QMXB_API_REG_WRITE_REQ_TX_ERR\n");
  IncrQMXBCnt(QMXB_API_REG_WRITE_REQ_TX_ERR);
  return ovk_Status_NotWritten;
}

bool isWritable(const RegisterArea& area) { return area.start >= 0 && area.count >= 1; }
bool isReadable(const RegisterArea& area) { return area.start >= 0 && (area.count >= 1 || area.count == wholeArea); }

} // namespace

unsigned ovk_WriteRegisters(const char* fusionIdDst, const char* refId, int sendNotification, int startRegister1,
                            const uint16_t* pStartRegister1, int numberRegisters1, int startRegister2,
                            const uint16_t* pStartRegister2, int numberRegisters2) {
  const RegisterArea area1{startRegister1, pStartRegister1, numberRegisters1};
  const RegisterArea area2{startRegister2, pStartRegister2, numberRegisters2};
  for (const RegisterArea& area : {area1, area2}) {
    if (isWritable(area) && ovk::lacksValues(__func__, area)) return ovk_Status_Invalid;
  }
  traceArguments(__func__, fusionIdDst, refId, area1, area2);
  if (!ovk::canReceiveAnswer(__func__, ovk_Service_RegisterWriteClient)) return ovk_Status_NoCallback;
  if (!isValidFusionIdentifier(fusionIdDst) || !isValidReferenceIdentifier(refId)) {
    OVK_TRACE(traceError, "Invalid fusionId %s or reference identifier %s\n", ovk::shown(fusionIdDst),
              ovk::shown(refId));
    return ovk_Status_Invalid;
  }
  std::string myFid;
  std::string parent;
  if (!ovk::findMyFid(__func__, myFid)) return ovk_Status_Topology;
  if (Topology().get_parent_fid(fusionIdDst, parent) == 0) {
    OVK_TRACE(traceError, "cannot find parent fid for %s\n", fusionIdDst);
    return ovk_Status_Topology;
  }
  if (!isWritable(area1)) return refuseArea1(__func__, area1);
  const std::vector<RegisterArea> areas = {area1, usedOrEmpty(__func__, area2, isWritable(area2))};
  Json msg;
  if (ovk_build_register_write_message(fusionIdDst, parent, myFid, refId, sendNotification, areas, msg) != 0) {
    OVK_TRACE(traceError, "failed to build register write message 108\n");
    return ovk_Status_Invalid;
  }
  return transferWriteRequest(__func__, msg);
}

unsigned ovk_ReadRegisters(const char* fusionIdDst, const char* refId, int startRegister1, int numberRegisters1,
                           int startRegister2, int numberRegisters2) {
  const RegisterArea area1{startRegister1, nullptr, numberRegisters1};
  const RegisterArea area2{startRegister2, nullptr, numberRegisters2};
  if (!ovk::canReceiveAnswer(__func__, ovk_Service_RegisterReadClient)) return ovk_Status_NoCallback;
  if (!isReadable(area1)) return refuseArea1(__func__, area1);
  Json data(Json::Kind::array);
  for (const RegisterArea& area : {area1, usedOrEmpty(__func__, area2, isReadable(area2))}) {
    OVK_TRACE(traceProgress, "process register area start_address %d, num_regs %d\n", area.start, area.count);
    Json entry;
    entry.add("start", ovk::number(area.start));
    entry.add("num", ovk::number(area.count));
    data.add(ovk::nested(entry));
  }
  OVK_TRACE(traceProgress, "ovk_ReadRegisters  data %s\n", data.c_str());
  return ovk_build_and_transfer_message(ovk_Service_RegisterReadClient, fusionIdDst, ovk::ownParticipant, refId, false,
                                        false, nullptr, data);
}
