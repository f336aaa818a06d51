// The server side of tag access, the tag read response:
//
//   "data": {"num":1,"tag_items":[{"fid":"...","tag":17,"idd":0,"data":"21.500000","startReg":100,"regLen":2}]}
//
// Every item carries the requester's identifier; the item's own one and its type are not sent.

#include "core/text.h"
#include "core/trace.h"
#include "message/envelope.h"
#include "message/value_text.h"
#include "ovk/ovk.h"
#include "tag/value_conversion.h"

namespace {

void addItem(Json& items, const char* fusionIdDst, const TagItem_t& item) {
  Json object;
  object.add("fid", ovk::quoted(fusionIdDst));
  object.add("tag", ovk::number(item.tag));
  object.add("idd", ovk::number(item.idd));
  object.add("data", ovk::quoted(ovk::tagValueText(item)));
  object.add("startReg", ovk::number(item.startReg));
  object.add("regLen", ovk::number(item.regLen));
  items.add(ovk::nested(object));
}

} // namespace

unsigned int ovk_serveReadTag(const char* fusionIdDst, const char* fusionIdSrc, const char* refId, unsigned int numTags,
                              _TagItem_t* items, bool success, const char* ErrReason) {
  if (ovk::isNullOrEmpty(fusionIdSrc)) {
    OVK_TRACE(traceError, "Empty source fid\n");
    return ovk_Status_Invalid;
  }
  if (ovk::isNullOrEmpty(fusionIdDst)) {
    OVK_TRACE(traceError, "Empty destination fid\n");
    return ovk_Status_Invalid;
  }
  OVK_TRACE(traceProgress, "ovk_serveReadTag( fusionIdDst=%s, ref_id=%s success=%d, ErrReason=%s)\n", fusionIdDst,
            ovk::shown(refId), success ? 1 : 0, ovk::shown(ErrReason));
  if (items == nullptr && numTags > 0) {
    if (success) {
      OVK_TRACE(traceError, "No tag items for numTags=%u: null pointer\n", numTags);
      return ovk_Status_Invalid;
    }
    numTags = 0; // a failed answer needs none
  }
  Json tagItems(Json::Kind::array);
  for (unsigned i = 0; i < numTags; ++i) {
    const TagItem_t& item = items[i];
    OVK_TRACE(traceProgress, "dest_fid %s  numTags=%d Tag=%d idd=%d startReg=%d regLen=%d f=%f ui=%d i=%d\n",
              fusionIdDst, static_cast<int>(numTags), item.tag, item.idd, item.startReg, item.regLen,
              static_cast<double>(item.data.f), static_cast<int>(item.data.ui), item.data.i);
    addItem(tagItems, fusionIdDst, item);
  }
  Json data;
  data.add("num", ovk::number(numTags));
  data.add("tag_items", ovk::nested(tagItems));
  return ovk_build_and_transfer_message(ovk_Service_TagReadServer, fusionIdDst, fusionIdSrc, refId, true, success,
                                        ErrReason, data);
}
