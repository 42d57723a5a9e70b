#pragma once

#include <cstdint>

#include "tests/support/unique_fd.h"

namespace testsupport {

/// A loopback port that is taken and on which nobody listens: connections to it are refused.
class ClosedPort {
 public:
  ClosedPort();
  std::uint16_t Port() const { return m_port; }

 private:
  UniqueFd m_socket;
  std::uint16_t m_port = 0;
};

}  // namespace testsupport
