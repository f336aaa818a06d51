// Who is on the bus, and below which controller.
//
// Joining, leaving and editing change the directory's time, so one look at it tells whether the snapshot still holds.
// Two things escape it: a change within the clock's step after the snapshot, hence the time to settle, and what leaves
// the directory untouched (a process killed, topology.json written in place), hence the full look each second.

#include "platform/local/topology/bus_view.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <tuple>

#include "platform/local/bus/file_lock.h"
#include "platform/local/bus/file_names.h"
#include "platform/local/bus/own_identity.h"
#include "platform/local/lasting.h"
#include "platform/local/topology/topology_file.h"
#include "platform/local/trace.h"

namespace ovk::local {

namespace {

constexpr auto longestTrust = std::chrono::seconds(1);
constexpr double timeToSettle = 0.02;  // seconds: most file times advance in steps of up to 10 ms
constexpr double longTimeToSettle = 2; // and where there are no fractions, of up to 2 s

enum Kind : int { running = 1, notRunning = 2 };

orvane_parent& enter(std::map<std::string, orvane_parent>& found, const std::string& fid) {
  orvane_parent& controller = found[fid];
  if (controller.attr1.empty()) {
    controller.attr1 = fid;
    controller.kind = notRunning;
  }
  return controller;
}

bool isBefore(const ovk_topology_sensor_t& one, const ovk_topology_sensor_t& other) { return one.attr1 < other.attr1; }

// What depends on the whole record.
void complete(orvane_parent& controller) {
  controller.attr5 = controller.kind == running ? "online" : "offline";
  for (ovk_topology_sensor_t& member : controller.members) member.attr4 = controller.attr5;
  std::stable_sort(controller.members.begin(), controller.members.end(), isBefore);
}

auto valuesOf(const ovk_topology_sensor_t& sensor) {
  return std::tie(sensor.attr1, sensor.attr2, sensor.attr3, sensor.attr4);
}

bool isEqual(const orvane_parent& one, const orvane_parent& other) {
  const auto values = [](const orvane_parent& record) {
    return std::tie(record.attr1, record.attr2, record.attr3, record.attr4, record.attr5, record.kind);
  };
  const auto sameSensor = [](const auto& a, const auto& b) { return valuesOf(a) == valuesOf(b); };
  return values(one) == values(other) &&
         std::equal(one.members.begin(), one.members.end(), other.members.begin(), other.members.end(), sameSensor);
}

// What the files in the directory tell; nothing, and errno says why, when they cannot be looked at now. A killed process
// stays known by what it left until somebody sweeps it.
std::optional<BusFiles> lookThrough(const BusDirectory& directory) {
  const auto names = directory.names();
  if (!names) return std::nullopt;
  BusFiles files;
  std::string fid;
  for (const std::string& name : *names) {
    const bool isParticipant = identifierOf(name, lockSuffix, fid);
    if (!isParticipant && !identifierOf(name, watcherSuffix, fid)) continue;
    const std::optional<bool> locked = isFileLocked(directory, name);
    if (!locked) return std::nullopt;
    if (isParticipant) files.participants.emplace_back(fid, *locked);
    if (!isParticipant && *locked) files.watchers.push_back(fid);
  }
  return files;
}

} // namespace

BusView::Stamp BusView::Stamp::of(const struct stat& seen) {
  Stamp stamp;
  stamp.device = seen.st_dev;
  stamp.inode = seen.st_ino;
  stamp.size = seen.st_size;
  stamp.changed = seen.st_ctim;
  timespec now;
  ::clock_gettime(CLOCK_REALTIME, &now);
  const auto nanoseconds = static_cast<double>(now.tv_nsec - seen.st_ctim.tv_nsec);
  const double age = std::difftime(now.tv_sec, seen.st_ctim.tv_sec) + nanoseconds * 1e-9;
  // Below zero when the clock was set back.
  stamp.settled = std::fabs(age) > (seen.st_ctim.tv_nsec == 0 ? longTimeToSettle : timeToSettle);
  return stamp;
}

bool BusView::Stamp::isStill(const Stamp& later) const {
  return settled && device == later.device && inode == later.inode && size == later.size &&
         changed.tv_sec == later.changed.tv_sec && changed.tv_nsec == later.changed.tv_nsec;
}

bool BusView::refresh() {
  const BusDirectoryLook look = lookAtBusDirectory();
  if (!look.directory) {
    if (look.isPassing) return keep(look.refusal);
    refuse(look.refusal);
    return false;
  }
  const Stamp stamp = Stamp::of(look.seen);
  if (isFresh(stamp)) return true;
  const Clock::time_point now = Clock::now();
  directoryStamp_ = Stamp(); // until all is done, which may fail
  std::optional<BusFiles> files = lookThrough(*look.directory);
  if (!files || !readFile(*look.directory)) return keep(errorText(errno));
  refusal_.clear();
  build(*std::move(files));
  directoryStamp_ = stamp;
  lookedAt_ = now;
  return true;
}

bool BusView::isFresh(const Stamp& directory) const {
  return directoryStamp_.isStill(directory) && Clock::now() - lookedAt_ < longestTrust && own_ == ownFid();
}

void BusView::report(const std::string& refusal) {
  if (refusal != refusal_) OVK_LOCAL_TRACE(traceError, "no topology, bus directory %s\n", refusal.c_str());
  refusal_ = refusal;
}

// Goes on with what is known, but for who this process is.
bool BusView::keep(const std::string& reason) {
  report("cannot be read now: " + reason);
  if (own_ != ownFid()) build({});
  return false;
}

void BusView::refuse(const std::string& refusal) {
  report("refused: " + refusal);
  directoryStamp_ = fileStamp_ = Stamp();
  config_ = TopologyConfig();
  fault_.clear();
  build({});
}

// A fault is reported once, not at every look. False, and errno says why, when the file cannot be read now.
bool BusView::readFile(const BusDirectory& directory) {
  struct stat seen {};
  ::fstatat(directory.descriptor(), topologyFileName.data(), &seen, 0); // a missing file is a stamp, too
  const Stamp stamp = Stamp::of(seen);
  if (fileStamp_.isStill(stamp)) return true;
  TopologyConfig config;
  std::string fault;
  errno = 0;
  if (!readTopologyFile(directory, config, fault)) {
    if (isShortage(errno)) return false;
    config = TopologyConfig();
    if (fault != fault_)
      OVK_LOCAL_TRACE(traceError, "%s ignored: %s\n", directory.pathOf(topologyFileName).c_str(), fault.c_str());
  }
  config_ = std::move(config);
  fault_ = std::move(fault);
  fileStamp_ = stamp;
  return true;
}

void BusView::build(BusFiles files) {
  std::map<std::string, orvane_parent> found;
  own_ = ownFid();
  enterConfigured(found);
  watchers_ = std::move(files.watchers);
  for (const auto& [fid, runs] : files.participants) {
    orvane_parent& controller = enter(found, fid);
    if (runs) controller.kind = running;
  }
  if (!own_.empty()) enter(found, own_).kind = running;
  std::vector<orvane_parent> controllers;
  for (auto& [fid, controller] : found) {
    complete(controller);
    controllers.push_back(std::move(controller));
  }
  adopt(std::move(controllers));
}

void BusView::enterConfigured(std::map<std::string, orvane_parent>& found) const {
  for (const ConfiguredController& configured : config_.controllers) {
    orvane_parent& controller = enter(found, configured.fid);
    controller.attr2 = configured.name;
    controller.attr3 = configured.model;
    controller.attr4 = configured.version;
    for (const ConfiguredSensor& sensor : configured.sensors)
      controller.members.push_back({sensor.fid, sensor.name, sensor.model, {}});
  }
  for (const StaticDevice& device : config_.statics)
    enter(found, device.parent).members.push_back({device.fid, device.name, {}, {}});
}

void BusView::adopt(std::vector<orvane_parent> found) {
  if (std::equal(found.begin(), found.end(), controllers_.begin(), controllers_.end(), isEqual)) return;
  std::map<std::string, std::string> parents;
  // A controller is reached at itself, even where the file calls it a sensor of another.
  for (const orvane_parent& controller : found) parents.emplace(controller.attr1, controller.attr1);
  for (const orvane_parent& controller : found)
    for (const ovk_topology_sensor_t& member : controller.members) parents.emplace(member.attr1, controller.attr1);
  controllers_ = std::move(found);
  parents_ = std::move(parents);
  ++generation_;
}

bool BusView::staticMembers(const std::string& selector, std::vector<orvane_parent>& parents) const {
  parents.clear();
  std::map<std::string, std::vector<ovk_topology_sensor_t>> members; // by parent
  for (const StaticDevice& device : config_.statics)
    members[device.parent].push_back({device.fid, device.name, {}, {}});
  for (const orvane_parent& controller : controllers_) {
    const auto found = members.find(controller.attr1);
    if (found == members.end() || (!selector.empty() && selector != controller.attr1)) continue;
    orvane_parent parent = controller;
    parent.members = std::move(found->second);
    complete(parent);
    parents.push_back(std::move(parent));
  }
  return fault_.empty();
}

const std::string* BusView::parentOf(const std::string& fid) const {
  const auto found = parents_.find(fid);
  return found != parents_.end() ? &found->second : nullptr;
}

namespace {
Lasting<BusView> view;
[[gnu::destructor]] void endView() { view.end(); }
} // namespace

BusView& busView() { return view.get(); }

} // namespace ovk::local
