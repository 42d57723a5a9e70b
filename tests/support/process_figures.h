#pragma once

#include <sys/resource.h>

#include <cstddef>

namespace testsupport {

/// Number of descriptors that this process has open now.
int OpenDescriptors();

/// Resident memory of this process, in bytes.
std::size_t ResidentBytes();

/// Bytes that were asked of malloc and not given back, with its own overhead; also what is mapped for large blocks.
long HeapBytes();

/// As many descriptors as this process may have, up to 4096, until the end of the object.
class ManyDescriptors {
 public:
  ManyDescriptors();
  ManyDescriptors(const ManyDescriptors&) = delete;
  ManyDescriptors& operator=(const ManyDescriptors&) = delete;
  ~ManyDescriptors();

 private:
  rlimit m_before{};
};

}  // namespace testsupport
