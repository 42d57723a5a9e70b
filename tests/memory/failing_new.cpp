#include "tests/memory/failing_new.h"

#include <cstdlib>
#include <new>

namespace testsupport {
namespace {

thread_local FailurePoint t_failure;
thread_local long t_outstanding = 0;

void* Allocate(std::size_t size) noexcept {
  if (t_failure.NextFails()) return nullptr;
  void* const block = std::malloc(size == 0 ? 1 : size);
  if (block != nullptr) ++t_outstanding;
  return block;
}

void* AllocateOrThrow(std::size_t size) {
  void* const block = Allocate(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void Free(void* block) noexcept {
  if (block != nullptr) --t_outstanding;
  std::free(block);
}

}  // namespace

long OutstandingNews() {
  return t_outstanding;
}

FailingNew::FailingNew(long nth, Failing which) {
  t_failure.Arm(nth, which);
}

FailingNew::~FailingNew() {
  t_failure.Disarm();
}

bool FailingNew::Struck() const {
  return t_failure.HasStruck();
}

}  // namespace testsupport

// All forms but the aligned ones, so that no block is given back to another allocator than it came from.
void* operator new(std::size_t size) {
  return testsupport::AllocateOrThrow(size);
}
void* operator new[](std::size_t size) {
  return testsupport::AllocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return testsupport::Allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return testsupport::Allocate(size);
}
void operator delete(void* block) noexcept {
  testsupport::Free(block);
}
void operator delete[](void* block) noexcept {
  testsupport::Free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  testsupport::Free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
  testsupport::Free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
  testsupport::Free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
  testsupport::Free(block);
}
