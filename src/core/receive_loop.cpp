// The receive loop: from a transfer channel to the application's callback.
//
// A callback may call any exported function, the work function included. Such nested calls are limited, since each takes stack
// for as long as its callers run. A message that cannot be used is traced and dropped, and the loop goes on with the next.

#include "core/receive_loop.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "callback/callback_data.h"
#include "core/block.h"
#include "core/catalogue.h"
#include "core/registry.h"
#include "core/trace.h"
#include "message/parse.h"
#include "ovk/service.h"
#include "platform/transfer_channel.h"

namespace {

// A message is handled as a text, so the longest one leaves room for its NUL.
constexpr int receiveBufferSize = ovk_MaxMessageSize + 1;

constexpr int mostLevels = 8;

enum DispatchFailure : int { noMessageType = -1, unknownMessageType = -2, noCallback = -3, noCallbackData = -4 };

// The traces of this file's helpers stand in the names of the two functions they are parts of.
constexpr const char* loop = "ovk_QMXBusDoWork";
constexpr const char* dispatcher = "processReceivedMessage";

void processOne(const char* message, int length) {
  if (length >= receiveBufferSize) {
    OVK_TRACE_AS(loop, traceError, "message of %d bytes refused, at most %d can be received\n", length,
                 receiveBufferSize - 1);
    return;
  }
  int result = 0;
  try {
    result = processReceivedMessage(message, static_cast<unsigned>(length));
  } catch (const std::bad_alloc&) {
    OVK_TRACE_AS(loop, traceError, "processing ended by std::bad_alloc, Msg %s\n", message);
    throw;
  }
  if (result >= 0) return;
  OVK_TRACE_AS(loop, traceError, "failed to process Msg %s\n", message);
  OVK_TRACE_AS(loop, traceError, "processReceivedMessage returns %d\n", result);
}

// The buffer is zero-filled, and is so again afterwards.
void drain(int channel, const char* channelName, char* buffer) {
  for (;;) {
    const int length = readTransferChannel(channel, buffer, receiveBufferSize);
    if (length <= 0) return;
    OVK_TRACE_AS(loop, traceProgress, "readTransferChannel(%s) returned %d bytes\n", channelName, length);
    if (length < receiveBufferSize) buffer[length] = '\0'; // whatever the channel may have written behind it
    processOne(buffer, length);
    std::memset(buffer, 0, static_cast<std::size_t>(std::min(length, receiveBufferSize)));
  }
}

int deliver(ovk_Service_t service, ovk_ServiceCallback_t callback, const char* msg, unsigned len) {
  OVK_TRACE_AS(dispatcher, traceProgress, "-> getCallbackData(Service %d)\n", service);
  ovk::CallbackRecord record(service);
  if (record.fill(msg, len) != 0) {
    OVK_TRACE_AS(dispatcher, traceError, "could not get callback data for service %d, message %s\n", service, msg);
    return noCallbackData;
  }
  OVK_TRACE_AS(dispatcher, traceProgress, "pData=%p\n", record.data());
  OVK_TRACE_AS(dispatcher, traceProgress, "DataLen=%d\n", static_cast<int>(record.length()));
  OVK_TRACE_AS(dispatcher, traceProgress, "execute Service %d callback function\n", service);
  const int result = callback(record.data(), record.length());
  OVK_TRACE_AS(dispatcher, traceProgress, "Service %d callback function returned %d\n", service, result);
  OVK_TRACE_AS(dispatcher, traceProgress, "for Msg: %s\n", msg);
  return result;
}

int dispatch(const char* msg, unsigned len) {
  int msgType = 0;
  if (getMsgType(msg, len, &msgType) != 0) {
    OVK_TRACE_AS(dispatcher, traceError, "invalid msg_type and/or operation in message %s\n", msg);
    return noMessageType;
  }
  ovk_Service_t service{};
  if (getService(msgType, &service) != 0) {
    OVK_TRACE_AS(dispatcher, traceError, "no service found for MsgType %d\n", msgType);
    return unknownMessageType;
  }
  const ovk_ServiceCallback_t callback = ovk::callbackOf(service);
  if (callback == nullptr) {
    OVK_TRACE_AS(dispatcher, traceError, "no callback function registered for service %d\n", service);
    return noCallback;
  }
  return deliver(service, callback, msg, len);
}

// One work call among those that are nested in each other by callbacks.
class Level {
public:
  Level() { ++depth_; }
  Level(const Level&) = delete;
  Level& operator=(const Level&) = delete;
  ~Level() {
    if (--depth_ == 0) isRefusalTraced_ = false;
  }

  // Whether this level may read; a refusal is traced once until the outermost call returns.
  bool mayRead() const {
    if (depth_ <= mostLevels) return true;
    if (!std::exchange(isRefusalTraced_, true)) { // before the trace: a sink may call the library, too
      OVK_TRACE_AS(loop, traceError, "work calls nested more than %d deep by callbacks, nothing is read\n", mostLevels);
    }
    return false;
  }

private:
  static inline int depth_ = 0;
  static inline bool isRefusalTraced_ = false;
};

} // namespace

int ovk_QMXBusDoWork() {
  const Level level;
  if (!level.mayRead()) return 0;
  const ovk::Block<char> buffer = ovk::allocateBlock<char>(receiveBufferSize);
  if (buffer == nullptr) {
    OVK_TRACE(traceError, "no memory for a receive buffer of %d bytes, nothing is read\n", receiveBufferSize);
    return 0;
  }
  drain(IPC_TC_QMX_CLIENT_RSP_IDX, "IPC_TC_QMX_CLIENT_RSP_IDX", buffer.get());
  drain(IPC_TC_QMX_SERVER_REQ_IDX, "IPC_TC_QMX_SERVER_REQ_IDX", buffer.get());
  return 0;
}

int processReceivedMessage(const char* msg, unsigned len) {
  OVK_TRACE(traceProgress, "processing %s\n", msg);
  const int result = dispatch(msg, len);
  if (result < 0) OVK_TRACE(traceError, "processReceivedMessage() returns %d\n", result);
  return result;
}
