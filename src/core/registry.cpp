// The library's only lasting state: the registration table and the bus-enabled flag.

#include "core/registry.h"

#include "core/catalogue.h"
#include "core/trace.h"

std::vector<OrvaneServiceRegistration_t> OrvaneServices(ovk::serviceCount);

namespace {
bool busEnabled = false;
}

namespace ovk {

OrvaneServiceRegistration_t* registrationOf(ovk_Service_t service) {
  const bool present = isService(service) && static_cast<std::size_t>(service) < OrvaneServices.size();
  return present ? &OrvaneServices[static_cast<std::size_t>(service)] : nullptr;
}

ovk_ServiceCallback_t callbackOf(ovk_Service_t service) {
  const OrvaneServiceRegistration_t* registration = registrationOf(service);
  if (registration == nullptr) return nullptr;
  return reinterpret_cast<ovk_ServiceCallback_t>(registration->p_ServiceCallback);
}

bool canReceiveAnswer(const char* function, ovk_Service_t service) {
  if (callbackOf(service) != nullptr) return true;
  OVK_TRACE_AS(function, traceError, "No callback function registered for service ovk_Service_OrvaneBusClient\n");
  return false;
}

bool isBusEnabled() { return busEnabled; }
void enableBus(bool enabled) { busEnabled = enabled; }

} // namespace ovk
