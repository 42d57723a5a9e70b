#include "tests/support/unique_fd.h"

#include <unistd.h>

#include <filesystem>
#include <iterator>

namespace testsupport {

UniqueFd& UniqueFd::operator=(UniqueFd&& other) noexcept {
  std::swap(m_fd, other.m_fd);
  return *this;
}

UniqueFd::~UniqueFd() {
  if (m_fd >= 0) close(m_fd);
}

int OpenDescriptors() {
  const std::filesystem::directory_iterator entries("/proc/self/fd");
  // The folder being read holds one itself.
  return static_cast<int>(std::distance(begin(entries), end(entries))) - 1;
}

}  // namespace testsupport
