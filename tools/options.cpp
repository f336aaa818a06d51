// The command line as a whole: the options that all commands share, help and version.
//
// Options may stand before or after the command. Texts are checked here or by the command's action, never by the
// argument library, so that every complaint names the text, what is wrong with it, and a valid example.

#include "options.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <random>
#include <unistd.h>

#include "arguments.h"
#include "failure.h"

namespace tool {
namespace {

constexpr const char* kFooter = R"(Exit codes: 0 done, 1 other (unusable file or answer, output not written),
2 usage or invalid identifier, 3 the device refused, 4 not in the topology,
5 no answer in time, 7 could not be sent, 8 the bus could not be opened,
130 and 143 ended by SIGINT and SIGTERM (which are the normal end of sim: 0).

Examples:
  ovk topology
  ovk read VR017_00042_00A0B1C2D3E4 100:4 --json
  ovk sim --help)";

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
  bool json = false;
  bool quiet = false;
};

void addSharedOptions(CLI::App& app, SharedOptions& shared) {
  CLI::Option* json = app.add_flag("--json", shared.json, "Print each result, and failure, as a line of JSON");
  app.add_flag("-q,--quiet", shared.quiet, "Print nothing but values")->excludes(json);
  // A script's variable that is not set must not lead to the default bus.
  const auto isNamed = [](const std::string& name) { return name.empty() ? "names no directory" : ""; };
  app.add_option("--bus", shared.bus.directory, "Bus directory; default: one of your own in /tmp")
      ->check(CLI::Validator(isNamed, ""))
      ->type_name("DIR");
  app.add_option("--id", shared.bus.id, "Own identifier; default: one made for this process")->type_name("FID");
  app.add_option("--timeout", shared.timeout, "Time to wait for an answer; default: 2")->type_name("SEC");
  app.add_flag("-v,--verbose", shared.bus.verbose, "Trace on stderr; -vv adds messages sent");
  app.set_version_flag("--version", "ovk " OVK_VERSION);
}

void styleHelp(CLI::App& app) {
  const auto formatter = app.get_formatter();
  formatter->column_width(22);
  // The usage line tells already what is required and what may be repeated.
  for (const char* label : {"TEXT", "REQUIRED"}) formatter->label(label, "");
  app.footer(kFooter);
}

/// The parser's complaint, or a better one when no command was recognised; and where the help to it is.
std::string usageComplaint(const CLI::App& app, const CLI::ParseError& error) {
  std::string place = "ovk";
  const CLI::App* command = &app;
  while (!command->get_subcommands().empty()) {
    command = command->get_subcommands().front();
    place += " " + command->get_name();
  }
  std::string text = error.what();
  if (command == &app && dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
    const std::vector<std::string> unknown = app.remaining();
    text = unknown.empty() ? "no command given" : "'" + unknown.front() + "' is not a command or option";
  }
  return printable(text) + "; see '" + place + " --help'";
}

BusOptions checked(SharedOptions& shared, bool idGiven) {
  shared.bus.timeout = parseSeconds(shared.timeout);
  shared.bus.idGiven = idGiven;
  shared.bus.form = shared.json ? Form::Json : shared.quiet ? Form::Values : Form::Table;
  if (!shared.bus.idGiven) shared.bus.id = ownIdentifier();
  requireIdentifier(shared.bus.id);
  return shared.bus;
}

} // namespace

CLI::App* addCommand(CLI::App& app, const char* name, const char* description, const std::string& examples) {
  CLI::App* command = app.add_subcommand(name, description);
  command->fallthrough();
  command->footer("Options of every command, and exit codes: ovk --help\n\nExamples:\n" + examples);
  return command;
}

CommandLine parseCommandLine(int argc, const char* const* argv) {
  CLI::App app("Talks to the participants of a local field bus, and simulates them.", "ovk");
  SharedOptions shared;
  Action chosen;
  addSharedOptions(app, shared);
  app.require_subcommand(1);
  styleHelp(app);
  for (const auto add : {addSimCommand, addReadCommand, addWriteCommand, addTagsCommand, addInfoCommand,
                         addTopologyCommand, addCountersCommand, addMonitorCommand}) {
    add(app, chosen);
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) throw Failure(Exit_Usage, usageComplaint(app, error));
    app.exit(error);
    return {};
  }
  return {checked(shared, app.count("--id") > 0), chosen};
}

} // namespace tool
