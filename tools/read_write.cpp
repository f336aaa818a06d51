// ovk read, ovk write: registers of a device.
//
// One or two areas travel in one request, as one question: the device grants or refuses them together. An answer is
// printed only when it holds exactly the areas asked for.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>

#include "arguments.h"
#include "failure.h"
#include "options.h"
#include "table.h"

namespace tool {
namespace {

struct Arguments {
  std::string fid;
  std::vector<std::string> areas;
};

template <class Parsed>
std::vector<Parsed> parseAll(const Arguments& arguments, Parsed (*parse)(const std::string&)) {
  requireIdentifier(arguments.fid);
  if (arguments.areas.size() > 2) throw Failure(Exit_Usage, "a request has at most two areas; split it");
  std::vector<Parsed> parsed;
  for (const std::string& text : arguments.areas) parsed.push_back(parse(text));
  return parsed;
}

/// Guards against a peer that answers something else, and against an area too long for a record (count -1).
std::vector<uint16_t> wordsOf(const Area& asked, int start, int count, const uint16_t* words) {
  if (start == asked.start && count == asked.count) return {words, words + count};
  throw Failure(Exit_Other,
                "the answer does not fit: asked for " + areaText(asked) + ", got " + areaText({start, count}));
}

/// A start of -1 leaves the second area out of a request.
std::vector<std::vector<uint16_t>> askForRegisters(Session& session, const std::string& fid,
                                                   const std::vector<Area>& areas) {
  const Area second = areas.size() > 1 ? areas[1] : Area{-1, 0};
  std::vector<std::vector<uint16_t>> words;
  session.ask<ovk_Service_RegisterReadClient, ovk_RegisterReadRspCallbackData_t>(
      fid,
      [&](const char* reference) {
        return ovk_ReadRegisters(fid.c_str(), reference, areas[0].start, areas[0].count, second.start, second.count);
      },
      [&](const ovk_RegisterReadRspCallbackData_t& answer) {
        words.push_back(wordsOf(areas[0], answer.startRegister1, answer.numberRegisters1, answer.pStartRegister1));
        if (areas.size() < 2) return;
        words.push_back(wordsOf(areas[1], answer.startRegister2, answer.numberRegisters2, answer.pStartRegister2));
      });
  return words;
}

std::string hexText(uint16_t word) {
  char text[8];
  std::snprintf(text, sizeof text, "0x%04X", static_cast<unsigned>(word));
  return text;
}

void read(const BusOptions& bus, const Arguments& arguments) {
  const std::vector<Area> areas = parseAll(arguments, &parseArea);
  Session session(bus);
  const auto words = askForRegisters(session, arguments.fid, areas);
  Table table(std::cout, {{"register", 8, Column::Right}, {"hex", 6, Column::Right}, {"value", 5, Column::Right}});
  for (size_t i = 0; i < areas.size(); ++i) {
    int address = areas[i].start;
    for (const uint16_t word : words[i]) table.row({std::to_string(address++), hexText(word), std::to_string(word)});
  }
}

void askToWrite(Session& session, const std::string& fid, const Assignment& first, const Assignment& second) {
  session.ask<ovk_Service_RegisterWriteClient, ovk_RegisterWriteRspCallbackData_t>(
      fid,
      [&](const char* reference) {
        return ovk_WriteRegisters(fid.c_str(), reference, 0, first.start, first.values.data(),
                                  static_cast<int>(first.values.size()), second.start, second.values.data(),
                                  static_cast<int>(second.values.size()));
      },
      [](const ovk_RegisterWriteRspCallbackData_t&) {});
}

void printWritten(const Assignment& assignment) {
  const size_t count = assignment.values.size();
  std::cout << "wrote " << count << (count == 1 ? " register: " : " registers: ") << assignment.start;
  if (count > 1) std::cout << " to " << assignment.start + static_cast<int>(count) - 1;
  std::cout << '\n';
}

void write(const BusOptions& bus, const Arguments& arguments) {
  const std::vector<Assignment> assignments = parseAll(arguments, &parseAssignment);
  Session session(bus);
  askToWrite(session, arguments.fid, assignments[0], assignments.size() > 1 ? assignments[1] : Assignment{-1, {}});
  for (const Assignment& assignment : assignments) printWritten(assignment);
}

void addAreaCommand(CLI::App& app, Action& chosen, const char* name, const char* description, const char* areaHelp,
                    const char* examples, void (*run)(const BusOptions&, const Arguments&)) {
  CLI::App* command = addCommand(app, name, description, examples);
  const auto arguments = std::make_shared<Arguments>();
  command->add_option("FID", arguments->fid, "Identifier of the device")->required();
  command->add_option("AREA", arguments->areas, areaHelp)->required();
  command->callback([=, &chosen] { chosen = [=](const BusOptions& bus) { run(bus, *arguments); }; });
}

} // namespace

void addReadCommand(CLI::App& app, Action& chosen) {
  addAreaCommand(app, chosen, "read", "Read one or two areas of registers",
                 "START[:COUNT], up to 1024 registers; at most two", R"(  ovk read VR017_00042_00A0B1C2D3E4 100:4
  ovk read VR017_00042_00A0B1C2D3E4 0x64 1000:10 --timeout 5)",
                 &read);
}

void addWriteCommand(CLI::App& app, Action& chosen) {
  addAreaCommand(app, chosen, "write", "Write one or two areas of registers",
                 "START=VALUE[,VALUE]..., up to 1024 values; at most two",
                 R"(  ovk write VR017_00042_00A0B1C2D3E4 102=1500,60
  ovk write VR017_00042_00A0B1C2D3E4 102=1500 0x3E8=0x2A)",
                 &write);
}

} // namespace tool
