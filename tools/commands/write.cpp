// ovk write: registers of a device.
//
// One or two areas travel in one request, as one question: the device grants or refuses them together.

#include <CLI/CLI.hpp>
#include <iostream>

#include "arguments.h"
#include "options.h"
#include "register_options.h"
#include "rounds.h"

namespace tool {
namespace {

struct Arguments {
  std::string fid;
  std::vector<std::string> assignments;
  NotationOptions values;
  Rounds rounds;
};

/// The header of the answer. A start of -1 leaves the second area out of the request.
Json askToWrite(Session& session, const std::string& fid, const std::vector<Assignment>& assignments) {
  const Assignment& first = assignments[0];
  const Assignment second = assignments.size() > 1 ? assignments[1] : Assignment{-1, {}};
  Json header;
  session.ask<ovk_Service_RegisterWriteClient, ovk_RegisterWriteRspCallbackData_t>(
      fid,
      [&](const char* reference) {
        return ovk_WriteRegisters(fid.c_str(), reference, 0, first.start, first.values.data(),
                                  static_cast<int>(first.values.size()), second.start, second.values.data(),
                                  static_cast<int>(second.values.size()));
      },
      [&](const ovk_RegisterWriteRspCallbackData_t& answer) {
        header = answerHeader(ovk_Message_RegisterWriteResponse, answer);
      });
  return header;
}

void printWritten(const Assignment& assignment) {
  const size_t count = assignment.values.size();
  std::cout << "wrote " << count << (count == 1 ? " register: " : " registers: ") << assignment.start;
  if (count > 1) std::cout << " to " << assignment.start + static_cast<int>(count) - 1;
  std::cout << '\n';
}

void print(Json header, const std::vector<Assignment>& assignments, Form form) {
  if (form == Form::Json) {
    header["data"] = Json::object();
    return putJson(header);
  }
  if (form == Form::Values) return;
  for (const Assignment& assignment : assignments) printWritten(assignment);
}

void write(const BusOptions& bus, const Arguments& arguments) {
  const Notation notation = arguments.values.notation();
  requireIdentifier(arguments.fid);
  requireAtMostTwo(arguments.assignments);
  std::vector<Assignment> assignments;
  for (const std::string& text : arguments.assignments) assignments.push_back(parseAssignment(text, notation));
  Session session(bus);
  arguments.rounds.run(session, [&] { print(askToWrite(session, arguments.fid, assignments), assignments, bus.form); });
}

} // namespace

void addWriteCommand(CLI::App& app, Action& chosen) {
  CLI::App* command = addCommand(app, "write", "Write one or two areas of registers",
                                 R"(  ovk write VR017_00042_00A0B1C2D3E4 102=1500,60
  ovk write VR017_00042_00A0B1C2D3E4 102=1500 0x3E8=0x2A
  ovk write VR017_00042_00A0B1C2D3E4 1000=21.5 --as f32 --swap)");
  const auto arguments = std::make_shared<Arguments>();
  command->add_option("FID", arguments->fid, "Identifier of the device")->required();
  command->add_option("AREA", arguments->assignments, "START=VALUE[,VALUE]..., up to 1024 registers; at most two")
      ->required();
  arguments->values.addOptions(*command);
  arguments->rounds.addOptions(*command);
  command->callback([=, &chosen] { chosen = [=](const BusOptions& bus) { write(bus, *arguments); }; });
}

} // namespace tool
