// The bodies of the tag records.
//
// The arrays have the announced number of elements, zero-filled; decoding stops early at an element without its last
// member, and the announced count stays. A count that no message can announce is treated as missing, so that a few bytes
// from the bus never make the library allocate gigabytes.

#include "tag/tag_callback_data.h"

#include "core/block.h"
#include "core/text.h"
#include "core/trace.h"
#include "message/lookup.h"
#include "ovk/service.h"
#include "tag/value_conversion.h"

namespace {

constexpr int maxItems = ovk_MaxMessageSize + 1; // more than bytes in a message

bool readCount(const char* function, const Json& message, int& count) {
  int announced = 0;
  if (!ovk::findNumber(function, message, "data.num", "num", announced)) return false;
  if (announced < 0 || announced > maxItems) {
    OVK_TRACE_AS(function, traceError, "impossible 'data.num' %d taken as missing, possible are 0 to %d\n", announced,
                 maxItems);
    return false;
  }
  count = announced;
  return true;
}

// Attaches a zero-filled array for `count` elements; a count of 0 needs none, but the line is written all the same.
template <typename Item>
bool attachArray(const char* function, const char* countName, const char* itemName, const char* arrayName,
                 int32_t& count, Item*& array) {
  array = ovk::allocateBlock<Item>(static_cast<std::size_t>(count)).release();
  OVK_TRACE_AS(function, traceProgress, "malloc pCallbackData->%s %d sizeof(%s) %d pCallbackData->%s %p\n", countName,
               count, itemName, static_cast<int>(sizeof(Item)), arrayName, static_cast<void*>(array));
  if (array != nullptr || count == 0) return true;
  OVK_TRACE_AS(function, traceError, "no memory for %d elements of pCallbackData->%s\n", count, arrayName);
  count = 0;
  return false;
}

// Fills the items of a response, one after the other.
class ItemReader {
public:
  ItemReader(const char* function, const Json& message, const char* msg)
      : function_(function), message_(message), msg_(msg) {}

  // False when the item lacks its last member.
  bool read(int index, TagItem_t& item) {
    index_ = index;
    readFid(item);
    readInteger("tag_type", item.tag_type);
    readInteger("tag", item.tag);
    readInteger("idd", item.idd);
    readValue(item);
    readInteger("startReg", item.startReg);
    return readInteger("regLen", item.regLen);
  }

private:
  // Keeps as many low bits as the field has; 0 when the member is absent.
  template <std::size_t N, typename Field>
  bool readInteger(const char (&name)[N], Field& field) {
    int value = 0;
    const bool found = message_.GetValueAsInt(path_.member(index_, name), &value);
    field = static_cast<Field>(value);
    OVK_TRACE_AS(function_, traceProgress,
                 "GetJsonValue_... with %s getRequestMessageParameters pCallbackData->pTagItems[%d].%s: %i \n",
                 path_.text(), index_, name, field);
    return found;
  }

  void readFid(TagItem_t& item) {
    const std::string_view path = path_.member(index_, "fid");
    if (ovk::findText(function_, message_, path, msg_, text_)) {
      if (text_.size() > ovk_FusionIdLength) {
        OVK_TRACE_AS(function_, traceError, "fid %s cut to %d characters\n", text_.c_str(), ovk_FusionIdLength);
      }
      ovk::copyText(item.fid, text_);
    }
    OVK_TRACE_AS(function_, traceProgress,
                 "GetJsonValue_... with %s getRequestMessageParameters tags_index: %d "
                 "pCallbackData->pTagItems[tags_index].fid: %s \n",
                 path_.text(), index_, item.fid);
  }

  void readValue(TagItem_t& item) {
    const std::string_view path = path_.member(index_, "data");
    const bool found = ovk::findText(function_, message_, path, msg_, text_);
    if (!found) text_.clear();
    OVK_TRACE_AS(function_, traceProgress,
                 "GetJsonValue_... with %s getRequestMessageParameters tags_index: %d tmp_str: %s \n", path_.text(),
                 index_, text_.c_str());
    if (found) ovk::readTagValue(function_, text_, item);
  }

  const char* function_;
  const Json& message_;
  const char* msg_;
  ovk::ElementPath path_{"data.tag_items"};
  int index_ = 0;
  std::string text_;
};

// A selector's member; 0 when absent.
bool readSelectorMember(const char* function, const Json& message, std::string_view path, int& value) {
  value = 0;
  const bool found = message.GetValueAsInt(path, &value);
  OVK_TRACE_AS(function, traceProgress, "GetJsonValue_int with stringName: %s returned %d\n", path.data(),
               found ? 1 : 0);
  return found;
}

} // namespace

int getTagReadReqCallbackData(const char* msg, unsigned int /*msgLen*/, ovk_TagReadReqCallbackData_t* pCallbackData) {
  Json message;
  message.load(msg);
  int32_t& count = pCallbackData->numTags;
  int result = readCount(__func__, message, count) ? 0 : -1;
  if (!attachArray(__func__, "numTags", "Tag_t", "pTags", count, pCallbackData->pTags)) result = -1;
  ovk::ElementPath path("data.tags");
  for (int i = 0; i < count; ++i) {
    Tag_t& tag = pCallbackData->pTags[i];
    int value = 0;
    readSelectorMember(__func__, message, path.member(i, "tag_num"), value);
    tag.tag_num = static_cast<uint16_t>(value);
    const bool hasType = readSelectorMember(__func__, message, path.member(i, "tag_type"), value);
    tag.tag_type = value;
    if (!hasType) break;
  }
  OVK_TRACE(traceProgress, "getTagReadReqCallbackData returns %d\n", result);
  return result;
}

int getTagReadRspCallbackData(const char* msg, unsigned int /*msgLen*/, ovk_TagReadRspCallbackData_t* pCallbackData) {
  Json message;
  message.load(msg);
  int32_t& count = pCallbackData->numTagItems;
  readCount(__func__, message, count);
  const bool attached = attachArray(__func__, "numTagItems", "TagItem_t", "pTagItems", count, pCallbackData->pTagItems);
  ItemReader reader(__func__, message, msg);
  for (int i = 0; i < count; ++i) {
    TagItem_t& item = pCallbackData->pTagItems[i];
    const bool complete = reader.read(i, item);
    OVK_TRACE(traceProgress, "dest_fid %s numTags=%d Tag=%d idd=%d startReg=%d regLen=%d f=%f ui=%d i=%d\n",
              pCallbackData->dstFid, count, item.tag, item.idd, item.startReg, item.regLen,
              static_cast<double>(item.data.f), static_cast<int>(item.data.ui), item.data.i);
    if (!complete) break;
  }
  const int result = attached ? 0 : -1;
  OVK_TRACE(traceProgress, "getTagReadRspCallbackData returns %d\n", result);
  return result;
}
