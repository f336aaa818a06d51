#pragma once

#include <string>
#include <vector>

// The text of topology.json. All members but "fid" and "parent" may be missing; unknown ones are errors:
//
//   {"controllers": [{"fid": "VR001_00001_0000000000AA", "name": "Boiler room", "model": "C4", "version": "2.1",
//                     "sensors": [{"fid": "VR001_00002_0000000000AB", "name": "Flow", "model": "S1"}]}],
//    "static": [{"parent": "VR001_00001_0000000000AA", "fid": "VR001_00003_0000000000AC", "name": "Pump"}]}
//
// Texts are taken and written as they stand between their quotes.

namespace ovk::local {

struct ConfiguredSensor {
  std::string fid, name, model;
};

struct ConfiguredController {
  std::string fid, name, model, version;
  std::vector<ConfiguredSensor> sensors;
};

struct StaticDevice {
  std::string parent, fid, name;
};

struct TopologyConfig {
  std::vector<ConfiguredController> controllers;
  std::vector<StaticDevice> statics;
};

/// Reads the text. On false `fault` names the member and what is wrong with it, and `config` is not to be used.
bool parseTopology(const std::string& text, TopologyConfig& config, std::string& fault);

/// What is wrong with the whole, each identifier being valid: empty when nothing is.
std::string conflictIn(const TopologyConfig& config);

std::string formatTopology(const TopologyConfig& config);

} // namespace ovk::local
