#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "tests/support/failure_point.h"

namespace testsupport {

/// Most allocations that a call is allowed: one that never ends is not waited for.
inline constexpr long kMostRounds = 20000;

inline std::string NameOf(Failing which) {
  return which == Failing::kOnlyTheNth ? "only" : "from";
}

/// Calls `round` with the first, the second, ... allocation as the one that fails alone, and again as the one from
/// which on all fail, until it says that nothing failed any more. A step above 1 leaves allocations out.
template <typename Round>
void FailEveryAllocation(Round round, long step = 1) {
  for (const Failing which : {Failing::kOnlyTheNth, Failing::kAllFromTheNth}) {
    long nth = 1;
    for (; nth <= kMostRounds; nth += step) {
      SCOPED_TRACE(NameOf(which) + " allocation " + std::to_string(nth));
      if (!round(nth, which)) break;
    }
    EXPECT_GT(nth, 1) << "the call needs no memory";
    EXPECT_LE(nth, kMostRounds);
    if (testing::Test::HasFailure()) return;
  }
}

}  // namespace testsupport
