#pragma once

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/topology.h"
#include "support/failing_heap.h"

// A platform whose every operation is scripted and recorded, linked in place of the bundled one. JSON documents are real.

namespace fake {

struct TraceLine {
  int level;
  std::string function;
  std::string text;
};

struct WrittenMessage {
  int channel;
  std::string text;
};

/// As the result of an operation: it throws std::bad_alloc.
constexpr int noMemory = -1000;

struct Platform {
  // What the library did.
  std::vector<std::string> calls; ///< "createTransferChannel(1, 2)", in order; without reads, writes, traces and counts
  std::vector<TraceLine> trace;
  std::vector<WrittenMessage> written;
  std::map<int, int> counters;
  unsigned offered = 0;       ///< the size of the buffer that messages are read into
  bool offeredZeroed = false; ///< whether that buffer was zero when it was offered last

  // What the platform answers.
  std::map<int, std::deque<std::string>> inbound; ///< messages waiting, by channel
  std::map<int, int> createResults;               ///< by channel; 0 unless set
  std::function<void()> onCreate;                 ///< called while a channel is created
  std::string myFid = "VR001_00001_0000000000A1";
  bool knowsMyFid = true;
  bool knowsParents = true;
  int writeResult = 0;
  int readResult = 0; ///< instead of the length of the message read, when not 0
  bool topologyAnswers = true;
  std::vector<orvane_parent> parents;
  int topologyResult = 1;

  /// The texts of all lines of level 2, and behind their level of others that tell a negative result; `message` stands in
  /// them as MSG.
  std::string errors(const std::string& message = "") const;
  /// All lines, "6 function: text", but those of the functions named between blanks; addresses stand in them as PTR, a
  /// blank at the end as an underscore.
  std::string lines(const std::string& message, const std::string& without = "") const;
};

/// The platform in use.
Platform& platform();

/// A fresh platform and a fresh library: registrations and the bus-enabled flag as loaded.
void reset();

/// The parent that the topology service knows for an identifier.
std::string parentOf(const std::string& fid);

} // namespace fake
