#include "platform/topology.h"

// Starts the service under the own identifier, which is valid. Called by each ovk_Init(); the result is not looked at.
// The application's callbacks are passed on as they are, null or not; whether and when they are called is up to you.
int Topology::init(std::string /*fid*/, p_TopologyCallback1 /*callback1*/, p_TopologyCallback2 /*callback2*/,
                   p_TopologyCallback3 /*callback3*/) {
  return 0;
}

// Gives the own identifier: non-zero when there is one. Asked for by every request and every answer, so answer from
// memory.
int Topology::get_my_fid(std::string& /*fid*/) { return 0; }

// Gives the controller at which a participant is reached: non-zero when there is one. A controller is reached at itself.
// Asked for by every request and nearly every answer, with whatever text the application gave: answer from memory.
int Topology::get_parent_fid(std::string /*fid*/, std::string& /*parent*/) { return 0; }

// The remaining members are called only by the exported functions of ovk/topology.h, which pass arguments and results
// through as they are; the two lists are dropped when the result is false.

// Gives the controllers known, each with its sensors.
bool Topology::get_topology(std::vector<orvane_parent>& /*parents*/) { return false; }

// Gives the controllers with their static devices, as far as the selector chooses them.
bool Topology::get_static_members(std::vector<orvane_parent>& /*parents*/, std::string /*selector*/) { return false; }

// Adds or changes a static device.
int Topology::set_static_member(std::string /*parent*/, std::string /*fid*/, std::string /*name*/) { return 0; }

// The same without a name.
int Topology::set_static_member(std::string /*parent*/, std::string /*fid*/) { return 0; }

// Removes a static device.
int Topology::delete_static_member(std::string /*parent*/, std::string /*fid*/) { return 0; }

// Non-zero for a participant that belongs to the family of devices.
int Topology::is_orvane_member(std::string /*fid*/) { return 0; }

// Gives two statistics of the bus. Either pointer is the application's and may be null.
void Topology::get_qmxb_statistic(unsigned* first, unsigned* second) {
  if (first != nullptr) *first = 0;
  if (second != nullptr) *second = 0;
}

// The service's periodic work, and the place to call the application's callbacks. Called at the end of each ovk_DoWork(),
// bus enabled or not, ovk_Init() or not; a callback may call ovk_DoWork() again.
void TopologyDoWork(p_TopologyCallback1 /*callback1*/, p_TopologyCallback2 /*callback2*/,
                    p_TopologyCallback3 /*callback3*/) {}
