#include "tests/support/sleep_counter.h"

#include <mutex>

namespace testsupport {
namespace {

std::mutex g_mutex;

std::vector<unsigned>& Record() {
  static std::vector<unsigned> record;
  return record;
}

}  // namespace

std::vector<unsigned> Sleeps() {
  const std::lock_guard lock(g_mutex);
  return Record();
}

void ClearSleeps() {
  const std::lock_guard lock(g_mutex);
  Record().clear();
}

}  // namespace testsupport

// The linker puts this in the place of `sleep` (--wrap=sleep).
extern "C" unsigned __wrap_sleep(unsigned seconds);
extern "C" unsigned __wrap_sleep(unsigned seconds) {
  const std::lock_guard lock(testsupport::g_mutex);
  testsupport::Record().push_back(seconds);
  return 0;
}
