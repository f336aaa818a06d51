#pragma once

#include <string>

namespace bench {

inline constexpr const char* clientFid = "VR001_00001_0000000000C1";
inline constexpr const char* serverFid = "VR002_00002_0000000000D2";

/// The texts that the library sends for a read of so many registers and for its answer.
std::string readRequestText(int registers);
std::string readResponseText(int registers);

} // namespace bench
