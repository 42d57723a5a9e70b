#include "tests/support/child_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <system_error>

namespace testsupport {
namespace {

constexpr int kFailed = 255;

pid_t StartChild(const std::function<int()>& work) {
  const pid_t pid = fork();
  if (pid < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (pid > 0) return pid;
  int result = kFailed;
  try {
    result = work();
  } catch (const std::exception&) {
    result = kFailed;
  }
  // Not exit(): the parent's listeners, files and exit handlers are not the child's.
  _exit(result);
}

int WaitFor(pid_t pid) {
  int status = 0;
  while (waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) throw std::system_error(errno, std::generic_category(), "waitpid");
  }
  return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace

int RunInChild(const std::function<int()>& work) {
  return WaitFor(StartChild(work));
}

Children::Children(int count, const std::function<int(int)>& work) {
  for (int index = 0; index < count; ++index) {
    m_running.push_back(StartChild([&work, index] { return work(index); }));
  }
}

Children::~Children() {
  Succeeded();
}

int Children::Succeeded() {
  int succeeded = 0;
  for (const pid_t child : m_running) succeeded += WaitFor(child) == 0 ? 1 : 0;
  m_running.clear();
  return succeeded;
}

}  // namespace testsupport
