#pragma once

#include "ovk/service.h"

// The fixed facts of the eight services: message types and transfer channels.

namespace ovk {

constexpr int serviceCount = 8;

constexpr bool isService(int service) { return service >= 0 && service < serviceCount; }

/// Client services receive responses, server services requests.
constexpr bool isClientService(ovk_Service_t service) { return service % 2 == 0; }

} // namespace ovk

/// The service that handles a received message type. Returns 0, or -1 (traced) for a type that none handles.
int getService(int msgType, ovk_Service_t* service);

/// The message type that a service sends; -1 for no service.
int getServiceMsgType(ovk_Service_t service);

/// The channel from which a service's messages are read; -1 for no service.
int getTransferChannelReadIdx(ovk_Service_t service);

/// The channel to which a service's messages are written; -1 for no service.
int getTransferChannelWriteIdx(ovk_Service_t service);
