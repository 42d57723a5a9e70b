#include "tests/support/process_figures.h"

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace testsupport {

int OpenDescriptors() {
  const std::filesystem::directory_iterator entries("/proc/self/fd");
  // The folder being read holds one itself.
  return static_cast<int>(std::distance(begin(entries), end(entries))) - 1;
}

std::size_t ResidentBytes() {
  std::ifstream file("/proc/self/statm");
  std::size_t all = 0;
  std::size_t resident = 0;
  file >> all >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

long HeapBytes() {
  const struct mallinfo2 info = mallinfo2();
  return static_cast<long>(info.uordblks + info.hblkhd);
}

ManyDescriptors::ManyDescriptors() {
  getrlimit(RLIMIT_NOFILE, &m_before);
  rlimit more = m_before;
  more.rlim_cur = std::max(more.rlim_cur, std::min<rlim_t>(more.rlim_max, 4096));
  setrlimit(RLIMIT_NOFILE, &more);
}

ManyDescriptors::~ManyDescriptors() {
  setrlimit(RLIMIT_NOFILE, &m_before);
}

}  // namespace testsupport
