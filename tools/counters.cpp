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
#include "table.h"

namespace tool {
namespace {

void print(const std::vector<ovk_local_counter_t>& counters) {
  const bool silent =
      std::all_of(counters.begin(), counters.end(), [](const auto& counter) { return counter.value == 0; });
  if (silent) {
    std::cout << "all counters are 0\n";
    return;
  }
  Table table(std::cout, {{"counter", 7, Column::Right}, {"value", 10, Column::Right}, {"meaning", 7, Column::Left}});
  for (const auto& counter : counters) {
    if (counter.value == 0) continue;
    table.row({std::to_string(counter.number), std::to_string(counter.value), counter.meaning});
  }
}

void showCounters(const BusOptions& bus, const std::string& fid) {
  requireIdentifier(fid);
  Session session(bus);
  session.requireKnown(fid);
  std::vector<ovk_local_counter_t> counters;
  if (!ovk_local_read_counters(fid.c_str(), counters)) {
    throw Failure(Exit_Other, fid + " has no counters here: it is not running, or is a sensor (ask its controller)");
  }
  print(counters);
}

} // namespace

void addCountersCommand(CLI::App& app, Action& chosen) {
  CLI::App* command = addCommand(app, "counters", "Show the bus counters of a running participant",
                                 "  ovk counters VR017_00042_00A0B1C2D3E4");
  const auto fid = std::make_shared<std::string>();
  command->add_option("FID", *fid, "Identifier of the controller")->required();
  command->callback([=, &chosen] { chosen = [=](const BusOptions& bus) { showCounters(bus, *fid); }; });
}

} // namespace tool
