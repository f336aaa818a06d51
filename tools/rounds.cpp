// Asking again and again.
//
// Rounds keep their beat: one that takes longer than its time is followed at once by the next, without a rush to catch
// up.

#include "rounds.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "arguments.h"

namespace tool {
namespace {

bool mayPass(ExitCode code) {
  return code == Exit_Refused || code == Exit_Unknown || code == Exit_NoAnswer || code == Exit_NotSent;
}

} // namespace

void Rounds::addOptions(CLI::App& command) {
  command.add_option("--every", every, "Ask again each SEC seconds")->type_name("SEC");
  command.add_option("--count", count, "Ask N times, each second or --every SEC")
      ->check(CLI::Range(1, 1000000000).description(""))
      ->type_name("N");
}

void Rounds::run(Session& session, const std::function<void()>& ask) const {
  const bool once = every.empty() && count == 0;
  const auto beat = every.empty() ? std::chrono::seconds(1) : parseSeconds(every);
  auto next = std::chrono::steady_clock::now();
  ExitCode last = Exit_Done;
  for (int round = 1;; ++round) {
    try {
      ask();
      flushOutput();
    } catch (const Failure& failure) {
      if (once || !mayPass(failure.code)) throw;
      report(failure, session.options().form);
      last = failure.code;
    }
    if (once || round == count) break;
    next = std::max(next + beat, std::chrono::steady_clock::now());
    session.workUntil(next);
  }
  if (last != Exit_Done) throw Failure(last, "");
}

} // namespace tool
