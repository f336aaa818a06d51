// ovk counters: the bus counters of a running participant, read from outside.
//
// Counters that are 0 are left out; no message is sent, so looking changes nothing.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>

#include "arguments.h"
#include "failure.h"
#include "options.h"
#include "ovk/local_platform.h"
#include "rounds.h"
#include "table.h"

namespace tool {
namespace {

struct Arguments {
  std::string fid;
  Rounds rounds;
};

using Counters = std::vector<ovk_local_counter_t>;

void printTable(const Counters& counters) {
  if (counters.empty()) {
    std::cout << "all counters are 0\n";
    return;
  }
  Table table(std::cout, {{"counter", 7, Column::Right}, {"value", 10, Column::Right}, {"meaning", 7, Column::Left}});
  for (const auto& counter : counters)
    table.row({std::to_string(counter.number), std::to_string(counter.value), counter.meaning});
}

/// A counter's value says nothing without its number, so -q gives both.
void print(const std::string& fid, const Counters& counters, Form form) {
  if (form == Form::Table) return printTable(counters);
  Json data = Json::array();
  for (const auto& counter : counters) {
    if (form == Form::Values) std::cout << counter.number << ' ' << counter.value << '\n';
    data.push_back({{"counter", counter.number}, {"value", counter.value}, {"meaning", counter.meaning}});
  }
  if (form == Form::Json) putJson({{"src", {{"fid", fid}}}, {"success", true}, {"data", data}});
}

Counters countersOf(Session& session, const std::string& fid) {
  session.requireKnown(fid);
  Counters counters;
  if (!ovk_local_read_counters(fid.c_str(), counters)) {
    throw Failure(Exit_Other, fid + " has no counters here: it is not running, or is a sensor (ask its controller)");
  }
  const auto isZero = [](const ovk_local_counter_t& counter) { return counter.value == 0; };
  counters.erase(std::remove_if(counters.begin(), counters.end(), isZero), counters.end());
  return counters;
}

void showCounters(const BusOptions& bus, const Arguments& arguments) {
  requireIdentifier(arguments.fid);
  Session session(bus);
  arguments.rounds.run(session, [&] { print(arguments.fid, countersOf(session, arguments.fid), bus.form); });
}

} // namespace

void addCountersCommand(CLI::App& app, Action& chosen) {
  CLI::App* command = addCommand(app, "counters", "Show the bus counters of a running participant",
                                 R"(  ovk counters VR017_00042_00A0B1C2D3E4
  ovk counters VR017_00042_00A0B1C2D3E4 --every 10 --json)");
  const auto arguments = std::make_shared<Arguments>();
  command->add_option("FID", arguments->fid, "Identifier of the controller")->required();
  arguments->rounds.addOptions(*command);
  command->callback([=, &chosen] { chosen = [=](const BusOptions& bus) { showCounters(bus, *arguments); }; });
}

} // namespace tool
