#pragma once

#include <algorithm>
#include <string_view>
#include <type_traits>

#include "callback/callback_data.h"
#include "callback/record_table.h"
#include "core/block.h"
#include "core/catalogue.h"
#include "core/registry.h"
#include "core/text.h"
#include "messages.h"
#include "ovk/records.h"
#include "tag/value_conversion.h"

// From a message to the callback by means of a general JSON library, as somebody would write it who has only this to do:
// one parse, members read in the order in which they stand, texts checked for their length, nothing traced or counted.
// Record and blocks come from the same heap as the library's, and its own functions release them and convert the texts of
// tag values.
//
// `Json` adapts a JSON library:
//   Value                                              a value or the lack of one, cheap to copy
//   Document(const std::string& text), root()          the text parsed; what is no JSON has no members
//   member(Value, std::string_view) -> Value
//   read(Value, int& or std::string_view& or bool&)    whether the value is there and of that type
//   each(Value, f)                                     f(Value) for every element of an array until it gives false

namespace bench {

/// A record from its allocation to its release.
class HeapRecord {
public:
  explicit HeapRecord(ovk_Service_t service) : service_(service) { allocateCallbackData(service, &data_, &length_); }
  HeapRecord(const HeapRecord&) = delete;
  HeapRecord& operator=(const HeapRecord&) = delete;
  ~HeapRecord() { releaseCallbackData(service_, data_, length_); }
  void* data() const { return data_; }
  unsigned length() const { return length_; }

private:
  ovk_Service_t service_;
  void* data_ = nullptr;
  unsigned length_ = 0;
};

template <typename Json>
class Decoder {
  using Value = typename Json::Value;

public:
  static bool receive(const Message& message) {
    typename Json::Document document(message.text);
    const Value root = document.root();
    int type = 0;
    ovk_Service_t service{};
    if (!number(root, "msg_type", type) || getService(type, &service) != 0) return false;
    const HeapRecord record(service);
    if (record.data() == nullptr || !fillers[service](root, record.data())) return false;
    return ovk::callbackOf(service)(record.data(), record.length()) >= 0;
  }

private:
  static bool number(Value object, std::string_view name, int& value) {
    return Json::read(Json::member(object, name), value);
  }

  template <typename Field>
  static bool cutNumber(Value object, std::string_view name, Field& field) {
    int value = 0;
    if (!number(object, name, value)) return false;
    field = static_cast<Field>(value);
    return true;
  }

  static bool fid(Value participant, char (&field)[ovk_FusionIdLength + 1]) {
    std::string_view value;
    if (!Json::read(Json::member(participant, "fid"), value) || value.size() != ovk_FusionIdLength) return false;
    ovk::copyText(field, value);
    return true;
  }

  template <typename Record>
  static bool outcome(Value root, Record& record) {
    bool success = false;
    if (!Json::read(Json::member(root, "success"), success)) return false;
    record.success = success ? 1 : 0;
    std::string_view reason;
    if (success) return true;
    if (!Json::read(Json::member(root, "err_reason"), reason)) return false;
    ovk::copyText(record.errReason, reason);
    return true;
  }

  // Up to "dst"; the notification flag stands between them.
  template <typename Record>
  static bool header(Value root, Record& record) {
    std::string_view reference;
    if (!Json::read(Json::member(root, "ref_id"), reference) || reference.size() > ovk_RefIdLength) return false;
    ovk::copyText(record.refId, reference);
    if constexpr (std::is_same_v<Record, ovk_RegisterWriteReqCallbackData_t>) {
      if (!number(root, "sendNotification", record.sendNotification)) return false;
    }
    return fid(Json::member(root, "src"), record.srcFid) && fid(Json::member(root, "dst"), record.dstFid);
  }

  template <typename Record>
  static bool fill(Value root, void* data) {
    Record& record = *static_cast<Record*>(data);
    if (!header(root, record)) return false;
    if constexpr (ovk::isResponse<Record>) {
      if (!outcome(root, record)) return false;
    }
    return body(root, record);
  }

  static bool readWords(Value block, uint16_t* values, int32_t& count) {
    count = 0;
    return Json::each(Json::member(block, "words"), [&](Value word) {
      int value = 0;
      if (count == ovk_MaxRegistersPerArea || !Json::read(word, value)) return false;
      values[count++] = static_cast<uint16_t>(value);
      return true;
    });
  }

  template <typename Record>
  static bool readAreas(Value root, Record& record) {
    record.pStartRegister1 = ovk::allocateBlock<uint16_t>(ovk_MaxRegistersPerArea).release();
    record.pStartRegister2 = ovk::allocateBlock<uint16_t>(ovk_MaxRegistersPerArea).release();
    if (record.pStartRegister1 == nullptr || record.pStartRegister2 == nullptr) return false;
    int area = 0;
    return Json::each(Json::member(root, "data"), [&](Value block) {
      const bool isFirst = area++ == 0;
      return area <= 2 && number(block, "start", isFirst ? record.startRegister1 : record.startRegister2) &&
             readWords(block, isFirst ? record.pStartRegister1 : record.pStartRegister2,
                       isFirst ? record.numberRegisters1 : record.numberRegisters2);
    });
  }

