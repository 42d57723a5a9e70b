#pragma once

#include <vector>

namespace testsupport {

/// Seconds of every call of `sleep` since the last ClearSleeps, oldest first. In test programs `sleep` returns at
/// once with 0; these are the calls that would have slept. Any thread.
std::vector<unsigned> Sleeps();

void ClearSleeps();

}  // namespace testsupport
