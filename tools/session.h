#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <utility>

#include "output.h"
#include "ovk/ovk.h"
#include "stop_signal.h"

namespace tool {

/// The options that every command has.
struct BusOptions {
  std::string directory; ///< empty: the library's default
  std::string id;        ///< own identifier
  bool idGiven = false;  ///< by the user; else made for this process alone
  std::chrono::milliseconds timeout{2000};
  int verbose = 0;
  Form form = Form::Table;
};

/// What is known of the answer to one request.
struct Reply {
  std::string source;
  std::string refId;
  bool arrived = false;
  bool refused = false;
  std::string reason;

  /// Takes the answer's header when it is the one waited for. Others (late answers to earlier requests) are ignored.
  template <class Record>
  bool take(const Record& record) {
    if (arrived || source != record.srcFid || refId != record.refId) return false;
    arrived = true;
    refused = record.success == 0;
    reason = record.errReason;
    return !refused;
  }
};

/// This process's part in the bus, from initialisation to shutdown. One at a time. SIGINT and SIGTERM end a wait, and
/// with it the session in good order.
class Session {
public:
  explicit Session(BusOptions busOptions);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Hands each record of the service to `receiver.receive(record)`, as long as the session works; the last call for a
  /// service counts. Fails (no bus) when the channels cannot be opened.
  template <ovk_Service_t service, class Record, class Receiver>
  void listen(Receiver& receiver) {
    registerService(service, &deliver<service, Record, Receiver>, &receiver);
  }

  /// Sends one request and waits for its answer, which `take` copies from the record. `send` gets the reference and
  /// returns the library's status. Fails when the device is unknown, refuses, or does not answer in time.
  template <ovk_Service_t service, class Record, class Send, class Take>
  void ask(const std::string& fid, Send send, Take take) {
    Question<Record, Take> question{{fid, nextReference(), false, false, ""}, std::move(take)};
    const Unlisten end{service};
    listen<service, Record>(question);
    requireKnown(fid);
    exchange(question.reply, [&] { return send(question.reply.refId.c_str()); });
  }

  /// Fails unless the topology knows the participant.
  void requireKnown(const std::string& fid) const;
  void work() { ovk_DoWork(nullptr, nullptr, nullptr); }
  /// Waits for messages, at most so many milliseconds (without end when negative). False when the process is to end.
  bool pause(int64_t milliseconds) const;
  /// Works until then.
  void workUntil(std::chrono::steady_clock::time_point time);
  /// Ends the command as the signal wants it.
  [[noreturn]] void failStopped() const;
  /// The bus's view of itself, without the passing participant that this process may be.
  std::vector<ovk_topology_controller_t> topology() const;
  /// Trace lines are kept until something fails, unless --verbose or this says otherwise.
  void traceToStderr();
  /// What the bus said about a failure, to be appended to an error text.
  std::string why() const;
  const BusOptions& options() const { return opts; }

private:
  template <class Record, class Take>
  struct Question {
    Reply reply;
    Take copy;
    void receive(const Record& record) {
      if (reply.take(record)) copy(record);
    }
  };

  /// Leaves a service without a receiver: an answer that comes later than its timeout is ignored.
  struct Unlisten {
    ovk_Service_t service;
    ~Unlisten() { OrvaneServices[static_cast<std::size_t>(service)].p_UserContext = nullptr; }
  };

  template <ovk_Service_t service, class Record, class Receiver>
  static int deliver(void* data, unsigned /*size*/) {
    auto* receiver = static_cast<Receiver*>(OrvaneServices[service].p_UserContext);
    if (receiver != nullptr) receiver->receive(*static_cast<const Record*>(data));
    return 0;
  }

  void registerService(ovk_Service_t service, ovk_ServiceCallback_t callback, void* receiver);
  void exchange(const Reply& reply, const std::function<unsigned()>& send);
  bool waitFor(const bool& arrived, std::chrono::steady_clock::time_point deadline);
  void requireSent(const std::string& fid, unsigned status) const;
  [[noreturn]] void failSilent(const Reply& reply, const std::vector<uint32_t>& errorsBefore) const;
  std::vector<uint32_t> errorCounters() const;
  std::string nextReference();
  static void keepTrace(const char* line, unsigned length, void* session);

  StopSignal stop; // before the bus is opened: an early SIGTERM must leave nothing behind
  BusOptions opts;
  std::string firstTrace; ///< of what is being tried
  unsigned requests = 0;
};

} // namespace tool
