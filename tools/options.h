#pragma once

#include <functional>
#include <string>

#include "session.h"

namespace CLI {
class App;
}

namespace tool {

/// What a command does once the whole command line was read.
using Action = std::function<void(const BusOptions&)>;

struct CommandLine {
  BusOptions bus;
  Action action; ///< empty when there is nothing left to do (--help, --version)
};

/// Reads the command line. Help and version are printed here; everything wrong is a Failure (usage).
CommandLine parseCommandLine(int argc, const char* const* argv);

/// Each command family adds its commands; the one that was named stores its action in `chosen`.
void addSimCommand(CLI::App& app, Action& chosen);
void addReadCommand(CLI::App& app, Action& chosen);
void addWriteCommand(CLI::App& app, Action& chosen);
void addTagsCommand(CLI::App& app, Action& chosen);
void addInfoCommand(CLI::App& app, Action& chosen);
void addTopologyCommand(CLI::App& app, Action& chosen);
void addCountersCommand(CLI::App& app, Action& chosen);
void addMonitorCommand(CLI::App& app, Action& chosen);

/// A new subcommand of `app`, with which options of `app` may follow the subcommand's name too. Its help ends with
/// `examples`, a line each.
CLI::App* addCommand(CLI::App& app, const char* name, const char* description, const std::string& examples);

} // namespace tool
