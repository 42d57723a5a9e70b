#pragma once

#include <stdexcept>

namespace camctl {

/// The program was called in a way that it cannot serve. what() is one line: what, where, what to do.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Exit status for a UsageError. It is no result code of the server.
inline constexpr int kExitUsage = 2;

}  // namespace camctl
