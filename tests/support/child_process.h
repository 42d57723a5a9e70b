#pragma once

#include <sys/types.h>

#include <functional>
#include <vector>

namespace testsupport {

/// Runs `work` in a forked child, for what must not happen to the test's own process (limits, locale, descriptors).
/// Returns what `work` returned (0 to 255; 255 also for an exception), or minus the number of the signal that ended
/// the child. `work` must not start threads.
int RunInChild(const std::function<int()>& work);

/// Children that run `work(index)` at the same time, each until its work returns.
class Children {
 public:
  Children(int count, const std::function<int(int)>& work);
  ~Children();
  Children(const Children&) = delete;
  Children& operator=(const Children&) = delete;

  /// Waits for all of them; returns how many returned 0.
  int Succeeded();

 private:
  std::vector<pid_t> m_running;
};

}  // namespace testsupport
