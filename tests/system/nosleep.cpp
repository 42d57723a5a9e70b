// Preloaded into the programs under test: `sleep` takes no time.
//
// With CAMAPI_SLEEP_GATE=PATH in the environment the first call waits: it opens the named pipe PATH.asleep, which tells the
// test that the program pauses, and then PATH.wake, until the test lets it go on.

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace {

// Opening a named pipe waits for the other end.
void Meet(const std::string& path, int mode) {
  const int fd = open(path.c_str(), mode | O_CLOEXEC);
  if (fd != -1) close(fd);
}

}  // namespace

extern "C" unsigned int sleep(unsigned int) {
  static bool passed = false;
  const char* const gate = std::getenv("CAMAPI_SLEEP_GATE");
  if (gate == nullptr || passed) return 0;
  passed = true;
  Meet(std::string(gate) + ".asleep", O_WRONLY);
  Meet(std::string(gate) + ".wake", O_RDONLY);
  return 0;
}
