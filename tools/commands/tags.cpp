// ovk tags: tag values of a device.
//
// Answers come back without the kind of a tag, so rows are labelled by the order of the request; an answer in another
// order is refused rather than mislabelled. Configuration items may name several devices: one request each.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstring>
#include <iostream>
#include <string_view>

#include "arguments.h"
#include "failure.h"
#include "file_content.h"
#include "notation.h"
#include "options.h"
#include "ovk/local_platform.h"
#include "rounds.h"
#include "table.h"

namespace tool {
namespace {

/// In one request: their values fit into one message, whatever they are.
constexpr size_t kMostTags = 100;

struct Arguments {
  std::string fid;
  std::vector<std::string> tags;
  std::vector<std::string> configs;
  Rounds rounds;
};

struct Request {
  std::string fid;
  std::vector<DevTagDevInfoTag> tags;
};

/// The answer to one request of the command line, however many messages it took.
struct Reading { // NOLINT(bugprone-exception-escape): the JSON library's moves throw nothing
  std::vector<TagItem_t> items;
  Json header;
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

/// What follows --config is taken for files, so an identifier may be found there, too.
void refuseBoth(const Arguments& arguments) {
  const auto stray = std::find_if(arguments.configs.begin(), arguments.configs.end(), isIdentifier);
  if (arguments.fid.empty() && stray == arguments.configs.end()) return;
  const std::string word = arguments.fid.empty() ? *stray : arguments.fid;
  throw Failure(Exit_Usage,
                "'" + printable(word) + "' beside --config: give either FID and tags, or --config with files");
}

std::vector<Request> requestsOf(const Arguments& arguments) {
  std::vector<Request> requests;
  if (!arguments.configs.empty()) {
    refuseBoth(arguments);
    for (const std::string& file : arguments.configs) addConfigured(requests, file);
    return requests;
  }
  if (arguments.tags.empty()) throw Failure(Exit_Usage, "no tag given; write ovk tags FID TAG..., like 17 or info:3");
  requireIdentifier(arguments.fid);
  requests.push_back({arguments.fid, {}});
  for (const std::string& text : arguments.tags) requests[0].tags.push_back(parseTag(text));
  return requests;
}

void askForPart(Session& session, const std::string& fid, const std::vector<DevTagDevInfoTag>& tags, Reading& reading) {
  std::vector<TagItem_t> items;
  session.ask<ovk_Service_TagReadClient, ovk_TagReadRspCallbackData_t>(
      fid, [&](const char* reference) { return ovk_ReadTags(fid, reference, tags); },
      [&](const ovk_TagReadRspCallbackData_t& answer) {
        items.assign(answer.pTagItems, answer.pTagItems + answer.numTagItems);
        reading.header = answerHeader(ovk_Message_TagReadResponse, answer);
      });
  const auto isOf = [](const DevTagDevInfoTag& tag, const TagItem_t& item) { return item.tag == tag.tag_num; };
  if (!std::equal(tags.begin(), tags.end(), items.begin(), items.end(), isOf))
    throw Failure(Exit_Other, "the answer of " + fid + " does not hold the tags asked for");
  reading.items.insert(reading.items.end(), items.begin(), items.end());
}

Reading askForTags(Session& session, const Request& request) {
  Reading reading;
  for (size_t done = 0; done < request.tags.size(); done += kMostTags) {
    const auto first = request.tags.begin() + static_cast<std::ptrdiff_t>(done);
    const auto count = static_cast<std::ptrdiff_t>(std::min(kMostTags, request.tags.size() - done));
    askForPart(session, request.fid, {first, first + count}, reading);
  }
  return reading;
}

void warnOfParts(const Request& request) {
  const size_t requests = (request.tags.size() + kMostTags - 1) / kMostTags;
  if (requests < 2) return;
  putWarning(request.fid + " is read in " + std::to_string(requests) + " parts, not at one instant");
}

struct TypedValue {
  const char* type;
  std::string text;
};

/// The type codes are those of TagItem_t; a value of any other type does not travel.
TypedValue valueOf(const TagItem_t& item) {
  switch (item.idd) {
  case ovk_TagData_Float: return {"f32", numberText(item.data.f)};
  case ovk_TagData_Unsigned: return {"u32", std::to_string(item.data.ui)};
  case ovk_TagData_Signed:
  case ovk_TagData_Signed5:
  case ovk_TagData_Signed8:
  case ovk_TagData_Signed9: return {"i32", std::to_string(item.data.i)};
  case ovk_TagData_Text: return {"text", {item.data.str, strnlen(item.data.str, sizeof item.data.str)}};
  default: return {"-", "-"};
  }
}

void printTable(const Request& request, const std::vector<TagItem_t>& items) {
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

/// The values stand as what they are, not as the texts that travel; the kind is that of the request.
Json dataOf(const Request& request, const std::vector<TagItem_t>& items) {
  Json list = Json::array();
  for (size_t i = 0; i < items.size(); ++i) {
    const TagItem_t& item = items[i];
    const TypedValue value = valueOf(item);
    const bool none = value.type == std::string_view("-");
    list.push_back({{"tag_type", request.tags[i].tag_type},
                    {"tag", item.tag},
                    {"idd", item.idd},
                    {"data", none ? Json() : valueJson(value.text, item.idd != ovk_TagData_Text)},
                    {"startReg", item.startReg},
                    {"regLen", item.regLen}});
  }
  return {{"num", items.size()}, {"tag_items", list}};
}

void print(const Request& request, Reading reading, Form form) {
  if (form == Form::Table) return printTable(request, reading.items);
  if (form == Form::Values) {
    for (const TagItem_t& item : reading.items) std::cout << printable(valueOf(item).text) << '\n';
    return;
  }
  reading.header["data"] = dataOf(request, reading.items);
  putJson(reading.header);
}

void readTags(const BusOptions& bus, const Arguments& arguments) {
  // What the library traces about an unusable item is said again, in the tool's words.
  if (bus.verbose == 0) ovk_local_set_trace_threshold(-1);
  const std::vector<Request> requests = requestsOf(arguments);
  Session session(bus);
  for (const Request& request : requests) warnOfParts(request);
  arguments.rounds.run(session, [&] {
    for (const Request& request : requests) {
      Reading reading = askForTags(session, request);
      if (requests.size() > 1 && bus.form == Form::Table) std::cout << request.fid << '\n';
      print(request, std::move(reading), bus.form);
    }
  });
}

} // namespace

void addTagsCommand(CLI::App& app, Action& chosen) {
  CLI::App* command = addCommand(app, "tags", "Read tag values",
                                 R"(  ovk tags VR017_00042_00A0B1C2D3E4 17 port:18 info:3
  ovk tags --config level.json
  ovk tags VR017_00042_00A0B1C2D3E4 17 --count 5 --every 0.5 -q)");
  const auto arguments = std::make_shared<Arguments>();
  command->add_option("FID", arguments->fid, "Identifier of the device");
  command->add_option("TAG", arguments->tags, "N or port:N: a port's tag; info:N: device information");
  command->add_option("--config", arguments->configs, "Configuration items, which name device and tag")
      ->type_name("FILE");
  arguments->rounds.addOptions(*command);
  command->callback([=, &chosen] { chosen = [=](const BusOptions& bus) { readTags(bus, *arguments); }; });
}

} // namespace tool
