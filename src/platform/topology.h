#pragma once

#include <string>
#include <vector>

#include "ovk/topology.h"

// The topology service: who is on the bus, and below which controller.

/// One controller as the service describes it. Beware: the third and fourth text stand in the opposite order to those
/// of `ovk_topology_controller_t`.
struct orvane_parent {
  std::string attr1, attr2, attr4, attr3;
  int kind;
  std::string attr5;
  std::vector<ovk_topology_sensor_t> members;
};

/// A stateless handle; all state is the service's.
class Topology {
public:
  int init(std::string fid, p_TopologyCallback1 callback1, p_TopologyCallback2 callback2,
           p_TopologyCallback3 callback3);
  /// Non-zero on success, as the next.
  int get_my_fid(std::string& fid);
  int get_parent_fid(std::string fid, std::string& parent);
  bool get_topology(std::vector<orvane_parent>& parents);
  bool get_static_members(std::vector<orvane_parent>& parents, std::string selector);
  int set_static_member(std::string parent, std::string fid, std::string name);
  int set_static_member(std::string parent, std::string fid);
  int delete_static_member(std::string parent, std::string fid);
  int is_orvane_member(std::string fid);
  void get_qmxb_statistic(unsigned* first, unsigned* second);
};

/// The service's periodic work; called by every work call of the library.
void TopologyDoWork(p_TopologyCallback1 callback1, p_TopologyCallback2 callback2, p_TopologyCallback3 callback3);
