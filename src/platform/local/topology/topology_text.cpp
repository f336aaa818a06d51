// Reads and writes the text of topology.json.
//
// A typing error in a member's name must not silently lose a device, so nothing unknown is passed over: the first fault
// ends the reading and is reported with the path of the member.

#include "platform/local/topology/topology_text.h"

#include <algorithm>
#include <initializer_list>
#include <set>
#include <string_view>

#include "platform/json.h"
#include "platform/local/topology/text_rules.h"

namespace ovk::local {

namespace {

// One object of the text with its path, for the reports.
class Reader {
public:
  Reader(const Json& object, std::string path, std::string& fault)
      : object_(object), path_(std::move(path)), fault_(fault) {}

  bool hasOnly(std::initializer_list<std::string_view> allowed) {
    std::vector<std::string> names;
    if (!object_.getNames("", names)) return fail("", "is not an object");
    std::set<std::string> seen;
    for (const std::string& name : names) {
      if (std::find(allowed.begin(), allowed.end(), name) == allowed.end()) return fail(name, "is not a known member");
      if (!seen.insert(name).second) return fail(name, "occurs twice");
    }
    return true;
  }

  // An absent text stays empty.
  bool text(const char* name, std::string& value) {
    Json any;
    if (!object_.getObject(name, any)) return true;
    if (!object_.GetValueAsString(name, value)) return fail(name, "is not a text");
    return std::none_of(value.begin(), value.end(), isControlCharacter) || fail(name, "holds a control character");
  }

  bool identifier(const char* name, std::string& value) {
    if (!text(name, value)) return false;
    if (value.empty()) return fail(name, "is missing");
    const char* wrong = identifierFault(value);
    return wrong == nullptr || fail(name, wrong);
  }

  // Reads each element of an array by `read`; an absent array stays empty.
  template <class Item>
  bool items(const char* name, std::vector<Item>& list, bool (*read)(Reader, Item&)) {
    Json array;
    std::string quoted;
    if (!object_.getObject(name, array)) return true;
    if (object_.GetValueAsString(name, quoted) || array.text().front() != '[') return fail(name, "is not an array");
    Json element;
    for (std::size_t i = 0; array.getObject('[' + std::to_string(i) + ']', element); ++i) {
      list.emplace_back();
      if (!read(Reader(element, pathOf(name) + '[' + std::to_string(i) + ']', fault_), list.back())) return false;
    }
    return true;
  }

  bool fail(const std::string& name, const std::string& what) {
    const std::string path = pathOf(name);
    fault_ = (path.empty() ? "the text" : path) + ' ' + what;
    return false;
  }

private:
  std::string pathOf(const std::string& name) const {
    return path_.empty() || name.empty() ? path_ + name : path_ + '.' + name;
  }

  const Json& object_;
  std::string path_;
  std::string& fault_;
};

bool readSensor(Reader reader, ConfiguredSensor& sensor) {
  return reader.hasOnly({"fid", "name", "model"}) && reader.identifier("fid", sensor.fid) &&
         reader.text("name", sensor.name) && reader.text("model", sensor.model);
}

bool readController(Reader reader, ConfiguredController& controller) {
  return reader.hasOnly({"fid", "name", "model", "version", "sensors"}) && reader.identifier("fid", controller.fid) &&
         reader.text("name", controller.name) && reader.text("model", controller.model) &&
         reader.text("version", controller.version) && reader.items("sensors", controller.sensors, readSensor);
}

bool readStatic(Reader reader, StaticDevice& device) {
  return reader.hasOnly({"parent", "fid", "name"}) && reader.identifier("parent", device.parent) &&
         reader.identifier("fid", device.fid) && reader.text("name", device.name);
}

// One object in one line; members without a text are left out.
std::string members(std::initializer_list<std::pair<const char*, const std::string*>> texts) {
  Json object;
  for (const auto& [name, text] : texts)
    if (!text->empty()) object.add(name, '"' + *text + '"');
  return std::string(object.text());
}

// The array's elements, one a line.
std::string lines(const std::vector<std::string>& elements, const std::string& indent) {
  std::string text = "[";
  for (const std::string& element : elements) text.append(text.size() > 1 ? ",\n" : "\n").append(indent + element);
  return text.append("]");
}

std::string formatController(const ConfiguredController& controller) {
  std::string text = members({{"fid", &controller.fid},
                              {"name", &controller.name},
                              {"model", &controller.model},
                              {"version", &controller.version}});
  if (controller.sensors.empty()) return text;
  std::vector<std::string> sensors;
  for (const ConfiguredSensor& sensor : controller.sensors)
    sensors.push_back(members({{"fid", &sensor.fid}, {"name", &sensor.name}, {"model", &sensor.model}}));
  text.pop_back();
  return text.append(",\"sensors\":").append(lines(sensors, "    ")).append("}");
}

} // namespace

bool parseTopology(const std::string& text, TopologyConfig& config, std::string& fault) {
  Json document;
  Json whole;
  document.load(text);
  Reader reader(document, "", fault);
  config = TopologyConfig();
  if (!document.getObject("", whole)) return reader.fail("", "is not valid JSON");
  if (!reader.hasOnly({"controllers", "static"}) || !reader.items("controllers", config.controllers, readController) ||
      !reader.items("static", config.statics, readStatic))
    return false;
  fault = conflictIn(config);
  return fault.empty();
}

std::string conflictIn(const TopologyConfig& config) {
  std::set<std::string> known;
  std::string conflict;
  const auto enter = [&](const std::string& fid) {
    if (!known.insert(fid).second) conflict = fid + " occurs twice";
  };
  for (const ConfiguredController& controller : config.controllers) {
    enter(controller.fid);
    for (const ConfiguredSensor& sensor : controller.sensors) enter(sensor.fid);
  }
  for (const StaticDevice& device : config.statics) {
    enter(device.fid);
    if (device.fid == device.parent) conflict = device.fid + " is its own parent";
  }
  return conflict;
}

std::string formatTopology(const TopologyConfig& config) {
  std::vector<std::string> controllers;
  std::vector<std::string> statics;
  for (const ConfiguredController& controller : config.controllers) controllers.push_back(formatController(controller));
  for (const StaticDevice& device : config.statics)
    statics.push_back(members({{"parent", &device.parent}, {"fid", &device.fid}, {"name", &device.name}}));
  return "{\"controllers\":" + lines(controllers, "  ") + ",\n \"static\":" + lines(statics, "  ") + "}\n";
}

} // namespace ovk::local
