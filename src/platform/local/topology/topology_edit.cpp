// Edits of the static device list.
//
// What comes in is checked as strictly as what is read, because a file that nobody can read any more would take the
// whole configuration with it.

#include "platform/local/topology/topology_edit.h"

#include <algorithm>
#include <tuple>

#include "platform/local/topology/text_rules.h"
#include "platform/local/topology/topology_file.h"
#include "platform/local/trace.h"

namespace ovk::local {

namespace {

using Statics = std::vector<StaticDevice>;

Statics::iterator findDevice(Statics& statics, const std::string& parent, const std::string& fid) {
  return std::find_if(statics.begin(), statics.end(),
                      [&](const StaticDevice& device) { return device.parent == parent && device.fid == fid; });
}

// Sorted, so that the file does not tell in which order two editors came.
void insert(Statics& statics, StaticDevice device) {
  const auto isBefore = [](const StaticDevice& one, const StaticDevice& other) {
    return std::tie(one.parent, one.fid) < std::tie(other.parent, other.fid);
  };
  statics.push_back(std::move(device));
  std::stable_sort(statics.begin(), statics.end(), isBefore);
}

std::string argumentFault(const std::string& parent, const std::string& fid, const std::string* name) {
  for (const std::string* identifier : {&parent, &fid})
    if (const char* fault = identifierFault(*identifier)) return "identifier '" + *identifier + "' " + fault;
  const char* fault = name != nullptr ? quotingFault(*name) : nullptr;
  return fault != nullptr ? std::string("the name ") + fault : std::string();
}

bool edit(const std::string& fid, std::string fault, const TopologyChange& change) {
  if (fault.empty()) {
    const BusDirectoryPtr directory = busDirectory();
    if (!directory) return false;
    fault = editTopologyFile(*directory, change);
  }
  if (fault.empty()) return true;
  OVK_LOCAL_TRACE(traceError, "static device %s not changed: %s\n", fid.c_str(), fault.c_str());
  return false;
}

} // namespace

bool setStaticDevice(const std::string& parent, const std::string& fid, const std::string* name) {
  return edit(fid, argumentFault(parent, fid, name), [&](TopologyConfig& config) {
    const auto known = findDevice(config.statics, parent, fid);
    if (known == config.statics.end()) {
      insert(config.statics, {parent, fid, name != nullptr ? *name : std::string()});
    } else if (name != nullptr) {
      known->name = *name;
    }
    return std::string();
  });
}

bool deleteStaticDevice(const std::string& parent, const std::string& fid) {
  return edit(fid, argumentFault(parent, fid, nullptr), [&](TopologyConfig& config) {
    const auto known = findDevice(config.statics, parent, fid);
    if (known == config.statics.end()) return "there is none below " + parent;
    config.statics.erase(known);
    return std::string();
  });
}

} // namespace ovk::local
