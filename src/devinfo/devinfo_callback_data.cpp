// The bodies of the device information records.
//
// Applications were told that both counts lie in 0 to 10, so both lists get 10 slots; of the reserved register blocks only
// 4 can be sent, and a foreign writer's announcement of more is reported as not usable. A negative count is one that senders
// may write, so it becomes -1 without an error line.

#include "devinfo/devinfo_callback_data.h"

#include <algorithm>

#include "core/block.h"
#include "core/trace.h"
#include "devinfo/devinfo_payload.h"
#include "message/parse.h"
#include "ovk/device_info.h"

namespace {

constexpr std::size_t listSlots = 10;
static_assert(listSlots >= ovk_MaxTagRegBlocks && listSlots >= ovk_MaxResRegBlocks);

constexpr int notUsable = -1;

int usableCount(const char* function, const char* name, int announced, int limit) {
  if (announced <= limit) return std::max(announced, notUsable);
  OVK_TRACE_AS(function, traceError, "%s of %d is not usable, possible are 0 to %d\n", name, announced, limit);
  return notUsable;
}

} // namespace

int getDescriptorReadReqCallbackData(const char* msg, unsigned int msgLen,
                                     ovk_DescriptorReadReqCallbackData_t* pCallbackData) {
  OVK_TRACE(traceProgress, "getDescriptorReadReqCallbackData()\n");
  OVK_TRACE(traceProgress, "from Msg %s\n", msg);
  OVK_TRACE(traceProgress, "to pCallbackData at %p\n", static_cast<void*>(pCallbackData));
  *pCallbackData = {};
  ovk::CommonMembers members;
  if (getRequestMessageParameters(msg, msgLen, &members.msgType, members.dstFid, members.srcFid, members.refId) != 0) {
    OVK_TRACE(traceError, "getRequestMessageParameters() failed for message %s\n", msg);
    return -1;
  }
  ovk::copyHeader(members, *pCallbackData);
  return 0;
}

int getDescriptorReadRspCallbackData(const char* msg, unsigned int msgLen,
                                     ovk_DescriptorReadRspCallbackData_t* pCallbackData) {
  auto tagBlocks = ovk::allocateBlock<int32_t>(listSlots);
  auto resBlocks = ovk::allocateBlock<int32_t>(listSlots);
  int numTagBlocks = notUsable;
  int numResBlocks = notUsable;
  int bufferSize = -1;
  if (tagBlocks == nullptr || resBlocks == nullptr) {
    OVK_TRACE(traceError, "no memory for two lists of %d register blocks\n", static_cast<int>(listSlots));
    return -1;
  }
  if (getReadResponseDevInfoContent(msg, msgLen, &numTagBlocks, tagBlocks.get(), &numResBlocks, resBlocks.get(),
                                    &bufferSize) != 0) {
    OVK_TRACE(traceError, "getReadResponseDevInfoContent() failed for message %s\n", msg);
    return -1;
  }
  pCallbackData->numTagRegBlocks = usableCount(__func__, "numTagRegBlocks", numTagBlocks, ovk_MaxTagRegBlocks);
  pCallbackData->pTagRegBlocks = tagBlocks.release();
  pCallbackData->numResRegBlocks = usableCount(__func__, "numResRegBlocks", numResBlocks, ovk_MaxResRegBlocks);
  pCallbackData->pResRegBlocks = resBlocks.release();
  pCallbackData->ModbusBufferSize = bufferSize;
  OVK_TRACE(traceProgress,
            "successfully copied descriptor response data to callback structure ovk_DescriptorReadRspCallbackData_t\n");
  return 0;
}
