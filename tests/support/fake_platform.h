#pragma once

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "platform/topology.h"

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

struct Platform {
  // What the library did.
  std::vector<std::string> calls; ///< "createTransferChannel(1, 2)", in order; without reads, writes, traces and counts
  std::vector<TraceLine> trace;
  std::vector<WrittenMessage> written;
  std::map<int, int> counters;

  // What the platform answers.
  std::map<int, std::deque<std::string>> inbound;     ///< messages waiting, by channel
  std::map<int, int> createResults;                   ///< by channel; 0 unless set
  std::string myFid = "VR001_00001_0000000000A1";     ///< empty: unknown
  std::string parentFid = "VR002_00000_0000000000B0"; ///< empty: unknown
  int writeResult = 0;
  int readResult = 0; ///< instead of the length of the message read, when not 0
  bool topologyAnswers = true;
  std::vector<orvane_parent> parents;
  int topologyResult = 1;

  /// How often a line of this level has exactly this text.
  int traced(int level, const std::string& text) const;
  /// All lines of level 2, for messages of failed tests.
  std::string errors() const;
};

/// The platform in use.
Platform& platform();

/// A fresh platform and a fresh library: registrations and the bus-enabled flag as loaded.
void reset();

/// The blocks that malloc() may still give before it fails once; negative for no limit.
void failMallocAfter(int blocks);

} // namespace fake
