// What reading and writing registers have in common on the command line.

#include "register_options.h"

#include <CLI/CLI.hpp>

#include "arguments.h"
#include "failure.h"

namespace tool {

void NotationOptions::addOptions(CLI::App& command) {
  command.add_option("--as", as, "Values: u16, i16, hex, u32, i32 or f32; default: u16")->type_name("TYPE");
  command.add_flag("--swap", swap, "Of a value in two registers, the low half is first");
}

void requireAtMostTwo(const std::vector<std::string>& areas) {
  if (areas.size() <= 2) return;
  throw Failure(Exit_Usage, "'" + printable(areas[2]) + "' is one area too many; a request has at most two");
}

} // namespace tool
