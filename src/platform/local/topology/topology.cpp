// The topology service: answers from this process's view of the bus.
//
// Every answer is up to date when it is given; the periodic work is there only to tell the application of changes.

#include "platform/topology.h"

#include "platform/local/bus/own_identity.h"
#include "platform/local/bus/traffic.h"
#include "platform/local/topology/bus_view.h"
#include "platform/local/topology/topology_edit.h"

namespace {

using ovk::local::busView;
using ovk::local::ownFid;

// The view that the application knows.
unsigned& reportedGeneration() {
  static unsigned generation = 0;
  return generation;
}

ovk_topology_controller_t asController(const orvane_parent& parent) {
  ovk_topology_controller_t controller;
  controller.attr1 = parent.attr1;
  controller.attr2 = parent.attr2;
  controller.attr3 = parent.attr3;
  controller.attr4 = parent.attr4;
  controller.attr5 = parent.attr5;
  controller.kind = parent.kind;
  controller.sensors = parent.members;
  return controller;
}

} // namespace

int Topology::init(std::string fid, p_TopologyCallback1 /*callback1*/, p_TopologyCallback2 /*callback2*/,
                   p_TopologyCallback3 /*callback3*/) {
  ownFid() = std::move(fid);
  busView().refresh();
  reportedGeneration() = busView().generation();
  return 1;
}

int Topology::get_my_fid(std::string& fid) {
  if (ownFid().empty()) return 0;
  fid = ownFid();
  return 1;
}

int Topology::get_parent_fid(std::string fid, std::string& parent) {
  busView().refresh();
  const std::string* found = busView().parentOf(fid);
  if (found == nullptr) return 0;
  parent = *found;
  return 1;
}

bool Topology::get_topology(std::vector<orvane_parent>& parents) {
  if (!busView().refresh()) return false;
  parents = busView().controllers();
  return true;
}

bool Topology::get_static_members(std::vector<orvane_parent>& parents, std::string selector) {
  return busView().refresh() && busView().staticMembers(selector, parents);
}

int Topology::set_static_member(std::string parent, std::string fid, std::string name) {
  return ovk::local::setStaticDevice(parent, fid, &name) ? 1 : 0;
}

int Topology::set_static_member(std::string parent, std::string fid) {
  return ovk::local::setStaticDevice(parent, fid, nullptr) ? 1 : 0;
}

int Topology::delete_static_member(std::string parent, std::string fid) {
  return ovk::local::deleteStaticDevice(parent, fid) ? 1 : 0;
}

int Topology::is_orvane_member(std::string fid) {
  busView().refresh();
  return busView().parentOf(fid) != nullptr ? 1 : 0;
}

void Topology::get_qmxb_statistic(unsigned* first, unsigned* second) {
  if (first != nullptr) *first = ovk::local::traffic().delivered;
  if (second != nullptr) *second = ovk::local::traffic().received;
}

// Without somebody to tell, a change waits for a call that has one.
void TopologyDoWork(p_TopologyCallback1 /*callback1*/, p_TopologyCallback2 /*callback2*/,
                    p_TopologyCallback3 callback3) {
  if (ownFid().empty() || callback3 == nullptr) return;
  busView().refresh();
  if (busView().generation() == reportedGeneration()) return;
  std::vector<ovk_topology_controller_t> controllers;
  for (const orvane_parent& parent : busView().controllers()) controllers.push_back(asController(parent));
  reportedGeneration() = busView().generation(); // before the call, which may lead here again; after what may fail
  callback3(controllers);
}
