#pragma once

/// @file
/// The view of the bus, and the static device configuration.

#include <cstdint>
#include <string>
#include <vector>

#include "ovk/export.h"

/// One sensor below a controller. What the texts mean is the topology service's affair; for the bundled one see
/// ovk/local_platform.h.
struct ovk_topology_sensor_t {
  std::string attr1; ///< the bundled service: fusion identifier
  std::string attr2; ///< the bundled service: name
  std::string attr3; ///< the bundled service: model
  std::string attr4; ///< the bundled service: "online" or "offline"
};

/// One controller with its sensors, a plain copy that belongs to the application.
struct ovk_topology_controller_t {
  std::string attr1;                          ///< the bundled service: fusion identifier
  std::string attr2;                          ///< the bundled service: name
  std::string attr3;                          ///< the bundled service: model
  std::string attr4;                          ///< the bundled service: version
  int32_t kind = 0;                           ///< 1 or 2 as the topology service gave it, 0 for anything else
  std::string attr5;                          ///< the bundled service: "online" or "offline"
  std::vector<ovk_topology_sensor_t> sensors; ///< in the topology service's order
};

/// The first of three application functions that the library never calls itself: it hands them to the topology service at
/// ovk_Init() and at every ovk_DoWork(). What they mean is that service's affair. Null is allowed.
using p_TopologyCallback1 = unsigned int (*)(const char*, const char*, const char*, unsigned int, char*);
/// The second of them.
using p_TopologyCallback2 = int (*)(std::string&, std::string&, std::string&, std::vector<std::string>&,
                                    std::vector<std::string>&, std::vector<std::string>&, std::vector<std::string>&);
/// The third of them, the only one that the bundled service calls: with the new list, after a change.
using p_TopologyCallback3 = unsigned int (*)(std::vector<ovk_topology_controller_t>&);

/// Finds the controller at which a sensor is reached.
///
/// @param sensorFid     fusion identifier of the sensor.
/// @param controllerFid receives the controller's fusion identifier when there is one.
/// @return the topology service's result: non-zero when found.
OVK_API int ovk_topology_get_controller_fusionId_for_sensor(std::string sensorFid, std::string& controllerFid);

/// @param fid fusion identifier of a participant.
/// @return the topology service's result: non-zero when it knows the participant as a device of the family.
OVK_API int ovk_topology_is_orvane_device(std::string fid);

/// Gives the topology service's view of the bus.
///
/// @param list replaced by one record per controller, in the service's order; untouched when the result is false.
/// @return whether the service delivered its topology.
OVK_API bool ovk_topology_get_list(std::vector<ovk_topology_controller_t>& list);

/// Gives the static device configuration.
///
/// @param list     replaced by one record per controller, in the service's order; untouched when the result is false.
/// @param selector handed to the topology service unchanged.
/// @return whether the service delivered the configuration.
OVK_API bool ovk_topology_cfg_get_static_device_list(std::vector<ovk_topology_controller_t>& list,
                                                     std::string selector);

/// Adds or changes an entry of the static device configuration. Texts and their order are the topology service's; with
/// the bundled one: the controller, the device below it, and the device's name.
///
/// @return the topology service's result.
OVK_API int ovk_topology_cfg_set_static_device(std::string a, std::string b, std::string c);

/// The form without the third text.
///
/// @return the topology service's result.
OVK_API int ovk_topology_cfg_set_static_device(std::string a, std::string b);

/// Removes an entry of the static device configuration; with the bundled topology service: the controller and the
/// device below it.
///
/// @return the topology service's result.
OVK_API int ovk_topology_cfg_delete_static_device(std::string a, std::string b);

/// Reads the topology service's two bus statistics.
///
/// @param first, second receive the counters as the service writes them.
OVK_API void ovk_topology_get_qmxb_statistic(unsigned int* first, unsigned int* second);
