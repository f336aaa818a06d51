// The bus side of simulated devices: requests in, answers out.
//
// The device acts when the request arrives; with a delay only the answer waits. An answer that the bus does not take
// (too many tags for one message, mostly) is turned into a refusal, since the requester would wait in vain.

#include "simulator/sim_server.h"

#include "output.h"

namespace tool {
namespace {

using Send = std::function<unsigned(const Envelope&, const char* reason)>;

template <class Record>
Envelope envelopeOf(const Record& request) {
  return {request.srcFid, request.dstFid, request.refId};
}

void report(const Envelope& envelope, const std::string& what) {
  putLog(printable(envelope.requester + " -> " + envelope.device + " " + what));
}

unsigned sendRegisters(const Envelope& to, const Assignment& first, const Assignment& second, const char* reason) {
  return ovk_serveReadRegisters(to.requester.c_str(), to.device.c_str(), to.refId.c_str(), first.start,
                                first.values.data(), static_cast<int>(first.values.size()), second.start,
                                second.values.data(), static_cast<int>(second.values.size()), reason == nullptr,
                                reason);
}

unsigned sendWritten(const Envelope& to, const char* reason) {
  return ovk_serveWriteRegisters(to.requester.c_str(), to.device.c_str(), to.refId.c_str(), reason == nullptr, reason);
}

unsigned sendTags(const Envelope& to, std::vector<TagItem_t> items, const char* reason) {
  return ovk_serveReadTag(to.requester.c_str(), to.device.c_str(), to.refId.c_str(),
                          static_cast<unsigned>(items.size()), items.data(), reason == nullptr, reason);
}

unsigned sendInfo(const Envelope& to, DeviceInfo info, const char* reason) {
  return ovk_serveReadDeviceInfo(to.requester.c_str(), to.device.c_str(), to.refId.c_str(),
                                 static_cast<int>(info.tagRegBlocks.size()), info.tagRegBlocks.data(),
                                 static_cast<int>(info.resRegBlocks.size()), info.resRegBlocks.data(),
                                 info.modbusBufferSize, reason == nullptr, reason);
}

/// An area that was left out has no registers; a negative count was too long or missing.
void addAssignment(std::vector<Assignment>& assignments, int start, int count, const uint16_t* values) {
  if (count > 0) assignments.push_back({start, {values, values + count}});
}

std::string tagsText(const std::vector<Tag_t>& selectors) {
  constexpr size_t mostLabels = 5;
  std::string text = "tags";
  for (size_t i = 0; i < selectors.size() && i < mostLabels; ++i) {
    text += " " + tagLabel(selectors[i].tag_type, selectors[i].tag_num);
  }
  if (selectors.size() > mostLabels) text += " and " + std::to_string(selectors.size() - mostLabels) + " more";
  return text;
}

std::string areasText(const Area& first, const Area& second) {
  return areaText(first) + (second.count == 0 ? "" : " " + areaText(second));
}

} // namespace

SimServer::SimServer(std::vector<DeviceDescription> descriptions) {
  for (DeviceDescription& description : descriptions) {
    const std::string fid = description.fid;
    devices.emplace(fid, Device(std::move(description)));
  }
}

void SimServer::receive(const ovk_RegisterReadReqCallbackData_t& request) {
  const Area first{request.startRegister1, request.numberRegisters1};
  const Area second{request.startRegister2, request.numberRegisters2};
  const Act act = [=](Device& device) -> Send {
    if (first.count == 0) throw Refusal("no registers asked for");
    const Assignment one{first.start, device.read(first)};
    const Assignment two{second.start, device.read(second)};
    return [=](const Envelope& to, const char* reason) { return sendRegisters(to, one, two, reason); };
  };
  serve(envelopeOf(request), "read " + areasText(first, second), act,
        [](const Envelope& to, const char* reason) { return sendRegisters(to, {}, {}, reason); });
}

void SimServer::receive(const ovk_RegisterWriteReqCallbackData_t& request) {
  std::vector<Assignment> assignments;
  addAssignment(assignments, request.startRegister1, request.numberRegisters1, request.pStartRegister1);
  addAssignment(assignments, request.startRegister2, request.numberRegisters2, request.pStartRegister2);
  const Area first{request.startRegister1, request.numberRegisters1};
  const Area second{request.startRegister2, request.numberRegisters2};
  const Act act = [=](Device& device) -> Send {
    if (first.count < 1 || (second.count < 0 && second.start >= 0)) throw Refusal("no usable register values");
    device.write(assignments);
    return &sendWritten;
  };
  serve(envelopeOf(request), "write " + areasText(first, {second.start, std::max(second.count, 0)}), act, &sendWritten);
}

void SimServer::receive(const ovk_TagReadReqCallbackData_t& request) {
  const std::vector<Tag_t> selectors(request.pTags, request.pTags + request.numTags);
  const Act act = [&](Device& device) -> Send {
    const std::vector<TagItem_t> items = device.readTags(selectors);
    return [=](const Envelope& to, const char* reason) { return sendTags(to, items, reason); };
  };
  serve(envelopeOf(request), tagsText(selectors), act,
        [](const Envelope& to, const char* reason) { return sendTags(to, {}, reason); });
}

void SimServer::receive(const ovk_DescriptorReadReqCallbackData_t& request) {
  const Act act = [](Device& device) -> Send {
    return [info = device.info()](const Envelope& to, const char* reason) { return sendInfo(to, info, reason); };
  };
  serve(envelopeOf(request), "info", act,
        [](const Envelope& to, const char* reason) { return sendInfo(to, {}, reason); });
}

void SimServer::serve(const Envelope& envelope, const std::string& what, const Act& act, const Send& refuse) {
  ++requests;
  const auto found = devices.find(envelope.device);
  if (found == devices.end()) {
    report(envelope, what + ": refused, not a device here");
    return queueRefusal(envelope, 0, "no such device at this controller", refuse);
  }
  Device& device = found->second;
  const Device::Fate fate = device.nextFate();
  if (fate == Device::Fate::Drop) {
    ++dropped;
    return report(envelope, what + ": not answered, as drop_every says");
  }
  try {
    if (fate == Device::Fate::Fail) throw Refusal("failed on demand (fail_every)");
    const Send answer = act(device);
    report(envelope, what + ": answered");
    queueAnswer(envelope, device.faults().delayMs, answer, refuse);
  } catch (const Refusal& refusal) {
    report(envelope, what + ": refused, " + refusal.what());
    queueRefusal(envelope, device.faults().delayMs, refusal.what(), refuse);
  }
}

void SimServer::queueAnswer(const Envelope& envelope, int delayMs, const Send& answer, const Send& refuse) {
  queue.add(AnswerQueue::Clock::now() + std::chrono::milliseconds(delayMs), [=] {
    if (answer(envelope, nullptr) == ovk_Status_Done) {
      ++answered;
      return;
    }
    refuseNow(envelope, "the answer could not be sent; ask for less at once", refuse);
  });
}

void SimServer::queueRefusal(const Envelope& envelope, int delayMs, const std::string& reason, const Send& refuse) {
  queue.add(AnswerQueue::Clock::now() + std::chrono::milliseconds(delayMs),
            [=] { refuseNow(envelope, reason, refuse); });
}

void SimServer::refuseNow(const Envelope& envelope, const std::string& reason, const Send& refuse) {
  const unsigned status = refuse(envelope, reason.c_str());
  if (status == ovk_Status_Done) {
    ++refused;
    return;
  }
  ++notSent;
  report(envelope, "got no answer: the bus did not take it (status " + std::to_string(status) + ")");
}

std::string SimServer::summary() const {
  return std::to_string(requests) + " requests: " + std::to_string(answered) + " answered, " + std::to_string(refused) +
         " refused, " + std::to_string(dropped) + " dropped, " + std::to_string(notSent + queue.size()) + " not sent";
}

} // namespace tool
