#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "simulator/answer_queue.h"
#include "simulator/device.h"

namespace tool {

/// Who asks which device, under which reference.
struct Envelope {
  std::string requester;
  std::string device;
  std::string refId;
};

/// Answers requests of the bus as the devices that it holds, and reports each on stderr.
class SimServer {
public:
  explicit SimServer(std::vector<DeviceDescription> descriptions);

  void receive(const ovk_RegisterReadReqCallbackData_t& request);
  void receive(const ovk_RegisterWriteReqCallbackData_t& request);
  void receive(const ovk_TagReadReqCallbackData_t& request);
  void receive(const ovk_DescriptorReadReqCallbackData_t& request);

  AnswerQueue& answers() { return queue; }
  /// One line: what became of the requests.
  std::string summary() const;

private:
  /// Sends an answer; a refusal when the reason is not null. The result is the library's status.
  using Send = std::function<unsigned(const Envelope&, const char* reason)>;
  /// Lets the device act and returns what sends its answer; throws a Refusal.
  using Act = std::function<Send(Device&)>;

  void serve(const Envelope& envelope, const std::string& what, const Act& act, const Send& refuse);
  void queueAnswer(const Envelope& envelope, int delayMs, const Send& answer, const Send& refuse);
  void queueRefusal(const Envelope& envelope, int delayMs, const std::string& reason, const Send& refuse);
  void refuseNow(const Envelope& envelope, const std::string& reason, const Send& refuse);

  std::map<std::string, Device> devices;
  AnswerQueue queue;
  unsigned requests = 0;
  unsigned answered = 0;
  unsigned refused = 0;
  unsigned dropped = 0;
  unsigned notSent = 0;
};

} // namespace tool
