#pragma once

#include "ovk/service.h"

namespace ovk {

/// The registration of a service; null for no service. The table is the application's too and may have been shortened by
/// it, so ask at each use.
OrvaneServiceRegistration_t* registrationOf(ovk_Service_t service);

/// The service's callback, null when none is registered.
ovk_ServiceCallback_t callbackOf(ovk_Service_t service);

/// Whether a client service has a callback to deliver the answer to; if not, traced in the name of `function`.
bool canReceiveAnswer(const char* function, ovk_Service_t service);

bool isBusEnabled();
void enableBus(bool enabled);

} // namespace ovk
