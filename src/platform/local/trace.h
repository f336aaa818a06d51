#pragma once

#include <string>
#include <system_error>

#include "platform/trace_log.h"

/// Writes one trace line in the name of the function it stands in.
#define OVK_LOCAL_TRACE(level, ...) logTracePrint("LocalPlatform", __LINE__, __func__, level, __VA_ARGS__)

namespace ovk::local {

/// What an errno value means, in words.
inline std::string errorText(int error) { return std::generic_category().message(error); }

} // namespace ovk::local
