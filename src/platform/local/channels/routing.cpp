// Finds out where a message goes.
//
// Requests name the controller ("dst.at") beside the participant that they are for; responses name the requester only.
// The channel decides, not the message's type: what is written to a channel is the application's affair.

#include "platform/local/channels/routing.h"

#include "platform/json.h"
#include "platform/local/topology/bus_view.h"
#include "platform/local/trace.h"
#include "platform/transfer_channel.h"

namespace ovk::local {

std::string targetOf(int channel, std::string_view message) {
  Json document;
  document.load(message);
  std::string target;
  if (channel == IPC_TC_QMX_CLIENT_REQ_IDX && document.GetValueAsString("dst.at", target) && !target.empty())
    return target;
  std::string fid;
  if (!document.GetValueAsString("dst.fid", fid) || fid.empty()) {
    OVK_LOCAL_TRACE(traceError, "message names no destination\n");
    return {};
  }
  busView().refresh();
  const std::string* parent = busView().parentOf(fid);
  if (parent != nullptr) return *parent;
  OVK_LOCAL_TRACE(traceError, "no controller known for %s\n", fid.c_str());
  return {};
}

} // namespace ovk::local
