#pragma once

#include <string>

// The platform under the benchmarks of receiving and sending: it answers at once from constants, so that what is measured
// is the library. JSON documents and the trace log are the bundled ones.

namespace bench {

inline constexpr const char* ownFid = "VR001_00001_0000000000C1";
inline constexpr const char* peerFid = "VR002_00002_0000000000D2";

/// What `send` writes to a channel; empty when it writes nothing.
std::string captured(void (*send)(const void*), const void* argument);

} // namespace bench
