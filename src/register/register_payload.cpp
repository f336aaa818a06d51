// The payloads of the register messages:
//
//   register block   {"start":100,"words":[1,65535]}
//   write request    "data": one block for each area with a count above 0
//   read response    "data": one block for each of the two areas, also for an empty one; none in a failed response
//
// Writers do not limit the count of an area, readers take at most 1024 words of each of at most two areas.

#include "register/register_payload.h"

#include <array>
#include <cstdio>

#include "core/catalogue.h"
#include "core/text.h"
#include "core/trace.h"
#include "message/envelope.h"
#include "message/lookup.h"
#include "message/value_text.h"

namespace {

struct AreaOutputs {
  int* start;
  uint16_t* values;
  int* count;
};
using TwoAreas = std::array<AreaOutputs, 2>;

enum class NegativeStart { taken, refused };

void addRegisterBlock(const char* function, Json& blocks, const RegisterArea& area) {
  OVK_TRACE_AS(function, traceProgress, "process register area start_address %d/0x%X, num_regs %d\n", area.start,
               static_cast<unsigned>(area.start), area.count);
  Json block;
  block.add("start", ovk::number(area.start));
  Json words(Json::Kind::array);
  for (int i = 0; i < area.count; ++i) words.add(ovk::number(area.values[i]));
  block.add("words", ovk::nested(words));
  OVK_TRACE_AS(function, traceProgress, "JSON registerBlock string: %s \n", block.c_str());
  blocks.add(ovk::nested(block));
  OVK_TRACE_AS(function, traceProgress, "JSON arrayOfRegisterBlock string: %s \n", blocks.c_str());
}

// Reads one area's words. False when there are more of them than an area can hold; the count stays as it was then.
bool readWords(const char* function, const Json& message, ovk::ElementPath& words, const AreaOutputs& area) {
  int count = 0;
  int value = 0;
  while (message.GetValueAsInt(words.element(count), &value)) {
    if (count == ovk_MaxRegistersPerArea) {
      OVK_TRACE_AS(function, traceError, "requested more registers than allowed, maximum is %d registers per block \n",
                   count);
      return false;
    }
    area.values[count++] = static_cast<uint16_t>(value);
  }
  Json other;
  if (message.getObject(words.text(), other)) {
    OVK_TRACE_AS(function, traceError, "'%s' is no integer: %s; the words end there\n", words.text(), other.c_str());
  }
  *area.count = count;
  return true;
}

void readAreas(const char* function, const Json& message, const TwoAreas& areas, NegativeStart negativeStart) {
  ovk::ElementPath blocks("data");
  ovk::ElementPath words[] = {ovk::ElementPath("data[0].words"), ovk::ElementPath("data[1].words")};
  int start = 0;
  for (int i = 0;; ++i) {
    const bool present = message.GetValueAsInt(blocks.member(i, "start"), &start);
    OVK_TRACE_AS(function, traceProgress, "stringName: %s \n", blocks.text());
    if (!present) return;
    if (i == static_cast<int>(areas.size())) {
      OVK_TRACE_AS(function, traceError, "Cannot handle more than 2 register areas\n");
      return;
    }
    const AreaOutputs& area = areas[static_cast<std::size_t>(i)];
    if (start < 0 && negativeStart == NegativeStart::refused) {
      *area.start = *area.count = -1;
      continue;
    }
    *area.start = start;
    if (!readWords(function, message, words[i], area)) return;
  }
}

} // namespace

