// ovk read: registers of a device.
//
// One or two areas travel in one request, as one question: the device grants or refuses them together. Longer areas are
// asked for in parts, two to a request. An answer is printed only when it holds exactly the areas asked for.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>

#include "arguments.h"
#include "options.h"
#include "register_options.h"
#include "rounds.h"
#include "table.h"

namespace tool {
namespace {

struct Arguments {
  std::string fid;
  std::vector<std::string> areas;
  NotationOptions values;
  Rounds rounds;
};

/// A run of registers that fits into one half of a request, and the words that came for it.
struct Part {
  size_t area; ///< of which it is a part
  Area asked;
  std::vector<uint16_t> words;
};

/// What was read of each area, and the header of the last answer.
struct Reading {
  std::vector<std::vector<uint16_t>> words;
  Json header;
};

std::vector<Part> partsOf(const std::vector<Area>& areas) {
  std::vector<Part> parts;
  for (size_t i = 0; i < areas.size(); ++i) {
    for (int done = 0; done < areas[i].count; done += ovk_MaxRegistersPerArea) {
      const int count = std::min(areas[i].count - done, ovk_MaxRegistersPerArea);
      parts.push_back({i, {areas[i].start + done, count}, {}});
    }
  }
  return parts;
}

/// Guards against a peer that answers something else, and against an area too long for a record (count -1).
void take(Part& part, int start, int count, const uint16_t* words) {
  if (start != part.asked.start || count != part.asked.count) {
    throw Failure(Exit_Other,
                  "the answer does not fit: asked for " + areaText(part.asked) + ", got " + areaText({start, count}));
  }
  part.words.assign(words, words + count);
}

/// A start of -1 leaves the second area out of a request.
Json askForRegisters(Session& session, const std::string& fid, Part& first, Part* second) {
  const Area other = second != nullptr ? second->asked : Area{-1, 0};
  Json header;
  session.ask<ovk_Service_RegisterReadClient, ovk_RegisterReadRspCallbackData_t>(
      fid,
      [&](const char* reference) {
        return ovk_ReadRegisters(fid.c_str(), reference, first.asked.start, first.asked.count, other.start,
                                 other.count);
      },
      [&](const ovk_RegisterReadRspCallbackData_t& answer) {
        header = answerHeader(ovk_Message_RegisterReadResponse, answer);
        take(first, answer.startRegister1, answer.numberRegisters1, answer.pStartRegister1);
        if (second != nullptr) take(*second, answer.startRegister2, answer.numberRegisters2, answer.pStartRegister2);
      });
  return header;
}

Reading readAll(Session& session, const std::string& fid, const std::vector<Area>& areas) {
  std::vector<Part> parts = partsOf(areas);
  Reading reading{std::vector<std::vector<uint16_t>>(areas.size()), {}};
  for (size_t i = 0; i < parts.size(); i += 2) {
    reading.header = askForRegisters(session, fid, parts[i], i + 1 < parts.size() ? &parts[i + 1] : nullptr);
  }
  for (const Part& part : parts) {
    std::vector<uint16_t>& words = reading.words[part.area];
    words.insert(words.end(), part.words.begin(), part.words.end());
  }
  return reading;
}

void warnOfParts(const std::vector<Area>& areas) {
  const size_t requests = (partsOf(areas).size() + 1) / 2;
  if (requests < 2) return;
  putWarning("read in " + std::to_string(requests) + " parts, not at one instant");
}

/// Each value with its first register.
template <class Put>
void forEachValue(const std::vector<Area>& areas, const Reading& reading, const Notation& notation, Put put) {
  const auto width = static_cast<size_t>(notation.width());
  for (size_t i = 0; i < areas.size(); ++i) {
    for (size_t at = 0; at < reading.words[i].size(); at += width) {
      put(areas[i].start + static_cast<int>(at), &reading.words[i][at]);
    }
  }
}

void printTable(const std::vector<Area>& areas, const Reading& reading, const Notation& notation) {
  const Notation hex("hex", false);
  const bool both = notation.isNumber();
  const size_t hexWidth = notation.width() == 1 ? 6 : 13;
  std::vector<Column> columns = {{"register", 8, Column::Right}, {"hex", hexWidth, Column::Right}};
  if (both) columns.push_back({"value", notation.longest(), Column::Right});
  Table table(std::cout, columns);
  forEachValue(areas, reading, notation, [&](int address, const uint16_t* words) {
    const std::string second = notation.width() == 1 ? "" : " " + hex.textOf(words + 1);
    std::vector<std::string> row = {std::to_string(address), hex.textOf(words) + second};
    if (both) row.push_back(notation.textOf(words));
    table.row(row);
  });
}

/// The words as they came; the values too, when they were asked for in another form.
Json dataOf(const std::vector<Area>& areas, const Reading& reading, const Notation& notation) {
  Json data = Json::array();
  for (size_t i = 0; i < areas.size(); ++i) {
    Json& block = data.emplace_back(Json{{"start", areas[i].start}, {"words", reading.words[i]}});
    if (notation.isPlain()) continue;
    block["values"] = Json::array();
    forEachValue({areas[i]}, {{reading.words[i]}, {}}, notation, [&](int, const uint16_t* words) {
      block["values"].push_back(valueJson(notation.textOf(words), notation.isNumber()));
    });
  }
  return data;
}

void print(const std::vector<Area>& areas, Reading reading, const Notation& notation, Form form) {
  if (form == Form::Table) return printTable(areas, reading, notation);
  if (form == Form::Values) {
    return forEachValue(areas, reading, notation,
                        [&](int, const uint16_t* words) { std::cout << notation.textOf(words) << '\n'; });
  }
  reading.header["data"] = dataOf(areas, reading, notation);
  putJson(reading.header);
}

void read(const BusOptions& bus, const Arguments& arguments) {
  const Notation notation = arguments.values.notation();
  requireIdentifier(arguments.fid);
  requireAtMostTwo(arguments.areas);
  std::vector<Area> areas;
  for (const std::string& text : arguments.areas) areas.push_back(parseArea(text, notation));
  Session session(bus);
  warnOfParts(areas);
  arguments.rounds.run(session, [&] { print(areas, readAll(session, arguments.fid, areas), notation, bus.form); });
}

} // namespace

void addReadCommand(CLI::App& app, Action& chosen) {
  CLI::App* command = addCommand(app, "read", "Read one or two areas of registers",
                                 R"(  ovk read VR017_00042_00A0B1C2D3E4 100:4
  ovk read VR017_00042_00A0B1C2D3E4 0x64 1000:10 --timeout 5
  ovk read VR017_00042_00A0B1C2D3E4 200:2 --as f32 -q --every 10)");
  const auto arguments = std::make_shared<Arguments>();
  command->add_option("FID", arguments->fid, "Identifier of the device")->required();
  command->add_option("AREA", arguments->areas, "START[:COUNT], registers; at most two")->required();
  arguments->values.addOptions(*command);
  arguments->rounds.addOptions(*command);
  command->callback([=, &chosen] { chosen = [=](const BusOptions& bus) { read(bus, *arguments); }; });
}

} // namespace tool
