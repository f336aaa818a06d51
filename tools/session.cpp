// One process's part in the bus: start, requests with their deadlines, shutdown.
//
// The library remembers no request, so the matching of answers and the waiting are here. Waiting is poll() on the
// library's descriptor, never a pause. A failed answer without a reason, or a failed device information answer without
// payload, is dropped before it reaches a callback: only the own error counters tell that something came.

#include "session.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <poll.h>
#include <unistd.h>

#include "arguments.h"
#include "failure.h"
#include "ovk/local_platform.h"

namespace tool {
namespace {

using Clock = std::chrono::steady_clock;

/// The counters that grow when an answer arrives that cannot be delivered.
constexpr std::array<int, 5> kAnswerErrors = {0, 52, 60, 68, 76};

constexpr size_t kMostNamesListed = 8;

std::string listOf(const std::vector<ovk_topology_controller_t>& controllers) {
  std::vector<std::string> names;
  for (const auto& controller : controllers) {
    names.push_back(controller.attr1);
    for (const auto& sensor : controller.sensors) names.push_back(sensor.attr1);
  }
  if (names.empty()) return "nobody";
  std::string text;
  for (size_t i = 0; i < names.size() && i < kMostNamesListed; ++i) text += (i > 0 ? ", " : "") + names[i];
  if (names.size() > kMostNamesListed) text += " and " + std::to_string(names.size() - kMostNamesListed) + " more";
  return text;
}

/// "0.5 s"; without a stream, whose form the locale might change.
std::string secondsText(std::chrono::milliseconds time) {
  std::string text = std::to_string(time.count() / 1000) + "." + std::to_string(1000 + time.count() % 1000).substr(1);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return text + " s";
}

} // namespace

Session::Session(BusOptions busOptions) : opts(std::move(busOptions)) {
  if (!ovk_local_set_bus_directory(opts.directory.c_str())) {
    throw Failure(Exit_NoBus, "the bus directory '" + opts.directory + "' cannot be used; give --bus a shorter path");
  }
  ovk_local_set_trace_threshold(opts.verbose == 0 ? 2 : opts.verbose == 1 ? 6 : 7);
  if (opts.verbose == 0) ovk_local_set_trace_sink(&keepTrace, this);
  ovk_Init(true, opts.id.c_str(), nullptr, nullptr, nullptr);
}

Session::~Session() {
  ovk_QMXBusShutdown();
  traceToStderr();
}

void Session::registerService(ovk_Service_t service, ovk_ServiceCallback_t callback, void* receiver) {
  std::string before; // a fault in topology.json is told only once, and still of interest
  before.swap(firstTrace);
  const unsigned status =
      ovk_RegisterForService(service, reinterpret_cast<void*>(callback), receiver, nullptr, nullptr);
  if (firstTrace.empty()) firstTrace.swap(before);
  if (status == ovk_Status_Done) return;
  throw Failure(Exit_NoBus, "the bus in " + ovk_local_bus_directory() + " could not be opened" + why());
}

std::vector<ovk_topology_controller_t> Session::topology() const {
  std::vector<ovk_topology_controller_t> controllers;
  if (!ovk_topology_get_list(controllers)) {
    throw Failure(Exit_NoBus, "the topology of " + ovk_local_bus_directory() + " could not be read" + why());
  }
  if (opts.idGiven) return controllers;
  std::vector<ovk_topology_controller_t> others;
  for (auto& controller : controllers) {
    if (controller.attr1 != opts.id) others.push_back(std::move(controller));
  }
  return others;
}

void Session::requireKnown(const std::string& fid) const {
  if (ovk_topology_is_orvane_device(fid) != 0) return;
  throw Failure(Exit_Unknown, fid + " is not on the bus in " + ovk_local_bus_directory() + " (known: " +
                                  listOf(topology()) + "); start it, for instance with 'ovk sim FILE'" + why());
}

void Session::exchange(const Reply& reply, const std::function<unsigned()>& send) {
  const std::vector<uint32_t> errorsBefore = errorCounters();
  firstTrace.clear(); // it was about earlier attempts
  requireSent(reply.source, send());
  if (!waitFor(reply.arrived, Clock::now() + opts.timeout)) failSilent(reply, errorsBefore);
  if (reply.refused) throw RefusalFailure(reply.source, reply.refId, printable(reply.reason));
}

void Session::requireSent(const std::string& fid, unsigned status) const {
  if (status == ovk_Status_Done) return;
  if (status == ovk_Status_Topology) throw Failure(Exit_Unknown, "no way to " + fid + " is known" + why());
  const std::string code = " (status " + std::to_string(status) + ")";
  if (status != ovk_Status_NotWritten) throw Failure(Exit_Other, "no request for " + fid + code + why());
  throw Failure(Exit_NotSent, "the request could not be sent to " + fid + "; is it running?" + why());
}

bool Session::waitFor(const bool& arrived, Clock::time_point deadline) {
  for (;;) {
    work();
    if (arrived) return true;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) return false;
    if (!pause(left)) failStopped();
  }
}

