#pragma once

#include <string>

namespace tool {

/// All that is in a file. One that cannot be read, or is empty, is a Failure that says why.
std::string contentOf(const std::string& file);

} // namespace tool
