#pragma once

#include <cerrno>
#include <chrono>
#include <ctime>

namespace ovk::local {

/// Sleeps until then. The time is absolute: signals neither shorten the pause nor prolong it.
inline void pauseUntil(std::chrono::steady_clock::time_point time) {
  const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
  const timespec end{static_cast<time_t>(nanoseconds / 1'000'000'000), static_cast<long>(nanoseconds % 1'000'000'000)};
  while (::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
  }
}

} // namespace ovk::local
