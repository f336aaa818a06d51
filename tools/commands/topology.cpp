// ovk topology: who is on the bus and below which controller, and the list of static devices.
//
// The texts of a record are named attr1 to attr5; what they mean on this bus is told in ovk/local_platform.h, and only
// here is it used.

#include <CLI/CLI.hpp>
#include <iostream>
#include <optional>

#include "arguments.h"
#include "failure.h"
#include "options.h"
#include "ovk/local_platform.h"
#include "rounds.h"
#include "table.h"

namespace tool {
namespace {

struct Arguments {
  bool listStatic = false;
  std::string selector;
  std::string parent;
  std::string fid;
  std::optional<std::string> name; ///< an empty one takes the device's name away
  Rounds rounds;
};

std::string orDash(const std::string& text) { return text.empty() ? "-" : text; }

using Controllers = std::vector<ovk_topology_controller_t>;

void printTable(const Controllers& controllers) {
  Table table(std::cout, {{"identifier", 24, Column::Left},
                          {"role", 10, Column::Left},
                          {"name", 20, Column::Left},
                          {"at", 24, Column::Left},
                          {"state", 7, Column::Left}});
  for (const auto& controller : controllers) {
    table.row({controller.attr1, "controller", orDash(controller.attr2), "-", orDash(controller.attr5)});
    for (const auto& sensor : controller.sensors) {
      table.row({sensor.attr1, "sensor", orDash(sensor.attr2), controller.attr1, orDash(sensor.attr4)});
    }
  }
}

void printIdentifiers(const Controllers& controllers) {
  for (const auto& controller : controllers) {
    std::cout << controller.attr1 << '\n';
    for (const auto& sensor : controller.sensors) std::cout << sensor.attr1 << '\n';
  }
}

/// With the members that the list has in its file.
Json jsonOf(const Controllers& controllers) {
  Json data = Json::array();
  for (const auto& controller : controllers) {
    Json sensors = Json::array();
    for (const auto& sensor : controller.sensors) {
      sensors.push_back(
          {{"fid", sensor.attr1}, {"name", sensor.attr2}, {"model", sensor.attr3}, {"state", sensor.attr4}});
    }
    data.push_back({{"fid", controller.attr1},
                    {"name", controller.attr2},
                    {"model", controller.attr3},
                    {"version", controller.attr4},
                    {"state", controller.attr5},
                    {"sensors", sensors}});
  }
  return {{"controllers", data}};
}

void print(const Controllers& controllers, Form form) {
  if (form == Form::Table) return printTable(controllers);
  if (form == Form::Values) return printIdentifiers(controllers);
  putJson(ownResult(jsonOf(controllers)));
}

void listOnce(Session& session, const Arguments& arguments) {
  Controllers controllers = session.topology();
  if (arguments.listStatic && !ovk_topology_cfg_get_static_device_list(controllers, arguments.selector)) {
    throw Failure(Exit_Other, "the static devices could not be read" + session.why());
  }
  print(controllers, session.options().form);
  // What the bus complained of, an unusable topology file say, makes the list shorter but not wrong.
  if (!session.why().empty()) putWarning("this list may be incomplete" + session.why());
}

void list(const BusOptions& bus, const Arguments& arguments) {
  if (!arguments.selector.empty()) requireIdentifier(arguments.selector);
  Session session(bus);
  arguments.rounds.run(session, [&] { listOnce(session, arguments); });
}

void requireDone(const Session& session, int result, const std::string& what) {
  if (result != 0) return;
  const std::string why = session.why();
  session.topology(); // fails by itself when the bus cannot be used at all
  throw Failure(Exit_Other, what + " was not possible" + why);
}

void printDone(const char* what, const Arguments& arguments, Form form) {
  if (form == Form::Json) putJson(ownResult({{"parent", arguments.parent}, {"fid", arguments.fid}}));
  if (form == Form::Table) std::cout << what << ' ' << arguments.fid << " below " << arguments.parent << '\n';
}

void add(const BusOptions& bus, const Arguments& arguments) {
  requireIdentifier(arguments.parent);
  requireIdentifier(arguments.fid);
  Session session(bus);
  const int result = arguments.name
                         ? ovk_topology_cfg_set_static_device(arguments.parent, arguments.fid, *arguments.name)
                         : ovk_topology_cfg_set_static_device(arguments.parent, arguments.fid);
  requireDone(session, result, "adding " + arguments.fid + " below " + arguments.parent);
  printDone("added", arguments, bus.form);
}

void remove(const BusOptions& bus, const Arguments& arguments) {
  requireIdentifier(arguments.parent);
  requireIdentifier(arguments.fid);
  Session session(bus);
  const int result = ovk_topology_cfg_delete_static_device(arguments.parent, arguments.fid);
  requireDone(session, result, "removing " + arguments.fid + " below " + arguments.parent);
  printDone("removed", arguments, bus.form);
}

using Run = void (*)(const BusOptions&, const Arguments&);

/// The innermost command decides: its callback comes before those of the commands around it.
void choose(CLI::App* command, const std::shared_ptr<Arguments>& arguments, Action& chosen, Run run) {
  command->callback([=, &chosen] {
    if (!chosen) chosen = [=](const BusOptions& bus) { run(bus, *arguments); };
  });
}

CLI::App* addEditCommand(CLI::App& topology, const std::shared_ptr<Arguments>& arguments, const char* name,
                         const char* description, const char* example) {
  CLI::App* command = addCommand(topology, name, description, example);
  command->add_option("PARENT", arguments->parent, "Identifier of the controller")->required();
  command->add_option("FID", arguments->fid, "Identifier of the device below it")->required();
  return command;
}

} // namespace

void addTopologyCommand(CLI::App& app, Action& chosen) {
  CLI::App* command = addCommand(app, "topology", "List who is on the bus; edit the list of static devices",
                                 R"(  ovk topology
  ovk topology --static VR017_00042_00A0B1C2D3E4
  ovk topology --every 5)");
  const auto arguments = std::make_shared<Arguments>();
  const auto selectStatic = [arguments](const std::string& selector) {
    arguments->listStatic = true;
    arguments->selector = selector;
  };
  command
      ->add_option_function<std::string>("--static", selectStatic,
                                         "List static devices only; of one controller, or of all")
      ->expected(0, 1)
      ->type_name("[CONTROLLER]");
  arguments->rounds.addOptions(*command);
  choose(command, arguments, chosen, &list);

  CLI::App* adding = addEditCommand(*command, arguments, "add", "Add a static device or change its name",
                                    R"(  ovk topology add VR017_00042_00A0B1C2D3E4 VR101_10017_00000000A1B2
  ovk topology add VR017_00042_00A0B1C2D3E4 VR101_10017_00000000A1B2 "tank")");
  adding->add_option("NAME", arguments->name, "Name of the device");
  choose(adding, arguments, chosen, &add);
  CLI::App* removing = addEditCommand(*command, arguments, "remove", "Remove a static device",
                                      R"(  ovk topology remove VR017_00042_00A0B1C2D3E4 VR101_10017_00000000A1B2
  ovk topology remove VR017_00042_00A0B1C2D3E4 VR101_10017_00000000A1B2 --json)");
  choose(removing, arguments, chosen, &remove);
}

} // namespace tool
