// What a message says, in one short line.
//
// Messages may come from any program: nothing of their form is taken for granted.

#include "passing.h"

#include <map>

#include "arguments.h"

namespace tool {
namespace {

constexpr size_t kMostValues = 8;

const std::map<int64_t, const char*>& typeNames() {
  static const std::map<int64_t, const char*> names = {
      {ovk_Message_RegisterReadRequest, "read request"},   {ovk_Message_RegisterReadResponse, "read answer"},
      {ovk_Message_RegisterWriteRequest, "write request"}, {ovk_Message_RegisterWriteResponse, "write answer"},
      {ovk_Message_DescriptorReadRequest, "info request"}, {ovk_Message_DescriptorReadResponse, "info answer"},
      {ovk_Message_TagReadRequest, "tags request"},        {ovk_Message_TagReadResponse, "tags answer"},
  };
  return names;
}

/// The member at the path; null when there is none.
const Json& at(const Json& value, std::initializer_list<const char*> path) {
  static const Json none;
  const Json* found = &value;
  for (const char* name : path) {
    if (!found->is_object() || !found->contains(name)) return none;
    found = &(*found)[name];
  }
  return *found;
}

std::string textOf(const Json& value) {
  if (value.is_null()) return "";
  return value.is_string() ? value.get<std::string>() : value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// The elements one by one, with a blank between them; of many, the first few.
template <class Text>
std::string listed(const Json& list, Text text) {
  std::string all;
  size_t count = 0;
  if (!list.is_array()) return all;
  for (const Json& element : list) {
    if (count++ == kMostValues) return all + " ... (" + std::to_string(list.size()) + ")";
    all += (all.empty() ? "" : " ") + text(element);
  }
  return all;
}

/// "100:4", or "100 = 1 0 1450" with the words; nothing for an area that is not used.
std::string areaOf(const Json& block) {
  const std::string start = textOf(at(block, {"start"}));
  if (!block.contains("words")) return at(block, {"num"}) == 0 ? "" : start + ":" + textOf(at(block, {"num"}));
  const std::string words = listed(block["words"], textOf);
  return words.empty() ? "" : start + " = " + words;
}

std::string areas(const Json& data) {
  std::string all;
  if (!data.is_array()) return all;
  for (const Json& block : data) {
    const std::string area = block.is_object() ? areaOf(block) : "";
    if (!area.empty()) all += (all.empty() ? "" : ", ") + area;
  }
  return all;
}

std::string selectorOf(const Json& tag) {
  const bool info = at(tag, {"tag_type"}) == static_cast<int>(DevInfoTag);
  return (info ? "info:" : "port:") + textOf(at(tag, {"tag_num"}));
}

std::string itemOf(const Json& item) { return textOf(at(item, {"tag"})) + " = " + textOf(at(item, {"data"})); }

std::string payloadOf(int64_t type, const Json& data) {
  switch (type) {
  case ovk_Message_TagReadRequest: return listed(at(data, {"tags"}), selectorOf);
  case ovk_Message_TagReadResponse: return listed(at(data, {"tag_items"}), itemOf);
  case ovk_Message_DescriptorReadResponse:
    return "blocks " + listed(at(data, {"TagRegBlocks"}), textOf) + ", reserved " +
           listed(at(data, {"ResRegBlocks"}), textOf) + ", buffer " + textOf(at(data, {"ModbusBufferSize"}));
  default: return areas(data);
  }
}

} // namespace

Passing describe(const Json& message) {
  const Json& number = at(message, {"msg_type"});
  const int64_t type = number.is_number_integer() ? number.get<int64_t>() : 0;
  const auto name = typeNames().find(type);
  Passing passing;
  passing.from = textOf(at(message, {"src", "fid"}));
  passing.to = textOf(at(message, {"dst", "fid"}));
  passing.type = name != typeNames().end() ? name->second : textOf(number);
  passing.refId = textOf(at(message, {"ref_id"}));
  const bool failed = at(message, {"success"}) == false;
  passing.payload = failed ? "failed: " + textOf(at(message, {"err_reason"})) : payloadOf(type, at(message, {"data"}));
  return passing;
}

} // namespace tool
