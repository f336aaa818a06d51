#pragma once

#include <chrono>
#include <cstdint>
#include <string_view>

#include "platform/local/channels/write_channel.h"
#include "platform/local/topology/bus_view.h"

// Copies of the messages on the bus, for processes that watch it without taking part.

namespace ovk::local {

using WatchTime = std::chrono::nanoseconds; // of the steady clock, which all processes of a machine share

inline bool isWatched() { return !busView().watchers().empty(); }
inline WatchTime watchTime() { return std::chrono::steady_clock::now().time_since_epoch(); }

/// Hands a copy to everybody who watches. One who does not take its copies fast enough misses some.
///
/// @param copies  the channel of copies
/// @param time    when the message was handed over
/// @param message one that was delivered, and counted so
void showToWatchers(WriteChannel& copies, WatchTime time, std::string_view message);

} // namespace ovk::local
