#pragma once

#include <unistd.h>

#include <utility>

namespace soak {

// Owns a file descriptor.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) : m_number(number) {}
  ~Descriptor() {
    if (IsOpen()) close(m_number);
  }
  Descriptor(Descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(m_number, other.m_number);
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int Get() const { return m_number; }
  bool IsOpen() const { return m_number != -1; }

 private:
  int m_number;
};

}  // namespace soak
