#pragma once

#include <string>
#include <string_view>

// What the files in the bus directory are called. A participant's files have its identifier, encoded, and a suffix that
// tells their use; an encoded identifier has no dot, so that no identifier can name a file of another use.

namespace ovk::local {

constexpr std::string_view lockSuffix = ".lock";         ///< locked while the participant runs
constexpr std::string_view countersSuffix = ".counters"; ///< its bus counters, locked by the process that counts
constexpr std::string_view watcherSuffix = ".watcher";   ///< locked while a process watches the bus under it
constexpr std::string_view topologyFileName = "topology.json";

/// Beside the transfer channels, one for the copies that a watcher reads.
constexpr int copiesChannel = 4;

/// Suffix of the socket at which a participant reads the channel.
std::string socketSuffix(int channel);

/// The name of a participant's file: every byte but letters, digits, '_' and '-' becomes %XX.
std::string fileName(std::string_view fid, std::string_view suffix);

/// Takes the identifier out of such a name. False for a name that fileName() does not give with this suffix.
bool identifierOf(std::string_view name, std::string_view suffix, std::string& fid);

} // namespace ovk::local
