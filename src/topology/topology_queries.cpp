// The exported view of the topology service. Nothing is kept here: every call asks the service afresh and returns its answer.

#include <algorithm>
#include <utility>

#include "ovk/topology.h"
#include "platform/topology.h"

namespace {

// Fields go by name, not by position: the service's records hold the third and fourth text the other way round.
ovk_topology_controller_t toController(orvane_parent& parent) {
  ovk_topology_controller_t controller;
  controller.attr1 = std::move(parent.attr1);
  controller.attr2 = std::move(parent.attr2);
  controller.attr3 = std::move(parent.attr3);
  controller.attr4 = std::move(parent.attr4);
  controller.kind = parent.kind == 1 || parent.kind == 2 ? parent.kind : 0;
  controller.attr5 = std::move(parent.attr5);
  controller.sensors = std::move(parent.members);
  return controller;
}

// The caller's list changes all at once, or not at all.
bool deliver(bool delivered, std::vector<orvane_parent>& parents, std::vector<ovk_topology_controller_t>& list) {
  if (!delivered) return false;
  std::vector<ovk_topology_controller_t> controllers(parents.size());
  std::transform(parents.begin(), parents.end(), controllers.begin(), toController);
  list.swap(controllers);
  return true;
}

} // namespace

int ovk_topology_get_controller_fusionId_for_sensor(std::string sensorFid, std::string& controllerFid) {
  return Topology().get_parent_fid(std::move(sensorFid), controllerFid);
}

int ovk_topology_is_orvane_device(std::string fid) { return Topology().is_orvane_member(std::move(fid)); }

bool ovk_topology_get_list(std::vector<ovk_topology_controller_t>& list) {
  std::vector<orvane_parent> parents;
  return deliver(Topology().get_topology(parents), parents, list);
}

bool ovk_topology_cfg_get_static_device_list(std::vector<ovk_topology_controller_t>& list, std::string selector) {
  std::vector<orvane_parent> parents;
  return deliver(Topology().get_static_members(parents, std::move(selector)), parents, list);
}

int ovk_topology_cfg_set_static_device(std::string a, std::string b, std::string c) {
  return Topology().set_static_member(std::move(a), std::move(b), std::move(c));
}

int ovk_topology_cfg_set_static_device(std::string a, std::string b) {
  return Topology().set_static_member(std::move(a), std::move(b));
}

int ovk_topology_cfg_delete_static_device(std::string a, std::string b) {
  return Topology().delete_static_member(std::move(a), std::move(b));
}

void ovk_topology_get_qmxb_statistic(unsigned int* first, unsigned int* second) {
  Topology().get_qmxb_statistic(first, second);
}
