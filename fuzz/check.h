#pragma once

#include <cstdio>
#include <cstdlib>

// What a fuzzer finds, it reports by ending the program.

namespace fuzz {

inline void check(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

} // namespace fuzz
