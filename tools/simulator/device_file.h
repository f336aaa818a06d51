#pragma once

#include <string>

#include "simulator/device.h"

namespace tool {

/// Reads a device file and checks it whole. For the format see the top of device_file.cpp.
///
/// Fails with a text that names the file, the member's path (or line and column) and what is wrong.
DeviceDescription loadDeviceFile(const std::string& file);

} // namespace tool
