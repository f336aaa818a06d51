// The command-line tool: reads the command line, lets the command work, turns its failure into one line and a code.
//
// Data goes to stdout, everything else to stderr. What could not be written (a full disk) is a failure even when the
// command itself went well, so each flush is checked. A reader that went away has all it wanted: no failure.

#include <algorithm>
#include <csignal>
#include <exception>
#include <iostream>
#include <string_view>

#include "failure.h"
#include "options.h"
#include "output.h"

namespace {

/// A script that asked for JSON gets it even when the rest of the command line is unusable.
tool::Form formOf(int argc, const char* const* argv) {
  const bool json = std::any_of(argv, argv + argc, [](std::string_view argument) { return argument == "--json"; });
  return json ? tool::Form::Json : tool::Form::Table;
}

int run(int argc, const char* const* argv) {
  try {
    const tool::CommandLine line = tool::parseCommandLine(argc, argv);
    if (line.action) line.action(line.bus);
    tool::flushOutput();
    return tool::Exit_Done;
  } catch (const tool::Failure& failure) {
    std::cout.flush();
    try {
      tool::report(failure, formOf(argc, argv));
    } catch (const tool::ReaderGone&) { // was told on stderr
    }
    return failure.code;
  }
}

} // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  try {
    return run(argc, argv);
  } catch (const tool::ReaderGone&) {
    return tool::Exit_Done;
  } catch (const std::exception& error) {
    tool::putWarning(error.what());
    return tool::Exit_Other;
  }
}
