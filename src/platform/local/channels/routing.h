#pragma once

#include <string>
#include <string_view>

namespace ovk::local {

/// The controller to which a message of the channel goes. Empty, with a trace line, when the message does not say or
/// names somebody unknown.
std::string targetOf(int channel, std::string_view message);

} // namespace ovk::local
