// ovk sim: one controller, alone or with its sensors, simulated from device files.
//
// All files are checked before anything starts. With --id the files are the devices of that controller (itself
// included, if one names it); without, the one file is its own controller. SIGINT and SIGTERM are the normal end.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <optional>

#include "failure.h"
#include "options.h"
#include "ovk/local_platform.h"
#include "simulator/device_file.h"
#include "simulator/sim_server.h"

namespace tool {
namespace {

struct Arguments {
  std::vector<std::string> files;
  bool checkOnly = false;
  std::optional<int> delayMs;
  std::optional<int> dropEvery;
  std::optional<int> failEvery;
};

/// Options go before what the files say.
void override(Faults& faults, const Arguments& arguments) {
  faults.delayMs = arguments.delayMs.value_or(faults.delayMs);
  faults.dropEvery = arguments.dropEvery.value_or(faults.dropEvery);
  faults.failEvery = arguments.failEvery.value_or(faults.failEvery);
}

std::vector<DeviceDescription> loadAll(const Arguments& arguments) {
  std::vector<DeviceDescription> devices;
  for (const std::string& file : arguments.files) {
    DeviceDescription device = loadDeviceFile(file);
    for (size_t i = 0; i < devices.size(); ++i) {
      if (devices[i].fid != device.fid) continue;
      throw Failure(Exit_Other, file + ": fid: " + device.fid + " is already the device of " + arguments.files[i]);
    }
    override(device.faults, arguments);
    devices.push_back(std::move(device));
  }
  return devices;
}

void printChecked(const std::vector<DeviceDescription>& devices, const Arguments& arguments, Form form) {
  for (size_t i = 0; i < devices.size(); ++i) {
    if (form == Form::Json) {
      putJson(ownResult({{"file", arguments.files[i]}, {"fid", devices[i].fid}}));
    } else {
      std::cout << (form == Form::Table ? arguments.files[i] + ": good, " : "") << devices[i].fid << '\n';
    }
  }
}

bool canBeAsked(const std::string& fid, const std::string& controller) {
  std::string parent;
  return ovk_topology_get_controller_fusionId_for_sensor(fid, parent) != 0 && parent == controller;
}

/// A sensor that the topology does not know gets no requests, so the user should hear of it; but it may become known
/// while the simulation runs.
void warnUnreachable(const DeviceDescription& device, const std::string& controller) {
  if (canBeAsked(device.fid, controller)) return;
  putWarning(device.fid + " cannot be asked yet: it is not known below " + controller + "; run: ovk --bus '" +
             ovk_local_bus_directory() + "' topology add " + controller + ' ' + device.fid +
             (device.name.empty() ? "" : " '" + device.name + "'"));
}

/// Says which of the devices can be asked by now; the others go on waiting.
void announce(std::vector<std::string>& waiting, const BusOptions& bus) {
  const auto isWaiting = [&](const std::string& fid) { return !canBeAsked(fid, bus.id); };
  const auto ready = std::stable_partition(waiting.begin(), waiting.end(), isWaiting);
  std::for_each(ready, waiting.end(), [&](const std::string& fid) {
    if (bus.form == Form::Json) return putJson(ownResult({{"fid", fid}, {"state", "ready"}}));
    std::cout << (bus.form == Form::Table ? "ready " : "") << fid << '\n';
  });
  waiting.erase(ready, waiting.end());
  flushOutput();
}

/// Nothing is ever slept through: delayed answers shorten the wait, and so do devices that wait to become known.
void serveUntilStopped(Session& session, SimServer& server, std::vector<std::string> waiting) {
  constexpr int lookAgain = 500; // milliseconds
  int timeout = 0;
  while (session.pause(timeout)) {
    if (!waiting.empty()) announce(waiting, session.options());
    session.work();
    server.answers().release(AnswerQueue::Clock::now());
    timeout = server.answers().timeToNext(AnswerQueue::Clock::now());
    if (!waiting.empty() && (timeout < 0 || timeout > lookAgain)) timeout = lookAgain;
  }
}

void simulate(BusOptions bus, const Arguments& arguments) {
  const std::vector<DeviceDescription> devices = loadAll(arguments);
  if (arguments.checkOnly) return printChecked(devices, arguments, bus.form);
  if (!bus.idGiven && devices.size() > 1) {
    throw Failure(Exit_Usage, "several devices need a controller; name it with --id, or start one 'ovk sim' for each");
  }
  if (!bus.idGiven) bus.id = devices[0].fid;
  SimServer server(devices);
  Session session(bus);
  session.listen<ovk_Service_DescriptorReadServer, ovk_DescriptorReadReqCallbackData_t>(server);
  session.listen<ovk_Service_TagReadServer, ovk_TagReadReqCallbackData_t>(server);
  session.listen<ovk_Service_RegisterReadServer, ovk_RegisterReadReqCallbackData_t>(server);
  session.listen<ovk_Service_RegisterWriteServer, ovk_RegisterWriteReqCallbackData_t>(server);
  session.traceToStderr();
  std::vector<std::string> waiting;
  for (const DeviceDescription& device : devices) {
    warnUnreachable(device, bus.id);
    waiting.push_back(device.fid);
  }
  serveUntilStopped(session, server, waiting);
  putLog(server.summary());
}

} // namespace

void addSimCommand(CLI::App& app, Action& chosen) {
  CLI::App* command = addCommand(app, "sim", "Simulate the devices in files, until SIGINT or SIGTERM",
                                 R"(  ovk sim pump-controller.json
  ovk sim --id VR017_00042_00A0B1C2D3E4 pump-controller.json level-sensor.json
  ovk sim --check my-device.json
What a device file holds: man ovk-files. These are in examples/devices; where
the library is installed, in share/doc/ovk/examples/devices.)");
  const auto arguments = std::make_shared<Arguments>();
  command->add_option("FILE", arguments->files, "Device files; several: devices of the controller --id")->required();
  command->add_flag("--check", arguments->checkOnly, "Only check the files");
  const auto fault = [&](const char* name, std::optional<int>& value, int most, const char* description) {
    command->add_option(name, value, description)->check(CLI::Range(0, most).description(""))->type_name("N");
  };
  fault("--delay-ms", arguments->delayMs, 3600000, "Answer after N milliseconds");
  fault("--drop-every", arguments->dropEvery, 1000000000, "Leave each Nth request without an answer");
  fault("--fail-every", arguments->failEvery, 1000000000, "Refuse each Nth request");
  command->callback([=, &chosen] { chosen = [=](const BusOptions& bus) { simulate(bus, *arguments); }; });
}

} // namespace tool
