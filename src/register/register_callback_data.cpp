// The bodies of the register records.
//
// A value buffer always has room for 1024 words, whatever the message announces, and belongs to the extractor until the
// whole body is known to be good.

#include "register/register_callback_data.h"

#include "core/block.h"
#include "core/text.h"
#include "core/trace.h"
#include "message/lookup.h"
#include "message/parse.h"
#include "register/register_payload.h"

namespace {

// Both areas of a message while it is read.
struct Areas {
  ovk::Block<uint16_t> values1 = ovk::allocateBlock<uint16_t>(ovk_MaxRegistersPerArea);
  ovk::Block<uint16_t> values2 = ovk::allocateBlock<uint16_t>(ovk_MaxRegistersPerArea);
  int start1 = -1, count1 = -1;
  int start2 = -1, count2 = -1;

  bool areAllocated(const char* function) const {
    if (values1 != nullptr && values2 != nullptr) return true;
    OVK_TRACE_AS(function, traceError, "no memory for two buffers of %d registers\n", ovk_MaxRegistersPerArea);
    return false;
  }

  template <typename Record>
  void moveTo(Record& record) {
    record.startRegister1 = start1;
    record.numberRegisters1 = count1;
    record.pStartRegister1 = values1.release();
    record.startRegister2 = start2;
    record.numberRegisters2 = count2;
    record.pStartRegister2 = values2.release();
  }
};

} // namespace

int getRegisterReadRspCallbackData(const char* msg, unsigned msgLen, ovk_RegisterReadRspCallbackData_t* pCallbackData) {
  Areas areas; // a buffer that could not be allocated is refused, and traced, as a null output
  if (getMsgRegisterContent(msg, msgLen, &areas.start1, areas.values1.get(), &areas.count1, &areas.start2,
                            areas.values2.get(), &areas.count2) != 0) {
    OVK_TRACE(traceError, "getMsgRegisterContent() failed for message %s\n", msg);
    return -1;
  }
  areas.moveTo(*pCallbackData);
  return 0;
}

int getRegisterReadReqCallbackData(const char* msg, unsigned /*msgLen*/,
                                   ovk_RegisterReadReqCallbackData_t* pCallbackData) {
  Json message;
  message.load(msg);
  const auto read = [&](std::string_view path, int& value) {
    return ovk::findNumber("getRegisterReadReqCallbackData", message, path, path.data(), value);
  };
  int start1 = -1;
  int count1 = -1;
  int start2 = -1;
  int count2 = 0; // an area 2 without a count is an empty one
  const bool hasStart1 = read("data[0].start", start1);
  const bool hasCount1 = read("data[0].num", count1);
  read("data[1].start", start2);
  read("data[1].num", count2);
  OVK_TRACE(traceProgress, "StartReg1 %d NumRegs1 %d StartReg2 %d NumRegs2 %d\n", start1, count1, start2, count2);
  pCallbackData->startRegister1 = start1;
  pCallbackData->numberRegisters1 = count1;
  pCallbackData->startRegister2 = start2;
  pCallbackData->numberRegisters2 = count2;
  return hasStart1 && hasCount1 ? 0 : -1;
}

int getRegisterWriteRspCallbackData(const char* /*msg*/, unsigned /*msgLen*/,
                                    ovk_RegisterWriteRspCallbackData_t* /*pCallbackData*/) {
  return 0;
}

int getRegisterWriteReqCallbackData(const char* msg, unsigned msgLen,
                                    ovk_RegisterWriteReqCallbackData_t* pCallbackData) {
  OVK_TRACE(traceProgress, "getRegisterWriteReqCallbackData()\n");
  OVK_TRACE(traceProgress, "from Msg %s\n", msg);
  OVK_TRACE(traceProgress, "to pCallbackData at %p\n", static_cast<void*>(pCallbackData));
  *pCallbackData = {};
  ovk::CommonMembers members;
  if (getRequestMessageParameters(msg, msgLen, &members.msgType, members.dstFid, members.srcFid, members.refId) != 0) {
    return -1;
  }
  Areas areas;
  int sendNotification = 0;
  if (!areas.areAllocated(__func__) ||
      getWriteRequestMessageParameters(msg, msgLen, &sendNotification, &areas.start1, areas.values1.get(),
                                       &areas.count1, &areas.start2, areas.values2.get(), &areas.count2) != 0) {
    return -1;
  }
  ovk::copyHeader(members, *pCallbackData);
  pCallbackData->sendNotification = sendNotification;
  areas.moveTo(*pCallbackData);
  return 0;
}
