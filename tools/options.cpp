// The command line as a whole: the options that all commands share, help and version.
//
// Options may stand before or after the command. Texts are checked here or by the command's action, never by the
// argument library, so that every complaint names the text, what is wrong with it, and a valid example.

#include "options.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>
#include <random>
#include <unistd.h>

#include "arguments.h"
#include "failure.h"

namespace tool {
namespace {

constexpr const char* kExitCodes = R"(Exit codes: 0 done, 1 other (unusable file or answer, output not written),
2 usage or invalid identifier, 3 the device refused, 4 not in the topology,
5 no answer in time, 7 could not be sent, 8 the bus could not be opened.)";

/// An identifier that no other process has: the process number for the eye, random digits against chance.
std::string ownIdentifier() {
  std::random_device random;
  char text[ovk_FusionIdLength + 1];
  std::snprintf(text, sizeof text, "VR000_%05u_%04X%08X", static_cast<unsigned>(getpid()) % 100000U, random() & 0xFFFFU,
                random());
  return text;
}

struct SharedOptions {
  BusOptions bus;
  std::string timeout = "2";
};

void addSharedOptions(CLI::App& app, SharedOptions& shared) {
  app.add_option("--bus", shared.bus.directory, "Bus directory; default: one of your own in /tmp")->type_name("DIR");
  app.add_option("--id", shared.bus.id, "Own identifier; default: one made for this process")->type_name("FID");
  app.add_option("--timeout", shared.timeout, "Time to wait for an answer; default: 2")->type_name("SEC");
  app.add_flag("-v,--verbose", shared.bus.verbose, "Trace on stderr; twice: whole messages too");
  app.set_version_flag("--version", "ovk " OVK_VERSION);
}

BusOptions checked(SharedOptions& shared, bool idGiven) {
  shared.bus.timeout = parseSeconds(shared.timeout);
  shared.bus.idGiven = idGiven;
  if (!shared.bus.idGiven) shared.bus.id = ownIdentifier();
  requireIdentifier(shared.bus.id);
  return shared.bus;
}

} // namespace

CLI::App* addCommand(CLI::App& app, const char* name, const char* description) {
  CLI::App* command = app.add_subcommand(name, description);
  command->fallthrough();
  return command;
}

CommandLine parseCommandLine(int argc, const char* const* argv) {
  CLI::App app("Talks to the participants of a local field bus, and simulates them.", "ovk");
  SharedOptions shared;
  Action chosen;
  addSharedOptions(app, shared);
  app.require_subcommand(1);
  app.footer(kExitCodes);
  for (const auto add : {addSimCommand, addReadCommand, addWriteCommand, addTagsCommand, addInfoCommand,
                         addTopologyCommand, addCountersCommand}) {
    add(app, chosen);
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) throw Failure(Exit_Usage, std::string(error.what()) + "; see 'ovk --help'");
    app.exit(error);
    return {};
  }
  return {checked(shared, app.count("--id") > 0), chosen};
}

} // namespace tool