int ovk_build_register_write_message(const std::string& dstFid, const std::string& dstGatewayFid,
                                     const std::string& srcFid, const std::string& refId, int sendNotification,
                                     const std::vector<RegisterArea>& areas, Json& msg) {
  if (dstFid.empty()) {
    OVK_TRACE(traceError, "Empty destination fid\n");
    return -1;
  }
  if (dstGatewayFid.empty()) {
    OVK_TRACE(traceError, "Empty destination gateway fid\n");
    return -2;
  }
  if (srcFid.empty()) {
    OVK_TRACE(traceError, "Empty source fid\n");
    return -3;
  }
  ovk::addHeading(msg, getServiceMsgType(ovk_Service_RegisterWriteClient), refId);
  if (sendNotification != 0 && sendNotification != 1) {
    OVK_TRACE(traceError, "Invalid value %d for sendNotification parameter\n", sendNotification);
    std::printf("### Invalid value %d for sendNotification parameter\n", sendNotification);
    return -4;
  }
  msg.add("sendNotification", ovk::number(sendNotification));
  ovk::addParticipants(msg, {srcFid, {}}, {dstFid, dstGatewayFid});
  Json blocks(Json::Kind::array);
  for (const RegisterArea& area : areas) {
    if (area.count > 0) {
      addRegisterBlock(__func__, blocks, area);
    } else {
      OVK_TRACE(traceProgress, "skip area start_address %d/0x%X, num_regs %d\n", area.start,
                static_cast<unsigned>(area.start), area.count);
    }
  }
  msg.add("data", ovk::nested(blocks));
  ovk::traceOutgoing(__func__, msg);
  return 0;
}

int ovk_build_data_read_response_message(const std::string& dstFid, const std::string& srcFid,
                                         const std::string& srcAtFid, const std::string& refId, bool success,
                                         const char* errReason, const std::vector<RegisterArea>& areas, Json& msg) {
  OVK_TRACE(traceProgress, "ovk_build_data_read_resp_message( dest_fid=%s, src_at_fid=%s, src_fid=%s, ref_id=%s ...\n",
            dstFid.c_str(), srcAtFid.c_str(), srcFid.c_str(), refId.c_str());
  OVK_TRACE(traceProgress, "ovk_build_data_read_resp_message ... success=%d, ErrReason=%s )\n", success ? 1 : 0,
            ovk::shown(errReason));
  if (dstFid.empty()) {
    OVK_TRACE(traceError, "Empty destination fid\n");
    return -1;
  }
  if (srcFid.empty()) {
    OVK_TRACE(traceError, "Empty source fid\n");
    return -2;
  }
  if (srcAtFid.empty()) {
    OVK_TRACE(traceError, "Empty src_at_fid\n");
    return -3;
  }
  ovk::addHeading(msg, getServiceMsgType(ovk_Service_RegisterReadServer), refId);
  ovk::addParticipants(msg, {srcFid, srcAtFid}, {dstFid, {}});
  Json blocks(Json::Kind::array);
  if (success) {
    for (const RegisterArea& area : areas) addRegisterBlock(__func__, blocks, area);
  }
  ovk::addOutcome(__func__, msg, success, errReason);
  if (success) msg.add("data", ovk::nested(blocks));
  ovk::traceOutgoing(__func__, msg);
  return 0;
}

int getWriteRequestMessageParameters(const char* msg, unsigned /*len*/, int* sendNotification, int* startRegister1,
                                     uint16_t* values1, int* numberRegisters1, int* startRegister2, uint16_t* values2,
                                     int* numberRegisters2) {
  Json message;
  message.load(msg);
  if (!message.GetValueAsInt("sendNotification", sendNotification)) {
    OVK_TRACE(traceError, "Cannot read mandatory sendNotification parameter from message\n");
    return -1;
  }
  const TwoAreas areas = {{{startRegister1, values1, numberRegisters1}, {startRegister2, values2, numberRegisters2}}};
  readAreas(__func__, message, areas, NegativeStart::refused);
  return 0;
}

int getMsgRegisterContent(const char* msg, unsigned /*len*/, int* startRegister1, uint16_t* values1,
                          int* numberRegisters1, int* startRegister2, uint16_t* values2, int* numberRegisters2) {
  const TwoAreas areas = {{{startRegister1, values1, numberRegisters1}, {startRegister2, values2, numberRegisters2}}};
  for (const AreaOutputs& area : areas) {
    if (area.start != nullptr && area.values != nullptr && area.count != nullptr) continue;
    OVK_TRACE(traceError, "Null Pointer passed!\n");
    return -1;
  }
  Json message;
  message.load(msg);
  readAreas(__func__, message, areas, NegativeStart::taken);
  return 0;
}

bool ovk::lacksValues(const char* function, const RegisterArea& area) {
  if (area.count <= 0 || area.values != nullptr) return false;
  OVK_TRACE_AS(function, traceError, "No values for the %d registers from %d on: null pointer\n", area.count,
               area.start);
  return true;
}
