// ovk monitor: the messages on the bus as they pass.
//
// Copies of different senders may get here in another order than that of their times, so each waits a moment for others
// before it is shown.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>

#include "arguments.h"
#include "options.h"
#include "ovk/local_platform.h"
#include "passing.h"
#include "simulator/answer_queue.h"
#include "table.h"

namespace tool {
namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::microseconds;

constexpr auto kSettling = std::chrono::milliseconds(20);

/// Ends the watching in every case.
class Watch {
public:
  explicit Watch(const Session& session) {
    if (!ovk_local_start_watching()) throw Failure(Exit_NoBus, "the bus cannot be watched" + session.why());
  }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;
  ~Watch() { ovk_local_stop_watching(); }
};

/// Time of the day, UTC, as in trace lines.
std::string timeText(Microseconds sinceEpoch) {
  const int64_t time = sinceEpoch.count() % 86'400'000'000;
  const auto second = static_cast<int>(time / 1'000'000);
  char text[32];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d.%06d", second / 3600, second / 60 % 60, second % 60,
                static_cast<int>(time % 1'000'000));
  return text;
}

class Display {
public:
  /// @param count messages to be shown; 0 for all
  Display(Form wanted, int count) : form(wanted), most(count) {
    if (form != Form::Table) return;
    table.emplace(std::cout, std::vector<Column>{{"time", 15, Column::Left},
                                                 {"from", 24, Column::Left},
                                                 {"to", 24, Column::Left},
                                                 {"type", 13, Column::Left},
                                                 {"reference", 14, Column::Left},
                                                 {"payload", 7, Column::Left}});
    flushOutput();
  }

  bool isComplete() const { return most > 0 && shown >= most; }

  void show(const ovk_local_passed_t& passed) {
    if (isComplete()) return;
    ++shown;
    if (passed.missed > 0) putWarning(std::to_string(passed.missed) + " messages passed too fast and are not shown");
    const Microseconds time = calendarTime(passed.time);
    const Json message = Json::parse(passed.text, nullptr, false);
    if (form == Form::Json) return showWhole(time, message, passed.text);
    const Passing words = describe(message);
    const std::string payload = message.is_discarded() ? "no JSON: " + passed.text : words.payload;
    if (form == Form::Table) {
      table->row({timeText(time), words.from, words.to, words.type, words.refId, payload});
    } else {
      std::cout << printable(payload) << '\n';
    }
    flushOutput();
  }

private:
  /// Messages are stamped with the clock that is the same for all; this one may be set meanwhile.
  Microseconds calendarTime(int64_t steady) {
    const auto now = std::chrono::system_clock::now().time_since_epoch() - Clock::now().time_since_epoch();
    const auto difference = now > offset ? now - offset : offset - now;
    if (difference > std::chrono::milliseconds(10)) offset = now;
    return std::chrono::duration_cast<Microseconds>(offset + std::chrono::nanoseconds(steady));
  }

  static void showWhole(Microseconds time, const Json& message, const std::string& text) {
    Json result = {{"time", static_cast<double>(time.count()) / 1e6}};
    result[message.is_discarded() ? "text" : "message"] = message.is_discarded() ? Json(text) : message;
    putJson(result);
  }

  Form form;
  int most;
  int shown = 0;
  std::optional<Table> table;
  std::chrono::nanoseconds offset{0};
};

/// Puts in line what came, each message until its time.
void takeCopies(AnswerQueue& waiting, Display& display) {
  ovk_local_passed_t passed;
  while (ovk_local_next_passed(passed)) {
    const Clock::time_point time{std::chrono::nanoseconds(passed.time)};
    waiting.add(time + kSettling, [&display, passed] { display.show(passed); });
  }
}

void watch(const BusOptions& bus, int count) {
  Session session(bus);
  const Watch watching(session);
  putLog("watching the bus in " + ovk_local_bus_directory());
  Display display(bus.form, count);
  AnswerQueue waiting;
  int timeout = 0;
  while (session.pause(timeout)) {
    takeCopies(waiting, display);
    waiting.release(Clock::now());
    if (display.isComplete()) return;
    timeout = waiting.timeToNext(Clock::now());
  }
  session.failStopped();
}

} // namespace

void addMonitorCommand(CLI::App& app, Action& chosen) {
  CLI::App* command = addCommand(app, "monitor", "Show the messages on the bus as they pass",
                                 R"(  ovk monitor
  ovk monitor --json --count 100
  ovk monitor --json | jq 'select(.message.success == false)')");
  const auto count = std::make_shared<int>(0);
  command->add_option("--count", *count, "End after N messages; default: at SIGINT or SIGTERM")
      ->check(CLI::Range(1, 1000000000).description(""))
      ->type_name("N");
  command->callback([=, &chosen] { chosen = [=](const BusOptions& bus) { watch(bus, *count); }; });
}

} // namespace tool
