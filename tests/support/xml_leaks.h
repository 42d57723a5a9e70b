#pragma once

#include "tests/support/failure_point.h"

namespace testsupport {

/// Puts counting allocators under libxml2. Call once, before anything else of libxml2.
void CountXmlAllocations();

/// libxml2 allocations made and not freed by now, in all threads, without those of an UncountedXml. The calling
/// thread's last libxml2 error, which libxml2 keeps by design, is dropped first.
long OutstandingXmlAllocations();

/// Makes every test fail after which more libxml2 allocations are outstanding than before it.
void FailTestsThatLeakXml();

/// While one lives, the libxml2 allocations of its thread are not counted: for documents that the rig keeps.
/// What was allocated under one must be freed under one.
class UncountedXml {
 public:
  UncountedXml();
  ~UncountedXml();
  UncountedXml(const UncountedXml&) = delete;
  UncountedXml& operator=(const UncountedXml&) = delete;
};

/// While one lives, libxml2 gets no memory in this thread: the nth time that it asks, from 1, or from there on.
class FailingXmlMemory {
 public:
  FailingXmlMemory(long nth, Failing which);
  ~FailingXmlMemory();
  FailingXmlMemory(const FailingXmlMemory&) = delete;
  FailingXmlMemory& operator=(const FailingXmlMemory&) = delete;

  /// Whether libxml2 has asked that often.
  bool Struck() const;
};

}  // namespace testsupport
