// The exported entry points of the service core: start, registration, periodic work, stop.
//
// None of them remembers whether it was called before; the platform services decide what a repeated call means.

#include "core/catalogue.h"
#include "core/identifiers.h"
#include "core/receive_loop.h"
#include "core/registry.h"
#include "core/text.h"
#include "core/trace.h"
#include "ovk/ovk.h"
#include "platform/shared_memory.h"
#include "platform/topology.h"
#include "platform/transfer_channel.h"

namespace {

// Opens the two channels of a service. Services share channels, so this succeeds again and again.
unsigned openChannels(const char* function, ovk_Service_t service, int readIdx, int writeIdx) {
  const int read = createTransferChannel(readIdx, transferChannelRead);
  const int written = createTransferChannel(writeIdx, transferChannelWritten);
  if (read < 0 || written < 0) {
    OVK_TRACE_AS(function, traceError,
                 "Failed to create transfer channel for service %d (ret_create_tc_rd=%d, ret_create_tc_wr=%d)\n",
                 service, read, written);
    return ovk_Status_NoTransferChannel;
  }
  OVK_TRACE_AS(function, traceProgress,
               "Successfully created transfer channel for service %d (ret_create_tc_rd=%d, ret_create_tc_wr=%d ...\n",
               service, read, written);
  OVK_TRACE_AS(function, traceProgress, "service %d, TransferChannelReadIdx %d, TransferChannelWriteIdx %d )\n",
               service, readIdx, writeIdx);
  OVK_TRACE_AS(function, traceProgress, "Successfully registered service %d\n", service);
  return ovk_Status_Done;
}

} // namespace

unsigned ovk_Init(bool busEnabled, const char* myFid, p_TopologyCallback1 callback1, p_TopologyCallback2 callback2,
                  p_TopologyCallback3 callback3) {
  OVK_TRACE(traceProgress, "ovk_QMXBusInit(%s)\n", ovk::shown(myFid));
  ovk::enableBus(busEnabled); // before the check: a refused call changes the flag all the same
  if (!isValidFusionIdentifier(myFid)) {
    OVK_TRACE(traceError, "Invalid fusion identifier: %s\n", ovk::shown(myFid));
    return ovk_Status_Invalid;
  }
  const std::string fid = myFid;
  OVK_TRACE(traceProgress, "Initialising Controller Fid: %s\n", fid.c_str());
  Topology().init(fid, callback1, callback2, callback3);
  createQMXBSharedMemory();
  return ovk_Status_Done;
}

unsigned ovk_RegisterForService(ovk_Service_t service, void* p_ServiceCallback, void* p_UserContext,
                                const char* p_UserString1, const char* p_UserString2) {
  if (p_ServiceCallback == nullptr) {
    OVK_TRACE(traceError, "Callback function p_ServiceCallback required for service %d\n", service);
    return ovk_Status_NoCallback;
  }
  OrvaneServiceRegistration_t* registration = ovk::registrationOf(service);
  if (registration == nullptr) {
    OVK_TRACE(traceError, "Invalid service requested: %d\n", service);
    return ovk_Status_Invalid;
  }
  const OrvaneServiceRegistration_t before = *registration;
  registration->service = service;
  registration->p_ServiceCallback = p_ServiceCallback;
  registration->p_UserContext = p_UserContext;
  registration->p_UserString1 = p_UserString1;
  registration->p_UserString2 = p_UserString2;
  if (!ovk::isBusEnabled()) return ovk_Status_Done;
  const int readIdx = registration->TransferChannelReadIdx = getTransferChannelReadIdx(service);
  const int writeIdx = registration->TransferChannelWriteIdx = getTransferChannelWriteIdx(service);
  try {
    return openChannels(__func__, service, readIdx, writeIdx);
  } catch (...) { // no memory to finish it
    // Looked up again: the application may have replaced the table meanwhile, or filled in this entry itself.
    registration = ovk::registrationOf(service);
    if (registration != nullptr && registration->p_ServiceCallback == p_ServiceCallback) *registration = before;
    throw;
  }
}

void ovk_DoWork(p_TopologyCallback1 callback1, p_TopologyCallback2 callback2, p_TopologyCallback3 callback3) {
  if (ovk::isBusEnabled()) ovk_QMXBusDoWork();
  TopologyDoWork(callback1, callback2, callback3);
}

int ovk_QMXBusShutdown() {
  for (const int channel :
       {IPC_TC_QMX_CLIENT_REQ_IDX, IPC_TC_QMX_CLIENT_RSP_IDX, IPC_TC_QMX_SERVER_REQ_IDX, IPC_TC_QMX_SERVER_RSP_IDX}) {
    destroyTransferChannel(channel);
  }
  return 0;
}
