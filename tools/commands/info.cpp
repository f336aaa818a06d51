// ovk info: how a device describes its register layout.
//
// A device that refuses looks like one whose answer cannot be read: the library does not deliver a failed answer of
// this kind.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>

#include "arguments.h"
#include "options.h"
#include "rounds.h"

namespace tool {
namespace {

struct Arguments {
  std::string fid;
  Rounds rounds;
};

/// What the lists hold. A negative count says that the peer announced an impossible number of values.
std::vector<int32_t> listOf(int count, const int32_t* values) {
  return count > 0 ? std::vector<int32_t>(values, values + count) : std::vector<int32_t>();
}

std::string listText(int count, const std::vector<int32_t>& values, Form form) {
  if (count <= 0 && form == Form::Table) return count < 0 ? "not usable" : "none";
  std::string text;
  for (const int32_t value : values) text += (text.empty() ? "" : " ") + std::to_string(value);
  return text;
}

void print(const ovk_DescriptorReadRspCallbackData_t& info, Form form) {
  const int reserved = std::min(info.numResRegBlocks, ovk_MaxResRegBlocks);
  const std::vector<int32_t> tagBlocks = listOf(info.numTagRegBlocks, info.pTagRegBlocks);
  const std::vector<int32_t> reservedBlocks = listOf(reserved, info.pResRegBlocks);
  if (form == Form::Json) {
    Json result = answerHeader(ovk_Message_DescriptorReadResponse, info);
    result["data"] = {{"numTagRegBlocks", info.numTagRegBlocks},
                      {"TagRegBlocks", tagBlocks},
                      {"numResRegBlocks", reserved},
                      {"ResRegBlocks", reservedBlocks},
                      {"ModbusBufferSize", info.ModbusBufferSize}};
    return putJson(result);
  }
  const auto label = [form](const char* text) { return form == Form::Table ? text : ""; };
  std::cout << label("tag register blocks       ") << listText(info.numTagRegBlocks, tagBlocks, form) << '\n'
            << label("reserved register blocks  ") << listText(reserved, reservedBlocks, form) << '\n'
            << label("Modbus buffer size        ") << info.ModbusBufferSize << '\n';
}

void readInfo(const BusOptions& bus, const Arguments& arguments) {
  requireIdentifier(arguments.fid);
  const std::string& fid = arguments.fid;
  Session session(bus);
  arguments.rounds.run(session, [&] {
    session.ask<ovk_Service_DescriptorReadClient, ovk_DescriptorReadRspCallbackData_t>(
        fid, [&](const char* reference) { return ovk_ReadDeviceInfo(fid.c_str(), reference); },
        [&](const ovk_DescriptorReadRspCallbackData_t& answer) { print(answer, bus.form); });
  });
}

} // namespace

void addInfoCommand(CLI::App& app, Action& chosen) {
  CLI::App* command = addCommand(app, "info", "Read a device's register layout",
                                 R"(  ovk info VR017_00042_00A0B1C2D3E4
  ovk info VR017_00042_00A0B1C2D3E4 --json)");
  const auto arguments = std::make_shared<Arguments>();
  command->add_option("FID", arguments->fid, "Identifier of the device")->required();
  arguments->rounds.addOptions(*command);
  command->callback([=, &chosen] { chosen = [=](const BusOptions& bus) { readInfo(bus, *arguments); }; });
}

} // namespace tool