  static bool body(Value root, ovk_RegisterReadRspCallbackData_t& record) { return readAreas(root, record); }
  static bool body(Value root, ovk_RegisterWriteReqCallbackData_t& record) { return readAreas(root, record); }
  static bool body(Value /*root*/, ovk_RegisterWriteRspCallbackData_t& /*record*/) { return true; }
  static bool body(Value /*root*/, ovk_DescriptorReadReqCallbackData_t& /*record*/) { return true; }

  static bool body(Value root, ovk_RegisterReadReqCallbackData_t& record) {
    int area = 0;
    return Json::each(Json::member(root, "data"), [&](Value block) {
      const bool isFirst = area++ == 0;
      return area <= 2 && number(block, "start", isFirst ? record.startRegister1 : record.startRegister2) &&
             number(block, "num", isFirst ? record.numberRegisters1 : record.numberRegisters2);
    });
  }

  static bool readList(Value data, std::string_view name, int32_t* slots, int room) {
    int count = 0;
    return Json::each(Json::member(data, name), [&](Value element) {
      int value = 0;
      if (count == room || !Json::read(element, value)) return false;
      slots[count++] = value & 0xFFFF;
      return true;
    });
  }

  static bool body(Value root, ovk_DescriptorReadRspCallbackData_t& record) {
    record.pTagRegBlocks = ovk::allocateBlock<int32_t>(ovk_MaxTagRegBlocks).release();
    record.pResRegBlocks = ovk::allocateBlock<int32_t>(ovk_MaxTagRegBlocks).release();
    if (record.pTagRegBlocks == nullptr || record.pResRegBlocks == nullptr) return false;
    const Value data = Json::member(root, "data");
    return number(data, "numTagRegBlocks", record.numTagRegBlocks) &&
           readList(data, "TagRegBlocks", record.pTagRegBlocks, ovk_MaxTagRegBlocks) &&
           number(data, "numResRegBlocks", record.numResRegBlocks) &&
           readList(data, "ResRegBlocks", record.pResRegBlocks, ovk_MaxResRegBlocks) &&
           number(data, "ModbusBufferSize", record.ModbusBufferSize);
  }

  static bool body(Value root, ovk_TagReadReqCallbackData_t& record) {
    const Value data = Json::member(root, "data");
    if (!number(data, "num", record.numTags) || record.numTags < 0) return false;
    record.pTags = ovk::allocateBlock<Tag_t>(static_cast<std::size_t>(record.numTags)).release();
    int count = 0;
    return record.pTags != nullptr && Json::each(Json::member(data, "tags"), [&](Value selector) {
             if (count == record.numTags) return false;
             Tag_t& tag = record.pTags[count++];
             return number(selector, "tag_type", tag.tag_type) && cutNumber(selector, "tag_num", tag.tag_num);
           });
  }

  // The type of a tag, which no writer puts into an item, is not looked for.
  static bool readItem(Value value, TagItem_t& item) {
    std::string_view data;
    if (!fid(value, item.fid) || !cutNumber(value, "tag", item.tag) || !cutNumber(value, "idd", item.idd)) return false;
    if (!Json::read(Json::member(value, "data"), data)) return false;
    ovk::readTagValue("bench", data, item);
    return number(value, "startReg", item.startReg) && number(value, "regLen", item.regLen);
  }

  static bool body(Value root, ovk_TagReadRspCallbackData_t& record) {
    const Value data = Json::member(root, "data");
    if (!number(data, "num", record.numTagItems) || record.numTagItems < 0) return false;
    record.pTagItems = ovk::allocateBlock<TagItem_t>(static_cast<std::size_t>(record.numTagItems)).release();
    int count = 0;
    return record.pTagItems != nullptr && Json::each(Json::member(data, "tag_items"), [&](Value item) {
             return count < record.numTagItems && readItem(item, record.pTagItems[count++]);
           });
  }

  static constexpr bool (*fillers[])(Value root, void* record) = {
      fill<ovk_DescriptorReadRspCallbackData_t>, fill<ovk_DescriptorReadReqCallbackData_t>,
      fill<ovk_TagReadRspCallbackData_t>,        fill<ovk_TagReadReqCallbackData_t>,
      fill<ovk_RegisterReadRspCallbackData_t>,   fill<ovk_RegisterReadReqCallbackData_t>,
      fill<ovk_RegisterWriteRspCallbackData_t>,  fill<ovk_RegisterWriteReqCallbackData_t>,
  };
};

} // namespace bench
