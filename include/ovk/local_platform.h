#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ovk/export.h"

/// @file
/// The bundled platform: a bus for the processes of one machine, for development and tests. It needs no daemon and reads
/// no environment variable; participants meet in a directory, the bus directory. On a controller, whose own services
/// take its place, nothing of this header exists.
///
/// Participants. A process takes part under the identifier of ovk_Init() from its first registration with the bus
/// enabled until ovk_QMXBusShutdown() or its end. While it does, a second process of the same identifier gets no
/// channels (status 8). Whatever way it ends, its identifier is free at once; what a killed process left in the
/// directory is removed by the next one that joins. A forked child that never calls exec keeps its parent's identifier
/// taken. Who takes part when somebody removes the directory finds nobody on the bus any more, until it shuts down and
/// registers again.
///
/// Messages. Between two participants messages keep their order and their boundaries, and they are lost only when their
/// reader closes or dies with messages unread, or when the kernel has no memory left to watch a new writer's connection,
/// which the reader traces. Requests go to the controller that they name, or to that of the destination; responses go to
/// the controller of the requester; the own controller is a valid target. A write fails, with a level 2 trace line, when
/// the target does not run or has too many unread messages from this process. Measured on Linux 6 with send buffers of
/// 208 KB, the usual limit, and of 1 MB, where root or a higher limit allows it, a channel holds so many unread messages
/// of each writer:
///
///     bytes a message          300   4096   12288   16383
///     208 KB                   333     51      26      21
///     1 MB                    1639    249     127     102
///
/// Topology records (ovk_topology_get_list(), ovk_topology_cfg_get_static_device_list() and the third topology
/// callback):
///
///              controller                                   sensor or static device
///     attr1    fusion identifier                            fusion identifier
///     attr2    name                                         name
///     attr3    model                                        model
///     attr4    version                                      "online" or "offline", as its controller
///     attr5    "online" or "offline"                        -
///     kind     1 running, 2 configured or left by a crash   -
///
/// Texts that nobody gave are empty. Records are sorted by identifier, sensors too. Running controllers, the own one
/// among them, are found by themselves; a controller's parent is itself. The rest comes from an optional file in the bus
/// directory, topology.json, in which all members but "fid" and "parent" may be missing:
///
///     {"controllers": [{"fid": "VR001_00001_0000000000AA", "name": "Boiler room", "model": "C4", "version": "2.1",
///                       "sensors": [{"fid": "VR001_00002_0000000000AB", "name": "Flow", "model": "S1"}]}],
///      "static": [{"parent": "VR001_00001_0000000000AA", "fid": "VR001_00003_0000000000AC", "name": "Pump"}]}
///
/// Each identifier occurs once. A file with a fault (an unknown member, too) is ignored as a whole, with one level 2
/// trace line that names the member; the static device list cannot be had then. Texts stand as they stand between their
/// quotes. Who joins, leaves or edits is seen at the next call; a process killed, or a file written in place, within a
/// second. ovk_DoWork() then hands the new list to the third topology callback; it never calls the first two.
///
/// The static device functions take the controller, the device and, in the first form, its name; without a name, a
/// known device keeps its own. They return 1 when the change is on the disk; otherwise 0, with a level 2 trace line
/// that says why: a text that cannot stand in the file, an identifier that occurs in it already, nothing to delete, or
/// a file with a fault, which is left alone. Several processes may edit at once; one that another keeps from it for 5 s
/// gives up. While there are no descriptors to look at the directory, the list cannot be had, and what was known
/// counts. The selector of the static list is a controller's identifier, or empty for all; only controllers with static
/// devices are listed.
///
/// The two bus statistics are the messages that this process's channels delivered, and those that they received.

/// Chooses the bus directory. Call it before ovk_Init(): open channels stay where they are. The default is "ovk-" and
/// the user's number in /tmp.
///
/// The directory is made when it is missing, with mode 0700, but none above it. One that belongs to somebody else, is a
/// link, or may be written to by others is refused when the bus is opened (a level 2 trace line says why; registrations
/// give status 8).
///
/// @param path copied, and made absolute at once; null or empty for the default.
/// @return whether the path can be used: false, and nothing changed, when the absolute path has more than 79
///         characters, too many for the socket names in it. (An identifier of unusual characters may need more room;
///         its registrations give status 8 then.)
OVK_API bool ovk_local_set_bus_directory(const char* path);

/// @return the bus directory chosen, as an absolute path.
OVK_API std::string ovk_local_bus_directory();

/// Chooses which trace lines are written: those of this level and below. 2 (errors) unless called; 6 adds progress,
/// values and received messages, 7 sent ones; a negative level silences everything.
OVK_API void ovk_local_set_trace_threshold(int level);

/// Takes trace lines. `line` has no line feed at its end, but may hold some; it is followed by a NUL and is gone after
/// the call. An exception that the sink throws is swallowed. A sink calls no function of this
/// library.
using ovk_local_TraceSink_t = void (*)(const char* line, unsigned length, void* context);

/// Chooses where trace lines go.
///
/// @param sink    null for the standard error stream, which is the default.
/// @param context handed to the sink.
OVK_API void ovk_local_set_trace_sink(ovk_local_TraceSink_t sink, void* context);

/// A descriptor for poll() that is readable while ovk_DoWork() has messages to read. It stays the same while the
/// process lives, may be asked for at any time, and belongs to the library: do not read from it or close it. It tells
/// of messages only: wait with a time-out of about a second to hear of changes of the topology, too.
///
/// @return the descriptor, or -1 when there is none to be had.
OVK_API int ovk_local_wait_descriptor();

/// One bus counter.
struct ovk_local_counter_t {
  int number;          ///< as in the list of bus counters
  const char* meaning; ///< what it counts, in a few words
  uint32_t value;      ///< how often, since the start
};

/// Reads the bus counters of a participant of this machine, from outside while it runs. They are there from its
/// ovk_Init() to its end, bus enabled or not. Of two processes of one identifier only the first can be read.
///
/// @param fid      its fusion identifier; the own one is allowed. Null gives false.
/// @param counters replaced by all counters, by number; untouched when the result is false.
/// @return false when no process of that identifier runs on the bus directory chosen.
OVK_API bool ovk_local_read_counters(const char* fid, std::vector<ovk_local_counter_t>& counters);

/// A message that passed on the bus.
struct ovk_local_passed_t {
  int64_t time;     ///< when it was handed over: nanoseconds of the system's steady clock, the same in every process
  unsigned missed;  ///< messages of the same sender, since the last one seen, of which no copy was got
  std::string text; ///< the message
};

/// Begins to watch the bus: from now on copies of all messages that are delivered on it, whoever sends them, wait for
/// ovk_local_next_passed(), and ovk_local_wait_descriptor() is readable while some do. Call it after ovk_Init(), with or
/// without a registration. Nobody sees that the bus is watched, and no sender waits for a watcher: one that takes its
/// copies too slowly misses some.
///
/// @return whether the bus is watched now; false, with a level 2 trace line, when the bus directory cannot be used or
///         another process watches under the own identifier.
OVK_API bool ovk_local_start_watching();

/// Takes the next copy. Those of one sender come in their order; put those of several in order by their times.
///
/// @param passed replaced by it; untouched when the result is false.
/// @return false when none waits.
OVK_API bool ovk_local_next_passed(ovk_local_passed_t& passed);

/// Ends the watching; copies that were not taken are gone.
OVK_API void ovk_local_stop_watching();
