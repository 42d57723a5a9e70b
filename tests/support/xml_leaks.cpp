#include "tests/support/xml_leaks.h"

#include <gtest/gtest.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlmemory.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace testsupport {
namespace {

std::atomic<long> g_outstanding{0};
thread_local int t_uncounted = 0;
thread_local FailurePoint t_failure;

void Count(long change) {
  if (t_uncounted == 0) g_outstanding += change;
}

void* CountingMalloc(std::size_t size) {
  if (t_failure.NextFails()) return nullptr;
  void* block = std::malloc(size);
  if (block != nullptr) Count(1);
  return block;
}

void* CountingRealloc(void* block, std::size_t size) {
  if (t_failure.NextFails()) return nullptr;
  void* grown = std::realloc(block, size);
  if (block == nullptr && grown != nullptr) Count(1);
  return grown;
}

void CountingFree(void* block) {
  if (block != nullptr) Count(-1);
  std::free(block);
}

char* CountingStrdup(const char* text) {
  const std::size_t size = std::strlen(text) + 1;
  void* copy = CountingMalloc(size);
  return copy == nullptr ? nullptr : static_cast<char*>(std::memcpy(copy, text, size));
}

class XmlLeakListener : public testing::EmptyTestEventListener {
 public:
  void OnTestStart(const testing::TestInfo&) override { m_before = OutstandingXmlAllocations(); }

  void OnTestEnd(const testing::TestInfo&) override {
    const long leaked = OutstandingXmlAllocations() - m_before;
    if (leaked > 0) ADD_FAILURE() << leaked << " libxml2 allocations of this test were not freed";
  }

 private:
  long m_before = 0;
};

}  // namespace

void CountXmlAllocations() {
  if (xmlMemSetup(CountingFree, CountingMalloc, CountingRealloc, CountingStrdup) != 0) std::abort();
}

long OutstandingXmlAllocations() {
  xmlResetLastError();
  return g_outstanding;
}

void FailTestsThatLeakXml() {
  // The listeners own what is appended to them.
  testing::UnitTest::GetInstance()->listeners().Append(new XmlLeakListener);
}

UncountedXml::UncountedXml() {
  // The last error may have been allocated under the count: it must not be freed outside of it.
  if (t_uncounted == 0) xmlResetLastError();
  ++t_uncounted;
}

UncountedXml::~UncountedXml() {
  if (t_uncounted == 1) xmlResetLastError();
  --t_uncounted;
}

FailingXmlMemory::FailingXmlMemory(long nth, Failing which) {
  t_failure.Arm(nth, which);
}

FailingXmlMemory::~FailingXmlMemory() {
  t_failure.Disarm();
}

bool FailingXmlMemory::Struck() const {
  return t_failure.HasStruck();
}

}  // namespace testsupport
