#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ovk/export.h"

// The bundled platform: a bus for the processes of one machine, for development and tests. It needs no daemon and reads
// no environment variable; participants meet in a directory, the bus directory. On a controller, whose own services
// take its place, nothing of this header exists.
//
// Topology records (ovk_topology_get_list() and ovk_topology_cfg_get_static_device_list()):
//
//            controller                                   sensor
//   attr1    fusion identifier                            fusion identifier
//   attr2    name                                         name
//   attr3    model                                        model
//   attr4    version                                      "online" or "offline", as its controller
//   attr5    "online" or "offline"                        -
//   kind     1 running, 2 configured or left by a crash   -
//
// Texts that nobody gave are empty. Records are sorted by identifier.
//
// The static device functions take the controller, the device and, in the first form, its name; they return non-zero
// when the change was made. The selector of the static list is a controller's identifier, or empty for all. The two bus
// statistics are the messages that this process's channels delivered, and those that they received.

/// Chooses the bus directory. Call it before ovk_Init(); the default is "ovk-" and the user's number in /tmp.
///
/// The directory is made when it is missing, with mode 0700. One that belongs to somebody else, is a link, or may be
/// written to by others is refused when the bus is opened (a level 2 trace line says why; registrations give status 8).
///
/// @param path copied; null or empty for the default.
/// @return whether the path can be used: false when it is too long for the socket names in it.
OVK_API bool ovk_local_set_bus_directory(const char* path);

/// @return the bus directory in use.
OVK_API std::string ovk_local_bus_directory();

/// Chooses which trace lines are written: those of this level and below. 2 (errors) unless called; 6 adds progress and
/// values, 7 whole messages, a negative level silences everything.
OVK_API void ovk_local_set_trace_threshold(int level);

/// Takes trace lines. `line` has no line feed at its end, but may hold some; it is followed by a NUL and is gone after
/// the call.
using ovk_local_TraceSink_t = void (*)(const char* line, unsigned length, void* context);

/// Chooses where trace lines go.
///
/// @param sink    null for the standard error stream, which is the default.
/// @param context handed to the sink.
OVK_API void ovk_local_set_trace_sink(ovk_local_TraceSink_t sink, void* context);

/// A descriptor for poll() that is readable while ovk_DoWork() has messages to read. It stays the same while the
/// process lives, may be asked for at any time, and belongs to the library: do not read from it or close it.
///
/// @return the descriptor, or -1 when there is none to be had.
OVK_API int ovk_local_wait_descriptor();

/// One bus counter.
struct ovk_local_counter_t {
  int number;          ///< as in the list of bus counters
  const char* meaning; ///< what it counts, in a few words
  uint32_t value;
};

/// Reads the bus counters of a participant of this machine, from outside while it runs.
///
/// @param fid      its fusion identifier; the own one is allowed.
/// @param counters replaced by all counters, by number; untouched when the result is false.
/// @return false when no process of that identifier runs on the bus directory in use.
OVK_API bool ovk_local_read_counters(const char* fid, std::vector<ovk_local_counter_t>& counters);