void Session::workUntil(Clock::time_point time) { waitFor(false, time); }

bool Session::pause(int64_t milliseconds) const {
  const int time = static_cast<int>(std::min<int64_t>(milliseconds, INT_MAX));
  pollfd awaited[] = {{ovk_local_wait_descriptor(), POLLIN, 0}, {stop.descriptor(), POLLIN, 0}};
  // A signal that was handled cuts a wait short, no more.
  if (poll(awaited, 2, time) < 0 && errno != EINTR) throw Failure(Exit_Other, "cannot wait for messages");
  return awaited[1].revents == 0;
}

void Session::failStopped() const {
  const int signal = stop.take();
  throw Failure(static_cast<ExitCode>(Exit_Signal + signal), signal == SIGINT ? "interrupted" : "terminated");
}

void Session::failSilent(const Reply& reply, const std::vector<uint32_t>& errorsBefore) const {
  const std::vector<uint32_t> errors = errorCounters();
  std::string text = "no answer from " + reply.source + " within " + secondsText(opts.timeout);
  for (size_t i = 0; i < errors.size() && i < errorsBefore.size(); ++i) {
    if (errors[i] == errorsBefore[i]) continue;
    text.append(": an answer came but could not be read (counter ").append(std::to_string(kAnswerErrors[i]));
    throw Failure(Exit_NoAnswer, text + ")");
  }
  throw Failure(Exit_NoAnswer, text + "; it may be busy (try a longer --timeout), or not offer this service");
}

std::vector<uint32_t> Session::errorCounters() const {
  std::vector<ovk_local_counter_t> counters;
  // Without counters there is no hint, which is no reason to fail.
  std::vector<uint32_t> values(kAnswerErrors.size());
  if (!ovk_local_read_counters(opts.id.c_str(), counters)) return values;
  for (const auto& counter : counters) {
    for (size_t i = 0; i < kAnswerErrors.size(); ++i) {
      if (kAnswerErrors[i] == counter.number) values[i] = counter.value;
    }
  }
  return values;
}

std::string Session::nextReference() { return "ovk-" + std::to_string(getpid()) + "-" + std::to_string(++requests); }

void Session::traceToStderr() { ovk_local_set_trace_sink(nullptr, nullptr); }

// Time and place of the line, up to the first ": ", are of no use to who made a request.
std::string Session::why() const {
  const size_t place = firstTrace.find(": ");
  return place == std::string::npos ? "" : " (" + printable(std::string_view(firstTrace).substr(place + 2)) + ")";
}

void Session::keepTrace(const char* line, unsigned length, void* session) {
  // The first line is closest to the cause; what follows only says that the caller failed too. That nobody can read the
  // counters is no cause of anything.
  std::string& kept = static_cast<Session*>(session)->firstTrace;
  const std::string_view text(line, length);
  if (kept.empty() && text.find(" not published: ") == std::string_view::npos) kept = text;
}

} // namespace tool
