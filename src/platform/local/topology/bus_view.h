#pragma once

#include <chrono>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "platform/local/bus/bus_directory.h"
#include "platform/local/topology/topology_text.h"
#include "platform/topology.h"

namespace ovk::local {

/// What the files in the bus directory tell.
struct BusFiles {
  std::vector<std::pair<std::string, bool>> participants; ///< with whether they run
  std::vector<std::string> watchers;
};

/// What this process knows about the bus: a snapshot of who runs and of topology.json, taken anew when it may have
/// changed.
class BusView {
public:
  /// Brings the snapshot up to date: one system call when nothing changed. False, with a trace line at the first time,
  /// when the bus directory cannot be used: only the own controller is known then; or when it cannot be read for want of
  /// descriptors or memory: the snapshot stays as it was then.
  bool refresh();

  /// All controllers, sorted by identifier, as are their members.
  const std::vector<orvane_parent>& controllers() const { return controllers_; }
  /// The controllers that have static devices, with these alone. False when topology.json has a fault.
  bool staticMembers(const std::string& selector, std::vector<orvane_parent>& parents) const;
  /// The controller at which a participant is reached; null when it is not known.
  const std::string* parentOf(const std::string& fid) const;
  /// Who watches the bus; mostly nobody.
  const std::vector<std::string>& watchers() const { return watchers_; }
  /// Grows with every change of the list of controllers.
  unsigned generation() const { return generation_; }

private:
  using Clock = std::chrono::steady_clock;

  // A file or directory as it was when it was looked at.
  struct Stamp {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    timespec changed{};   // the status: unlike the time of the content it cannot be set
    bool settled = false; // a later change would show in `changed`
    static Stamp of(const struct stat& seen);
    bool isStill(const Stamp& later) const;
  };

  bool isFresh(const Stamp& directory) const;
  void report(const std::string& refusal);
  bool keep(const std::string& reason);
  void refuse(const std::string& refusal);
  bool readFile(const BusDirectory& directory);
  void build(BusFiles files);
  void enterConfigured(std::map<std::string, orvane_parent>& found) const;
  void adopt(std::vector<orvane_parent> found);

  Stamp directoryStamp_;
  Stamp fileStamp_;
  Clock::time_point lookedAt_{};
  std::string own_; // own identifier at the last look
  TopologyConfig config_;
  std::string fault_;   // of topology.json, as reported
  std::string refusal_; // of the bus directory, as reported
  std::vector<orvane_parent> controllers_;
  std::map<std::string, std::string> parents_; // by participant
  std::vector<std::string> watchers_;
  unsigned generation_ = 0;
};

/// This process's view.
BusView& busView();

} // namespace ovk::local
