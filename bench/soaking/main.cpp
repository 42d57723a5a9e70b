// The program camapi-soak: see bench/soak.
#include <pthread.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "bench/soaking/options.h"
#include "bench/soaking/soak.h"

namespace {

// Before any thread starts, so that all threads inherit the mask.
sigset_t BlockEndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGHUP);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signals;
}

// What is free must count as free, or the threads' hoards of small blocks look like growth for an hour: none are kept,
// and large blocks go back to the system at once. The C library reads this when a program starts.
void StartAgainWithExactMemory(char** argv) {
  constexpr const char* kVariable = "GLIBC_TUNABLES";
  if (std::getenv(kVariable) != nullptr) return;
  setenv(kVariable, "glibc.malloc.tcache_count=0:glibc.malloc.mmap_threshold=131072:glibc.malloc.trim_threshold=131072",
         1);
  execv("/proc/self/exe", argv);
}

}  // namespace

int main(int argc, char** argv) {
  int status = 0;
  StartAgainWithExactMemory(argv);
  try {
    const std::optional<soak::Options> options = soak::ReadOptions(argc, argv, status);
    if (options) status = soak::Run(*options, BlockEndSignals());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "soak: %s\n", error.what());
    status = 1;
  }
  return status;
}
