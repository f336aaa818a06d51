#pragma once

#include <string>

namespace ovk::local {

/// The identifier that the topology service was started with; empty before.
std::string& ownFid();

} // namespace ovk::local
