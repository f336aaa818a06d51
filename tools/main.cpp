// The command-line tool: reads the command line, lets the command work, turns its failure into one line and a code.
//
// Data goes to stdout, everything else to stderr. What could not be written (a full disk, a reader that went away) is
// a failure even when the command itself went well, so SIGPIPE is ignored and the last flush is checked.

#include <csignal>
#include <exception>
#include <iostream>

#include "failure.h"
#include "options.h"

namespace {

int fail(tool::ExitCode code, const char* text) {
  std::cout.flush();
  std::cerr << "ovk: " << text << '\n';
  return code;
}

int run(int argc, const char* const* argv) {
  const tool::CommandLine line = tool::parseCommandLine(argc, argv);
  if (line.action) line.action(line.bus);
  if (!std::cout.flush()) throw tool::Failure(tool::Exit_Other, "the output could not be written");
  return tool::Exit_Done;
}

} // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  try {
    return run(argc, argv);
  } catch (const tool::Failure& failure) {
    return fail(failure.code, failure.what());
  } catch (const std::exception& error) {
    return fail(tool::Exit_Other, error.what());
  }
}
