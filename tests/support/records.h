#pragma once

#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

#include "ovk/ovk.h"
#include "tag/value_conversion.h"

// Callback records as texts, in which tests and fuzzers compare them, and one callback for the records of all services.

namespace records {

using InfoRsp = ovk_DescriptorReadRspCallbackData_t;
using InfoReq = ovk_DescriptorReadReqCallbackData_t;
using TagRsp = ovk_TagReadRspCallbackData_t;
using TagReq = ovk_TagReadReqCallbackData_t;
using ReadRsp = ovk_RegisterReadRspCallbackData_t;
using ReadReq = ovk_RegisterReadReqCallbackData_t;
using WriteRsp = ovk_RegisterWriteRspCallbackData_t;
using WriteReq = ovk_RegisterWriteReqCallbackData_t;

template <typename... Parts>
std::string joined(const Parts&... parts) {
  std::ostringstream text;
  (text << ... << parts);
  return text.str();
}

inline std::string itemText(int value) { return std::to_string(value); }
inline std::string itemText(const Tag_t& tag) { return joined(tag.tag_type, '/', tag.tag_num); }
inline std::string itemText(const TagItem_t& i) {
  return joined('{', i.fid, ' ', i.tag_type, ' ', i.tag, ' ', int{i.idd}, " '", ovk::tagValueText(i), "' ", i.startReg,
                ' ', i.regLen, '}');
}

/// The items up to the last that is not all zero.
template <typename Item>
std::string listed(const Item* items, int count) {
  if (items == nullptr) return "null";
  static const Item zero{};
  while (count > 0 && std::memcmp(&items[count - 1], &zero, sizeof zero) == 0) --count;
  std::string text = "[";
  for (int i = 0; i < count; ++i) text += (i == 0 ? "" : " ") + itemText(items[i]);
  return text + "]";
}

template <typename Response>
std::string outcome(const Response& r) {
  return joined(r.success, r.errReason, ' ');
}

template <typename Record>
std::string areas(const Record& r) {
  return joined(r.startRegister1, ':', r.numberRegisters1, listed(r.pStartRegister1, 1024), ' ', r.startRegister2, ':',
                r.numberRegisters2, listed(r.pStartRegister2, 1024));
}

/// All that a record says, but its header.
inline std::string described(const InfoRsp& r) {
  return joined(outcome(r), r.numTagRegBlocks, listed(r.pTagRegBlocks, 10), ' ', r.numResRegBlocks,
                listed(r.pResRegBlocks, 10), ' ', r.ModbusBufferSize);
}
inline std::string described(const InfoReq& /*record*/) { return "request"; }
inline std::string described(const TagRsp& r) {
  return joined(outcome(r), r.numTagItems, listed(r.pTagItems, r.numTagItems));
}
inline std::string described(const TagReq& r) { return joined(r.numTags, listed(r.pTags, r.numTags)); }
inline std::string described(const ReadRsp& r) { return outcome(r) + areas(r); }
inline std::string described(const ReadReq& r) {
  return joined(r.startRegister1, ':', r.numberRegisters1, ' ', r.startRegister2, ':', r.numberRegisters2);
}
inline std::string described(const WriteRsp& r) { return outcome(r) + "response"; }
inline std::string described(const WriteReq& r) { return joined(r.sendNotification, ' ', areas(r)); }

template <typename Record>
std::string header(const Record& r) {
  return joined(r.srcFid, ' ', r.dstFid, ' ', r.refId);
}

template <typename Callback, typename Record>
int callback(void* data, unsigned length) {
  if (length != sizeof(Record)) std::abort();
  return Callback()(*static_cast<Record*>(data));
}

/// Registers for all services; a `Callback` made for it is called with each record.
template <typename Callback>
void registerForAll() {
  const ovk_ServiceCallback_t callbacks[] = {callback<Callback, InfoRsp>,  callback<Callback, InfoReq>,
                                             callback<Callback, TagRsp>,   callback<Callback, TagReq>,
                                             callback<Callback, ReadRsp>,  callback<Callback, ReadReq>,
                                             callback<Callback, WriteRsp>, callback<Callback, WriteReq>};
  int service = 0;
  for (const ovk_ServiceCallback_t each : callbacks) {
    ovk_RegisterForService(static_cast<ovk_Service_t>(service++), reinterpret_cast<void*>(each), nullptr, nullptr,
                           nullptr);
  }
}

} // namespace records
