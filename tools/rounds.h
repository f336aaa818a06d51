#pragma once

#include <functional>
#include <string>

#include "session.h"

namespace CLI {
class App;
}

namespace tool {

/// How often a command asks: --every and --count.
class Rounds {
public:
  void addOptions(CLI::App& command);

  /// Asks once, or as often as wanted. A round that fails for a reason that may pass is reported, and the next one
  /// comes at its time; the command then fails at its end, with the code of the last round that did.
  void run(Session& session, const std::function<void()>& ask) const;

private:
  std::string every; ///< empty: not given
  int count = 0;     ///< 0: not given
};

} // namespace tool
