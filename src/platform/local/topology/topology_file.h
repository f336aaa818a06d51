#pragma once

#include <functional>
#include <string>

#include "platform/local/bus/bus_directory.h"
#include "platform/local/topology/topology_text.h"

namespace ovk::local {

/// Reads topology.json; a missing one is empty. On false `fault` says what is wrong.
bool readTopologyFile(const BusDirectory& directory, TopologyConfig& config, std::string& fault);

/// What an edit does to the configuration. Empty when it was done, otherwise why it is refused.
using TopologyChange = std::function<std::string(TopologyConfig&)>;

/// Reads the file, changes it and replaces it in one step, one process at a time. Empty when the new file is in place,
/// otherwise why not; the old file is untouched then, unless all that failed was to make the new one outlast a loss of
/// power.
std::string editTopologyFile(const BusDirectory& directory, const TopologyChange& change);

} // namespace ovk::local
