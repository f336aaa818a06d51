// The payload of a device information response, its writer and its reader:
//
//   "data": {"numTagRegBlocks":2,"TagRegBlocks":[100,200],"numResRegBlocks":1,"ResRegBlocks":[300],
//            "ModbusBufferSize":256}
//
// A failed response carries an empty object.

#include "devinfo/devinfo_payload.h"

#include <algorithm>

#include "core/text.h"
#include "core/trace.h"
#include "message/envelope.h"
#include "message/lookup.h"
#include "message/value_text.h"
#include "ovk/ovk.h"

namespace {

bool refuseCount(const char* function, const char* name, int count, int limit) {
  OVK_TRACE_AS(function, traceError, "Invalid %s of %d, must be < %d\n", name, count, limit);
  return false;
}

// One list with its count, as the writer gets it.
struct List {
  const char* countName;
  const char* name;
  int count;
  const int* values;
};

bool areSendable(const char* function, const List& tagBlocks, const List& resBlocks) {
  if (tagBlocks.count > ovk_MaxTagRegBlocks) {
    return refuseCount(function, "numTagRegisterBlocks", tagBlocks.count, ovk_MaxTagRegBlocks);
  }
  if (resBlocks.count > ovk_MaxResRegBlocks) {
    return refuseCount(function, "numReservedRegisterBlocks", resBlocks.count, ovk_MaxResRegBlocks);
  }
  for (const List& list : {tagBlocks, resBlocks}) {
    if (list.count <= 0 || list.values != nullptr) continue;
    OVK_TRACE_AS(function, traceError, "No values for %s=%d: null pointer\n", list.countName, list.count);
    return false;
  }
  return true;
}

void addList(const char* function, Json& data, const List& list) {
  data.add(list.countName, ovk::number(list.count));
  if (list.countName == std::string_view("numTagRegBlocks")) {
    OVK_TRACE_AS(function, traceProgress, "numTagRegisterBlocks = %d\n", list.count);
  }
  Json values(Json::Kind::array);
  for (int i = 0; i < list.count; ++i) {
    OVK_TRACE_AS(function, traceProgress, "block_index = %d\n", i);
    OVK_TRACE_AS(function, traceProgress, "stringName = %d\n", list.values[i]);
    values.add(ovk::number(list.values[i]));
  }
  data.add(list.name, ovk::nested(values));
  OVK_TRACE_AS(function, traceProgress, "JSON descrData string: %s \n", data.c_str());
}

// Reads a single value; false when it is missing.
bool readValue(const char* function, const Json& message, const char* path, int* value) {
  if (message.GetValueAsInt(path, value)) return true;
  OVK_TRACE_AS(function, traceError, "failed to parse %s\n", path);
  return false;
}

// Reads as many values as were announced, are there and find room.
void readList(const char* function, const Json& message, std::string_view name, bool isTraced, int announced, int room,
              int* values) {
  ovk::ElementPath path(name);
  int value = 0;
  for (int i = 0; i < std::min(announced, room) && message.GetValueAsInt(path.element(i), &value); ++i) {
    if (isTraced) OVK_TRACE_AS(function, traceProgress, "stringName: %s \n", path.text());
    values[i] = value & 0xFFFF;
  }
}

} // namespace

unsigned int ovk_serveReadDeviceInfo(const char* dstFid, const char* srcFid, const char* refId, int numTagRegBlocks,
                                     int* TagRegBlocks, int numResRegBlocks, int* ResRegBlocks, int ModbusBufferSize,
                                     bool success, const char* errReason) {
  if (ovk::isNullOrEmpty(srcFid)) {
    OVK_TRACE(traceError, "Empty source fid\n");
    return ovk_Status_Invalid;
  }
  if (ovk::isNullOrEmpty(dstFid)) {
    OVK_TRACE(traceError, "Empty destination fid\n");
    return ovk_Status_Invalid;
  }
  Json data;
  if (success) {
    const List tagBlocks{"numTagRegBlocks", "TagRegBlocks", numTagRegBlocks, TagRegBlocks};
    const List resBlocks{"numResRegBlocks", "ResRegBlocks", numResRegBlocks, ResRegBlocks};
    if (!areSendable(__func__, tagBlocks, resBlocks)) return ovk_Status_Invalid;
    addList(__func__, data, tagBlocks);
    addList(__func__, data, resBlocks);
    data.add("ModbusBufferSize", ovk::number(ModbusBufferSize));
    OVK_TRACE(traceProgress, "JSON descrData string: %s \n", data.c_str());
  }
  return ovk_build_and_transfer_message(ovk_Service_DescriptorReadServer, dstFid, srcFid, refId, true, success,
                                        errReason, data);
}

int getReadResponseDevInfoContent(const char* msg, unsigned int /*msgLen*/, int* pNumTagRegBlocks, int* pTagRegBlocks,
                                  int* pNumResRegBlocks, int* pResRegBlocks, int* pModbusBufferSize) {
  int result = 0;
  OVK_TRACE(traceProgress, "getReadResponseDevInfoContent called with ...\n");
  Json message;
  message.load(msg);
  if (!readValue(__func__, message, "data.numTagRegBlocks", pNumTagRegBlocks)) result = -1;
  readList(__func__, message, "data.TagRegBlocks", false, *pNumTagRegBlocks, ovk_MaxTagRegBlocks, pTagRegBlocks);
  if (!readValue(__func__, message, "data.numResRegBlocks", pNumResRegBlocks)) result = -2;
  readList(__func__, message, "data.ResRegBlocks", true, *pNumResRegBlocks, ovk_MaxResRegBlocks, pResRegBlocks);
  if (!readValue(__func__, message, "data.ModbusBufferSize", pModbusBufferSize)) result = -3;
  OVK_TRACE(traceProgress, "getReadResponseDevInfoContent returned %d\n", result);
  return result;
}
