#pragma once

#include <string_view>

#include "core/catalogue.h"
#include "messages.h"
#include "platform.h"
#include "platform/transfer_channel.h"
#include "tag/value_conversion.h"

// From the values to the channel by means of a general JSON library: the library's own text, byte for byte, put together in
// one pass. Addresses are constants here, nothing is checked, traced or looked up.
//
// `Json` adapts a JSON library: beginObject(), endObject(), beginArray(), endArray(), key(name), value(int, bool or
// std::string_view), text().

namespace bench {

template <typename Json>
class Encoder {
public:
  static bool send(const Message& message) {
    Json json;
    json.beginObject();
    heading(json, message);
    if (isResponse(message)) {
      add(json, "success", true);
    }
    json.key("data");
    payload(json, message);
    json.endObject();
    const std::string_view text = json.text();
    const int channel = getTransferChannelWriteIdx(message.sender);
    return writeTransferChannel(channel, text.data(), static_cast<unsigned>(text.size())) == 0;
  }

private:
  static bool isResponse(const Message& message) { return !ovk::isClientService(message.sender); }

  template <typename Value>
  static void add(Json& json, std::string_view key, Value value) {
    json.key(key);
    json.value(value);
  }

  static void text(Json& json, std::string_view key, std::string_view value) { add(json, key, value); }

  static void participant(Json& json, std::string_view key, const char* fid, const char* at) {
    json.key(key);
    json.beginObject();
    text(json, "fid", fid);
    if (at != nullptr) text(json, "at", at);
    json.endObject();
  }

  // The bench's own controller asks and answers; the read response names it where others name a parent.
  static void heading(Json& json, const Message& message) {
    add(json, "msg_type", getServiceMsgType(message.sender));
    text(json, "ver", "1.0");
    text(json, "ref_id", message.refId);
    if (message.sender == ovk_Service_RegisterWriteClient) add(json, "sendNotification", 1);
    const bool answers = isResponse(message);
    const char* const reachedAt = message.sender == ovk_Service_RegisterReadServer ? ownFid : peerFid;
    participant(json, "src", ownFid, answers ? reachedAt : nullptr);
    participant(json, "dst", peerFid, answers ? nullptr : peerFid);
  }

  static void payload(Json& json, const Message& message) {
    switch (message.sender) {
    case ovk_Service_RegisterReadClient: return readRequest(json);
    case ovk_Service_RegisterReadServer:
    case ovk_Service_RegisterWriteClient: return registerBlocks(json, message);
    case ovk_Service_DescriptorReadServer: return deviceInfo(json);
    case ovk_Service_TagReadClient: return selectors(json, message);
    case ovk_Service_TagReadServer: return items(json, message);
    case ovk_Service_RegisterWriteServer: json.beginObject(); return json.endObject();
    case ovk_Service_DescriptorReadClient: json.beginArray(); return json.endArray();
    }
  }

  static void readRequest(Json& json) {
    json.beginArray();
    for (const int start : {100, 4096}) {
      json.beginObject();
      add(json, "start", start);
      add(json, "num", 16);
      json.endObject();
    }
    json.endArray();
  }

  template <typename Values>
  static void list(Json& json, std::string_view key, const Values& values) {
    json.key(key);
    json.beginArray();
    for (const int value : values) json.value(value);
    json.endArray();
  }

  static void registerBlocks(Json& json, const Message& message) {
    json.beginArray();
    for (const auto& words : message.areas) {
      json.beginObject();
      add(json, "start", &words == message.areas.data() ? 100 : 4096);
      list(json, "words", words);
      json.endObject();
    }
    json.endArray();
  }

  static void deviceInfo(Json& json) {
    json.beginObject();
    add(json, "numTagRegBlocks", ovk_MaxTagRegBlocks);
    list(json, "TagRegBlocks", tagRegBlocks);
    add(json, "numResRegBlocks", ovk_MaxResRegBlocks);
    list(json, "ResRegBlocks", resRegBlocks);
    add(json, "ModbusBufferSize", modbusBufferSize);
    json.endObject();
  }

  static void selectors(Json& json, const Message& message) {
    json.beginObject();
    add(json, "num", static_cast<int>(message.selectors.size()));
    json.key("tags");
    json.beginArray();
    for (const DevTagDevInfoTag& selector : message.selectors) {
      json.beginObject();
      add(json, "tag_type", selector.tag_type);
      add(json, "tag_num", int{selector.tag_num});
      json.endObject();
    }
    json.endArray();
    json.endObject();
  }

  static void items(Json& json, const Message& message) {
    json.beginObject();
    add(json, "num", static_cast<int>(message.items.size()));
    json.key("tag_items");
    json.beginArray();
    for (const TagItem_t& item : message.items) {
      json.beginObject();
      text(json, "fid", peerFid);
      add(json, "tag", int{item.tag});
      add(json, "idd", int{item.idd});
      text(json, "data", ovk::tagValueText(item));
      add(json, "startReg", item.startReg);
      add(json, "regLen", item.regLen);
      json.endObject();
    }
    json.endArray();
    json.endObject();
  }
};

} // namespace bench
