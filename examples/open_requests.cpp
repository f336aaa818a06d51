// Asks several devices at once, and waits for each answer as long as its own deadline allows:
//   open_requests [--bus DIRECTORY] DEVICE:REGISTER...
//
// The library remembers no request. An application that has more than one open keeps a table like the one below: the
// answers of all its services go through it, and its nearest deadline says how long poll() may wait.
#include <ovk/local_platform.h>
#include <ovk/ovk.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

class OpenRequests {
public:
  /// Enters a request. The reference returned, to be sent with it, is new: an answer to an earlier process of this
  /// identifier must not be taken for one of ours.
  std::string open(const std::string& device, Clock::duration patience) {
    std::string refId = std::to_string(::getpid()) + '-' + std::to_string(++last_);
    requests_[refId] = {device, Clock::now() + patience};
    return refId;
  }
  /// Takes the request out that a record answers; false for one that was given up, or asked of somebody else.
  bool close(const char* refId, const char* device) {
    const auto found = requests_.find(refId);
    if (found == requests_.end() || found->second.device != device) return false;
    requests_.erase(found);
    return true;
  }
  /// Takes out every request whose deadline has passed, and names their devices.
  std::vector<std::string> giveUp(Clock::time_point now) {
    std::vector<std::string> devices;
    for (auto at = requests_.begin(); at != requests_.end();) {
      const bool expired = at->second.deadline <= now;
      if (expired) devices.push_back(at->second.device);
      at = expired ? requests_.erase(at) : std::next(at);
    }
    return devices;
  }
  bool empty() const { return requests_.empty(); }
  /// Milliseconds until the next deadline, rounded up so that poll() does not wake just before it; -1 for no deadline.
  int timeToNext(Clock::time_point now) const {
    if (requests_.empty()) return -1;
    Clock::time_point next = Clock::time_point::max();
    for (const auto& [refId, request] : requests_) next = std::min(next, request.deadline);
    return next <= now ? 0 : static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(next - now).count());
  }

private:
  struct Request {
    std::string device;
    Clock::time_point deadline;
  };
  std::map<std::string, Request> requests_; // by reference
  unsigned last_ = 0;
};

OpenRequests openRequests;
int failures = 0;

void fail(const std::string& device, const std::string& reason) {
  std::printf("%s: %s\n", device.c_str(), reason.c_str());
  ++failures;
}

int onAnswer(void* data, unsigned /*length*/) {
  const auto& answer = *static_cast<ovk_RegisterReadRspCallbackData_t*>(data);
  if (!openRequests.close(answer.refId, answer.srcFid)) return 0;
  if (answer.success == 0) {
    fail(answer.srcFid, answer.errReason);
  } else if (answer.numberRegisters1 < 1) {
    fail(answer.srcFid, "answered without a value");
  } else {
    std::printf("%s: register %d = %d\n", answer.srcFid, answer.startRegister1, answer.pStartRegister1[0]);
  }
  return 0;
}

void ask(const std::string& question) {
  const std::string device = question.substr(0, question.find(':'));
  const auto address = std::strtol(question.c_str() + std::min(device.size() + 1, question.size()), nullptr, 10);
  const std::string refId = openRequests.open(device, std::chrono::seconds(2));
  const unsigned status = ovk_ReadRegisters(device.c_str(), refId.c_str(), static_cast<int>(address), 1, -1, 0);
  if (status == ovk_Status_Done) return;
  openRequests.close(refId.c_str(), device.c_str()); // nothing was sent, so nothing will come
  fail(device, ovk_StatusText(status));
}

} // namespace

int main(int argc, char* argv[]) {
  const bool busGiven = argc > 2 && std::strcmp(argv[1], "--bus") == 0;
  if (busGiven) ovk_local_set_bus_directory(argv[2]);
  ovk_Init(true, "VR001_00001_0000000000C2", nullptr, nullptr, nullptr);
  const unsigned status = ovk_RegisterForService(ovk_Service_RegisterReadClient, reinterpret_cast<void*>(onAnswer),
                                                 nullptr, nullptr, nullptr);
  if (status != ovk_Status_Done) {
    std::printf("%s\n", ovk_StatusText(status));
    return 1;
  }
  for (int i = busGiven ? 3 : 1; i < argc; ++i) ask(argv[i]);
  pollfd wait = {ovk_local_wait_descriptor(), POLLIN, 0};
  while (!openRequests.empty()) {
    poll(&wait, 1, openRequests.timeToNext(Clock::now()));
    ovk_DoWork(nullptr, nullptr, nullptr); // before the deadlines are looked at: an answer may wait since before them
    for (const std::string& device : openRequests.giveUp(Clock::now())) fail(device, "no answer");
  }
  ovk_QMXBusShutdown();
  return failures == 0 ? 0 : 1;
}
