// Ends the process, which a fuzzer reports with its input.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace camapifuzz {

inline void Require(bool holds, const char* what) {
  if (!holds) {
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
  }
}

}  // namespace camapifuzz
