// The life of a callback record.
//
// The counter of a call that got no further than the common members is number 0, whatever the service; only then does the
// service's own pair count.

#include "callback/callback_data.h"

#include <cstdlib>

#include "core/block.h"
#include "core/catalogue.h"
#include "core/trace.h"

namespace {

int fillHeader(const char* function, ovk_Service_t service, const char* msg, unsigned msgLen, void* record) {
  ovk::CommonMembers members;
  const bool isClient = ovk::isClientService(service);
  if (getCommonMessageParameters(msg, msgLen, &members.msgType, members.dstFid, members.srcFid, members.refId, isClient,
                                 &members.success, members.errReason) != 0) {
    OVK_TRACE_AS(function, traceError, "getCommonMessageParameters() failed for message %s\n", msg);
    return -3;
  }
  OVK_TRACE_AS(function, traceProgress, "getting service %d callback data\n", service);
  OVK_TRACE_AS(function, traceProgress, "from Msg %s\n", msg);
  OVK_TRACE_AS(function, traceProgress, "DestFid %s SrcFid %s RefId %s\n", members.dstFid, members.srcFid,
               members.refId);
  ovk::recordRowOf(service)->fillHeader(members, record);
  if (isClient) {
    OVK_TRACE_AS(function, traceProgress,
                 "pCommonData->dstFid %s pCommonData->srcFid %s pCommonData->refId %s pCommonData->success %d\n",
                 members.dstFid, members.srcFid, members.refId, members.success);
  } else {
    OVK_TRACE_AS(function, traceProgress, "pCommonData->dstFid %s pCommonData->srcFid %s pCommonData->refId %s\n",
                 members.dstFid, members.srcFid, members.refId);
  }
  return 0;
}

// Counts once, also when memory runs out and an exception ends the call.
struct Outcome {
  int result = -4;
  QMXBCounter_e filled = QMXB_API_RX_COMMON_ERR;
  QMXBCounter_e notFilled = QMXB_API_RX_COMMON_ERR;

  Outcome() = default;
  Outcome(const Outcome&) = delete;
  Outcome& operator=(const Outcome&) = delete;
  ~Outcome() { IncrQMXBCnt(result == 0 ? filled : notFilled); }
};

int fillAndCount(const char* function, ovk_Service_t service, const char* msg, unsigned msgLen, void** record,
                 unsigned* length) {
  Outcome outcome;
  if (allocateCallbackData(service, record, length) != 0) {
    OVK_TRACE_AS(function, traceError, "failed to allocate callback data for service %d\n", service);
    return outcome.result;
  }
  const int header = fillHeader(function, service, msg, msgLen, *record);
  if (header != 0) return outcome.result = header;
  const ovk::RecordRow& row = *ovk::recordRowOf(service);
  outcome.filled = row.filled;
  outcome.notFilled = row.notFilled;
  outcome.result = row.extract(msg, msgLen, *record);
  *length = row.size;
  return outcome.result;
}

} // namespace

int allocateCallbackData(ovk_Service_t service, void** ppData, unsigned int* pDataLen) {
  const ovk::RecordRow* row = ovk::recordRowOf(service);
  if (row == nullptr) {
    OVK_TRACE(traceError, "invalid service %d\n", service);
    return -2;
  }
  void* record = ovk::allocateZeroed(row->size);
  if (record == nullptr) {
    OVK_TRACE(traceError, "failed to allocate callback data for service %d\n", service);
    return -1;
  }
  OVK_TRACE(traceProgress, "allocated callback data at %p of size %d for service %d\n", record,
            static_cast<int>(row->size), service);
  *pDataLen = row->size;
  *ppData = record;
  return 0;
}

int releaseCallbackData(ovk_Service_t service, void* pData, unsigned int /*dataLen*/) {
  OVK_TRACE(traceProgress, "pData = %p\n", pData);
  if (pData == nullptr) return 0;
  const ovk::RecordRow* row = ovk::recordRowOf(service);
  if (row == nullptr) {
    OVK_TRACE(traceError, "invalid service %d\n", service);
    return -1;
  }
  for (void* block : row->blocks(pData)) {
    if (block == nullptr) continue;
    if (row->tracedBlock != nullptr) OVK_TRACE(traceProgress, "free %s %p\n", row->tracedBlock, block);
    std::free(block);
  }
  std::free(pData);
  return 0;
}

int getCallbackData(ovk_Service_t service, const char* msg, unsigned int msgLen, void** ppData,
                    unsigned int* pDataLen) {
  const int result = fillAndCount(__func__, service, msg, msgLen, ppData, pDataLen);
  OVK_TRACE(traceProgress, "for service %d  getCallbackData returns %d\n", service, result);
  return result;
}

namespace ovk {

int CallbackRecord::fill(const char* msg, unsigned len) {
  const int result = getCallbackData(service_, msg, len, &data_, &length_);
  if (result != 0) return result;
  blocks_ = recordRowOf(service_)->blocks(data_);
  filled_ = true;
  return 0;
}

CallbackRecord::~CallbackRecord() {
  if (data_ == nullptr) return;
  if (filled_) recordRowOf(service_)->setBlocks(data_, blocks_);
  releaseCallbackData(service_, data_, length_);
}

} // namespace ovk
