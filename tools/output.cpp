// What goes to stdout and how it gets there.
//
// A write that failed does not tell why once the stream has swallowed the error; the pipe itself does.

#include "output.h"

#include <csignal>
#include <iostream>
#include <optional>
#include <poll.h>
#include <unistd.h>

namespace tool {
namespace {

/// While a reader holds the output up, nobody looks at the signals that ask for an end: they end the process themselves.
class EndedBySignals {
public:
  EndedBySignals() {
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGINT);
    sigaddset(&ends, SIGTERM);
    sigprocmask(SIG_UNBLOCK, &ends, &before);
  }
  EndedBySignals(const EndedBySignals&) = delete;
  EndedBySignals& operator=(const EndedBySignals&) = delete;
  ~EndedBySignals() { sigprocmask(SIG_SETMASK, &before, nullptr); }

private:
  sigset_t before{};
};

} // namespace

void flushOutput() {
  pollfd output{STDOUT_FILENO, POLLOUT, 0};
  std::optional<EndedBySignals> heldUp;
  if (poll(&output, 1, 0) == 0) heldUp.emplace();
  if (std::cout.flush()) return;
  if (poll(&output, 1, 0) > 0 && (output.revents & (POLLERR | POLLHUP)) != 0) throw ReaderGone();
  throw Failure(Exit_Other, "the output could not be written");
}

void putJson(const Json& result) {
  std::cout << result.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
  flushOutput();
}

Json valueJson(const std::string& text, bool isNumber) {
  Json number = isNumber ? Json::parse(text, nullptr, false) : Json();
  return number.is_number() ? number : Json(text);
}

Json ownResult(Json data) { return {{"success", true}, {"data", std::move(data)}}; }

void putLog(const std::string& line) { std::cerr << line + '\n'; }

void putWarning(const std::string& text) { putLog("ovk: " + text); }

void report(const Failure& failure, Form form) {
  const std::string text = failure.what();
  if (text.empty()) return;
  putWarning(text);
  if (form != Form::Json || failure.code > Exit_Signal) return;
  Json result = {{"success", false}, {"err_reason", text}};
  if (const auto* refusal = dynamic_cast<const RefusalFailure*>(&failure)) {
    result = {{"ref_id", refusal->refId},
              {"src", {{"fid", refusal->source}}},
              {"success", false},
              {"err_reason", refusal->reason}};
  }
  putJson(result);
}

} // namespace tool
