// The library's only lasting state: the registration table and the bus-enabled flag.
//
// Exit handlers and the destructors of the program's statics may still call the library, so the table must outlive them. An
// ordinary definition would be destroyed among them; this one is built in plain storage and lives as long as the library is
// loaded.

#include "core/registry.h"

#include <new>

#include "core/catalogue.h"
#include "core/trace.h"

namespace {

using Table = std::vector<OrvaneServiceRegistration_t>;

extern "C" {
alignas(Table) unsigned char ovkTableStorage[sizeof(Table)];
}

} // namespace

extern Table OrvaneServices __attribute__((alias("ovkTableStorage")));

namespace {

bool busEnabled = false;

[[gnu::constructor]] void makeTable() { new (&OrvaneServices) Table(ovk::serviceCount); }
[[gnu::destructor]] void destroyTable() { OrvaneServices.~Table(); }

} // namespace

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
