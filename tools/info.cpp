// ovk info: how a device describes its register layout.
//
// A device that refuses looks like one whose answer cannot be read: the library does not deliver a failed answer of
// this kind.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>

#include "arguments.h"
#include "options.h"

namespace tool {
namespace {

/// A negative count says that the peer announced an impossible number of values.
std::string listText(int count, const int32_t* values) {
  if (count < 0) return "not usable";
  if (count == 0) return "none";
  std::string text;
  for (int i = 0; i < count; ++i) text += (i > 0 ? " " : "") + std::to_string(values[i]);
  return text;
}

void print(const ovk_DescriptorReadRspCallbackData_t& info) {
  const int reserved = std::min(info.numResRegBlocks, ovk_MaxResRegBlocks);
  std::cout << "tag register blocks       " << listText(info.numTagRegBlocks, info.pTagRegBlocks) << '\n'
            << "reserved register blocks  " << listText(reserved, info.pResRegBlocks) << '\n'
            << "Modbus buffer size        " << info.ModbusBufferSize << '\n';
}

void readInfo(const BusOptions& bus, const std::string& fid) {
  requireIdentifier(fid);
  Session session(bus);
  session.ask<ovk_Service_DescriptorReadClient, ovk_DescriptorReadRspCallbackData_t>(
      fid, [&](const char* reference) { return ovk_ReadDeviceInfo(fid.c_str(), reference); }, &print);
}

} // namespace

void addInfoCommand(CLI::App& app, Action& chosen) {
  CLI::App* command = addCommand(app, "info", "Read a device's register layout", "  ovk info VR017_00042_00A0B1C2D3E4");
  const auto fid = std::make_shared<std::string>();
  command->add_option("FID", *fid, "Identifier of the device")->required();
  command->callback([=, &chosen] { chosen = [=](const BusOptions& bus) { readInfo(bus, *fid); }; });
}

} // namespace tool
