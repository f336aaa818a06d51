#pragma once

#include <string>
#include <vector>

#include "messages.h"

// General JSON libraries that do the same work. Each stands in its own file, which enters it here, so that a build without
// one of them lacks that file and nothing else.

namespace bench {

struct Peer {
  const char* name;
  bool (*receive)(const Message& message); ///< from the text to the callback and the record's release
  bool (*send)(const Message& message);    ///< from the values to the channel; null for a reader
};

inline std::vector<Peer>& peers() {
  static std::vector<Peer> all;
  return all;
}

inline bool enter(const Peer& peer) {
  peers().push_back(peer);
  return true;
}

/// The library itself in the same form.
extern const Peer library;

/// The bytes of the record that the callback gets, with those of its blocks; empty when it gets none.
std::string recordOf(const Peer& peer, const Message& message);

/// The text that is written.
std::string textOf(const Peer& peer, const Message& message);

/// Whether every peer makes the same record and the same text of every message as the library; differences are printed.
bool peersAgree();

} // namespace bench
