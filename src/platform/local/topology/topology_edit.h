#pragma once

#include <string>

namespace ovk::local {

/// Adds a static device below a controller, or changes its name; a null name keeps the one it has. False, with a trace
/// line, when the change was not made.
bool setStaticDevice(const std::string& parent, const std::string& fid, const std::string* name);

bool deleteStaticDevice(const std::string& parent, const std::string& fid);

} // namespace ovk::local
