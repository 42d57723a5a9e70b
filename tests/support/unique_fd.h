#pragma once

#include <utility>

namespace testsupport {

/// Owns one file descriptor and closes it; -1 is "none".
class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : m_fd(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept;
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;
  ~UniqueFd();

  int Get() const { return m_fd; }
  bool IsOpen() const { return m_fd >= 0; }

 private:
  int m_fd = -1;
};

}  // namespace testsupport
