// The client side of tag access: selectors from configuration items, and the tag read request:
//
//   "data": {"num":2,"tags":[{"tag_type":1,"tag_num":17},{"tag_type":2,"tag_num":3}]}

#include <limits>

#include "core/registry.h"
#include "core/trace.h"
#include "message/envelope.h"
#include "message/value_text.h"
#include "ovk/ovk.h"
#include "tag/value_conversion.h"

namespace {

constexpr std::size_t maxFidLength = ovk_FusionIdLength;

// The text of a member of the configuration; traced with the whole configuration when it is missing.
bool configText(const char* function, const Json& config, const char* path, const char* what, std::string& text) {
  Json value;
  if (config.getObject(path, value)) {
    text = value.text();
    return true;
  }
  OVK_TRACE_AS(function, traceError, "No %s found in configuration_item %s\n", what, config.c_str());
  return false;
}

// The number of the first port's tag, of either type, as it stands.
bool findTag(const char* function, const Json& config, int32_t& tagType, std::string& number) {
  Json value;
  if (config.getObject("telegram[0].portlist[0].tag", value)) {
    OVK_TRACE_AS(function, traceProgress, "getTagFromConfig: DevTag found\n");
    tagType = DevTag;
    number = value.text();
    return true;
  }
  if (!configText(function, config, "telegram[0].portlist[0].deviceinfo", "tag", number)) return false;
  OVK_TRACE_AS(function, traceProgress, "getTagFromConfig: DevInfoTag found\n");
  tagType = DevInfoTag;
  return true;
}

unsigned takeTag(const char* function, const Json& config, DevTagDevInfoTag& tag, const std::string& fid) {
  int32_t tagType = 0;
  std::string text;
  if (!findTag(function, config, tagType, text)) return ovk_Status_Invalid;
  OVK_TRACE_AS(function, traceProgress, "getTagFromConfig: DevTag or DevInfoTag found, handle it\n");
  std::int64_t number = 0;
  if (!ovk::readNumber(text, ovk::NumberBase::decimal, std::numeric_limits<int32_t>::min(),
                       std::numeric_limits<int32_t>::max(), number)) {
    OVK_TRACE_AS(function, traceError, "Parsing error! (%s)\n", config.c_str());
    return ovk_Status_Invalid;
  }
  tag.tag_type = tagType;
  tag.tag_num = static_cast<uint16_t>(number);
  OVK_TRACE_AS(function, traceProgress, "fusionIdReturn=%s  tag_vector.push_back  tag_type=%d, tag_num=%d\n",
               fid.c_str(), tag.tag_type, tag.tag_num);
  return ovk_Status_Done;
}

} // namespace

unsigned int getTagFromConfig(std::string tagConfig, DevTagDevInfoTag& tag, std::string& fusionIdReturn) {
  if (tagConfig.empty()) {
    OVK_TRACE(traceError, "Invalid tag request: tagConfig.size()=%d\n", 0);
    return ovk_Status_Invalid;
  }
  OVK_TRACE(traceProgress, "tagConfig = %s\n", tagConfig.c_str());
  Json config;
  config.load(tagConfig);
  Json telegram;
  if (!config.getObject("telegram", telegram)) {
    OVK_TRACE(traceError, "No telegram found in config_item %s\n", tagConfig.c_str());
    return ovk_Status_Invalid;
  }
  if (telegram.empty()) {
    OVK_TRACE(traceProgress, "Empty configuration %s\n", tagConfig.c_str());
    return ovk_Status_NotWritten;
  }
  std::string fid;
  if (!configText(__func__, config, "telegram[0].fid", "fid", fid)) return ovk_Status_Invalid;
  if (fid.size() > maxFidLength) {
    OVK_TRACE(traceError, "fid %s > %d!\n", fid.c_str(), static_cast<int>(maxFidLength));
    return ovk_Status_Invalid;
  }
  fusionIdReturn = fid;
  return takeTag(__func__, config, tag, fid);
}

unsigned int ovk_ReadTags(std::string fusionIdDst, std::string refId, std::vector<DevTagDevInfoTag> tag_vector) {
  if (!ovk::canReceiveAnswer(__func__, ovk_Service_TagReadClient)) return ovk_Status_NoCallback;
  if (tag_vector.empty()) {
    OVK_TRACE(traceError, "Invalid tag request: tag_vector.size=%d\n", 0);
    return ovk_Status_Invalid;
  }
  for (std::size_t i = 0; i < tag_vector.size(); ++i) {
    OVK_TRACE(traceProgress, "tag_vector.at(%d)=%d\n", static_cast<int>(i), tag_vector[i].tag_type);
  }
  Json tags(Json::Kind::array);
  for (const DevTagDevInfoTag& tag : tag_vector) {
    Json element;
    element.add("tag_type", ovk::number(tag.tag_type));
    element.add("tag_num", ovk::number(tag.tag_num));
    tags.add(ovk::nested(element));
    OVK_TRACE(traceProgress, "tag_type=%d, tag_num=%d \n", tag.tag_type, tag.tag_num);
  }
  Json data;
  data.add("num", ovk::number(static_cast<long long>(tag_vector.size())));
  data.add("tags", ovk::nested(tags));
  return ovk_build_and_transfer_message(ovk_Service_TagReadClient, fusionIdDst.c_str(), ovk::ownParticipant,
                                        refId.c_str(), false, false, nullptr, data);
}
