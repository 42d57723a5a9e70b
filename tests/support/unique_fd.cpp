#include "tests/support/unique_fd.h"

#include <unistd.h>

#include <utility>

namespace testsupport {

UniqueFd& UniqueFd::operator=(UniqueFd&& other) noexcept {
  std::swap(m_fd, other.m_fd);
  return *this;
}

UniqueFd::~UniqueFd() {
  if (m_fd >= 0) close(m_fd);
}

}  // namespace testsupport
