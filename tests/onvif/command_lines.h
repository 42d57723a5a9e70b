#pragma once

#include <string>
#include <vector>

namespace testsupport {

/// The lines that a shell command prints. Throws std::runtime_error when it cannot be run or its exit status is not 0.
std::vector<std::string> LinesOf(const std::string& command);

}  // namespace testsupport
