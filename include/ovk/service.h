#pragma once

/// @file
/// Start, registration, periodic work, stop.

#include <cstdint>
#include <string>
#include <vector>

#include "ovk/export.h"
#include "ovk/topology.h"

/// The eight services; the value is the index into `OrvaneServices`. Even services are client services (the application
/// asks, another participant answers), odd ones server services (another participant asks, the application answers).
/// The values are known to other controllers' software: never renumber.
enum ovk_Service_t : int {
  ovk_Service_DescriptorReadClient = 0, ///< asks for a participant's register layout
  ovk_Service_DescriptorReadServer = 1, ///< answers such requests
  ovk_Service_TagReadClient = 2,        ///< asks for tag values
  ovk_Service_TagReadServer = 3,        ///< answers such requests
  ovk_Service_RegisterReadClient = 4,   ///< asks for register values
  ovk_Service_RegisterReadServer = 5,   ///< answers such requests
  ovk_Service_RegisterWriteClient = 6,  ///< asks to write registers
  ovk_Service_RegisterWriteServer = 7   ///< answers such requests
};

/// What a message is: its "msg_type". A request and the response to it have the same reference identifier.
/// The values are known to every controller on the bus: never renumber.
enum ovk_MessageType_t : int {
  ovk_Message_RegisterReadRequest = 200,
  ovk_Message_RegisterReadResponse = 201,
  ovk_Message_RegisterWriteRequest = 202,
  ovk_Message_RegisterWriteResponse = 203,
  ovk_Message_DescriptorReadRequest = 204,
  ovk_Message_DescriptorReadResponse = 205,
  ovk_Message_TagReadRequest = 206,
  ovk_Message_TagReadResponse = 207
};

constexpr int ovk_MaxMessageSize = 16383; ///< bytes of the longest message

/// How the library calls a service callback: with the service's record (see ovk/records.h) and that record's size in
/// bytes. The record and its blocks are lent for the duration of the call: copy what is to be kept, free nothing. The
/// callback may call any function of this library. When callbacks call ovk_DoWork(), at most 8 calls nest, the outermost included. A deeper one
/// reads nothing and writes one level-2 trace line; the messages stay queued, in their order, for the calls around it. A
/// negative result is traced as a failure to process the message; the value has no other effect. An exception passes through
/// ovk_DoWork() to its caller after the record was released.
using ovk_ServiceCallback_t = int (*)(void* pData, unsigned int DataLen);

/// One registration, as kept in `OrvaneServices`.
struct OrvaneServiceRegistration_t {
  ovk_Service_t service;           ///< the `ovk_Service_t` of the entry
  void* p_ServiceCallback;         ///< an `ovk_ServiceCallback_t`, null while the service is not registered
  void* p_UserContext;             ///< the application's own; stored, never read
  const char* p_UserString1;       ///< the application's own text; stored as a pointer, never read or copied
  const char* p_UserString2;       ///< likewise
  int32_t TransferChannelReadIdx;  ///< channel from which this service's messages are read; 0 until opened
  int32_t TransferChannelWriteIdx; ///< channel to which this service's messages are written; 0 until opened
};

/// The registrations, indexed by service number. Eight entries, all zero when the library is loaded; only
/// ovk_RegisterForService() overwrites them and nothing clears them, shutdown included. The table lives for as long as the
/// library is loaded: exit handlers and destructors of static objects may use it.
extern OVK_API std::vector<OrvaneServiceRegistration_t> OrvaneServices;

/// Binds the library to the application's own fusion identifier and starts the topology service and the shared memory.
/// Call it once, before anything else; a second call runs all steps again.
///
/// @param busEnabled whether registrations open transfer channels and ovk_DoWork() reads them. Taken over even when the
///                   identifier is refused.
/// @param myFid      own fusion identifier, exactly 24 characters; copied. Null is invalid.
/// @param callback1, callback2, callback3 handed to the topology service unchanged; null is allowed.
/// @return 0 started (whatever the topology service and the shared memory answered); 2 identifier invalid, nothing
///         started.
OVK_API unsigned ovk_Init(bool busEnabled, const char* myFid, p_TopologyCallback1 callback1,
                          p_TopologyCallback2 callback2, p_TopologyCallback3 callback3);

/// Records the callback of a service and, with the bus enabled, opens the service's two transfer channels. A second
/// registration of a service replaces the first.
///
/// @param service           0 to 7.
/// @param p_ServiceCallback an `ovk_ServiceCallback_t`, as an untyped pointer.
/// @param p_UserContext     stored in `OrvaneServices` for the application; may be null.
/// @param p_UserString1, p_UserString2 likewise, as pointers: keep the texts alive as long as you want them kept.
/// @return 0 registered; 6 callback null (checked first); 2 service out of range; 8 a transfer channel could not be
///         created: the entry stays filled in. On 6 and 2 `OrvaneServices` was not touched.
OVK_API unsigned ovk_RegisterForService(ovk_Service_t service, void* p_ServiceCallback, void* p_UserContext,
                                        const char* p_UserString1, const char* p_UserString2);

/// The periodic work: the only place where messages are received. With the bus enabled it reads every waiting response
/// (channel 1), then every waiting request (channel 2), and calls the callbacks; then, bus or not, it lets the topology
/// service work. Never waits. Messages that cannot be read, or that nobody registered for, are traced and dropped.
///
/// @param callback1, callback2, callback3 handed to the topology service unchanged; null is allowed.
OVK_API void ovk_DoWork(p_TopologyCallback1 callback1, p_TopologyCallback2 callback2, p_TopologyCallback3 callback3);

/// Destroys the transfer channels 0 to 3, whether or not they were created. Registrations, the bus-enabled flag and the
/// topology service stay as they are.
///
/// @return always 0.
OVK_API int ovk_QMXBusShutdown();
