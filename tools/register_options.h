#pragma once

#include <string>

#include "notation.h"

namespace CLI {
class App;
}

namespace tool {

/// --as and --swap, for the commands that carry register values.
struct NotationOptions {
  std::string as = "u16";
  bool swap = false;

  void addOptions(CLI::App& command);
  Notation notation() const { return {as, swap}; }
};

/// A request carries at most two areas.
void requireAtMostTwo(const std::vector<std::string>& areas);

} // namespace tool
