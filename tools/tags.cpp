// ovk tags: tag values of a device.
//
// Answers come back without the kind of a tag, so rows are labelled by the order of the request; an answer in another
// order is refused rather than mislabelled. Configuration items may name several devices: one request each.

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstring>
#include <iostream>

#include "arguments.h"
#include "failure.h"
#include "file_content.h"
#include "options.h"
#include "ovk/local_platform.h"
#include "table.h"

namespace tool {
namespace {

struct Arguments {
  std::string fid;
  std::vector<std::string> tags;
  std::vector<std::string> configs;
};

struct Request {
  std::string fid;
  std::vector<DevTagDevInfoTag> tags;
};

void addConfigured(std::vector<Request>& requests, const std::string& file) {
  DevTagDevInfoTag tag{};
  std::string fid;
  const unsigned status = getTagFromConfig(contentOf(file), tag, fid);
  if (status == ovk_Status_NotWritten)
    throw Failure(Exit_Other, file + R"(: "telegram" is empty; name a device in it)");
  if (status != ovk_Status_Done) {
    throw Failure(Exit_Other, file +
                                  R"(: no tag item; expected {"telegram":[{"fid":"...","portlist":[{"tag":17}]}]}, )" +
                                  R"(or "deviceinfo" in place of "tag")");
  }
  if (!isIdentifier(fid)) throw Failure(Exit_Usage, file + ": '" + printable(fid) + "' is not an identifier");
  for (Request& request : requests) {
    if (request.fid == fid) return request.tags.push_back(tag);
  }
  requests.push_back({fid, {tag}});
}

std::vector<Request> requestsOf(const Arguments& arguments) {
  std::vector<Request> requests;
  if (!arguments.configs.empty()) {
    if (!arguments.fid.empty()) throw Failure(Exit_Usage, "give either FID and tags, or --config with files");
    for (const std::string& file : arguments.configs) addConfigured(requests, file);
    return requests;
  }
  if (arguments.tags.empty()) throw Failure(Exit_Usage, "no tag given; write ovk tags FID TAG..., like 17 or info:3");
  requireIdentifier(arguments.fid);
  requests.push_back({arguments.fid, {}});
  for (const std::string& text : arguments.tags) requests[0].tags.push_back(parseTag(text));
  return requests;
}

std::vector<TagItem_t> askForTags(Session& session, const Request& request) {
  std::vector<TagItem_t> items;
  session.ask<ovk_Service_TagReadClient, ovk_TagReadRspCallbackData_t>(
      request.fid, [&](const char* reference) { return ovk_ReadTags(request.fid, reference, request.tags); },
      [&](const ovk_TagReadRspCallbackData_t& answer) {
        items.assign(answer.pTagItems, answer.pTagItems + answer.numTagItems);
      });
  bool fits = items.size() == request.tags.size();
  for (size_t i = 0; fits && i < items.size(); ++i) fits = items[i].tag == request.tags[i].tag_num;
  if (!fits) throw Failure(Exit_Other, "the answer of " + request.fid + " does not hold the tags asked for");
  return items;
}

/// The shortest text that reads back as the same number, with a point whatever the locale.
template <class Number>
std::string numberText(Number number) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, number);
  return {text, end.ptr};
}

struct TypedValue {
  const char* type;
  std::string text;
};

/// The type codes are those of TagItem_t; a value of any other type does not travel.
TypedValue valueOf(const TagItem_t& item) {
  switch (item.idd) {
  case 0: return {"f32", numberText(item.data.f)};
  case 1: return {"u32", numberText(item.data.ui)};
  case 2:
  case 5:
  case 8:
  case 9: return {"i32", numberText(item.data.i)};
  case 4: return {"text", {item.data.str, strnlen(item.data.str, sizeof item.data.str)}};
  default: return {"-", "-"};
  }
}

void print(const Request& request, const std::vector<TagItem_t>& items) {
  Table table(std::cout, {{"tag", 10, Column::Left},
                          {"type", 4, Column::Left},
                          {"value", 19, Column::Right},
                          {"registers", 9, Column::Left}});
  for (size_t i = 0; i < items.size(); ++i) {
    const TypedValue value = valueOf(items[i]);
    table.row({tagLabel(request.tags[i].tag_type, request.tags[i].tag_num), value.type, value.text,
               areaText({items[i].startReg, items[i].regLen})});
  }
}

void readTags(const BusOptions& bus, const Arguments& arguments) {
  // What the library traces about an unusable item is said again, in the tool's words.
  if (bus.verbose == 0) ovk_local_set_trace_threshold(-1);
  const std::vector<Request> requests = requestsOf(arguments);
  Session session(bus);
  for (const Request& request : requests) {
    const std::vector<TagItem_t> items = askForTags(session, request);
    if (requests.size() > 1) std::cout << request.fid << '\n';
    print(request, items);
  }
}

} // namespace

void addTagsCommand(CLI::App& app, Action& chosen) {
  CLI::App* command = addCommand(app, "tags", "Read tag values",
                                 R"(  ovk tags VR017_00042_00A0B1C2D3E4 17 port:18 info:3
  ovk tags --config examples/tags/level.json)");
  const auto arguments = std::make_shared<Arguments>();
  command->add_option("FID", arguments->fid, "Identifier of the device");
  command->add_option("TAG", arguments->tags, "N or port:N: a port's tag; info:N: device information");
  command->add_option("--config", arguments->configs, "Configuration items, which name device and tag")
      ->type_name("FILE");
  command->callback([=, &chosen] { chosen = [=](const BusOptions& bus) { readTags(bus, *arguments); }; });
}

} // namespace tool
