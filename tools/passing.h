#pragma once

#include <string>

#include "output.h"

namespace tool {

/// A message on the bus in a few words, for people. What it does not have, or has in an unexpected form, is left empty.
struct Passing {
  std::string from, to, type, refId, payload;
};

Passing describe(const Json& message);

} // namespace tool
