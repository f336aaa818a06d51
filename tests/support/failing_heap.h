#pragma once

#include <functional>

// A heap that has nothing left when a test says so.

namespace fake {

/// The blocks that malloc() may still give before it fails once; negative for no limit.
void failMallocAfter(int blocks);

/// The same for operator new, which throws.
void failNewAfter(int blocks);

/// While it lives, operator new does not fail and nothing is counted: for what a test does inside of a step.
class Undisturbed {
public:
  Undisturbed();
  ~Undisturbed();

private:
  int left_ = -1;
};

/// How a step ends without memory.
enum class Ending {
  complete, ///< it did not need as much
  coped,    ///< it went on without
  failed    ///< by std::bad_alloc
};

/// Runs a step in which operator new fails once: at first at its first block, then at its second, until the step does not
/// need as many. Calls `prepare` before each time and `check` after. Returns how often it failed.
int failEachNew(const std::function<void()>& prepare, const std::function<void()>& step,
                const std::function<void(Ending ending)>& check);

} // namespace fake
