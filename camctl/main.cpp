#include <sys/resource.h>

#include <csignal>
#include <exception>

#include "camctl/commands.h"
#include "camctl/console.h"
#include "camctl/usageerror.h"
#include "platform/cameraresult.h"

int main(int argc, char** argv) {
  // A reader that goes away shows as a write that fails.
  std::signal(SIGPIPE, SIG_IGN);
  // A core file would hold the password.
  constexpr rlimit none{0, 0};
  setrlimit(RLIMIT_CORE, &none);
  try {
    return camctl::RunProgram(argc, argv);
  } catch (const camctl::UsageError& error) {
    camctl::PrintError(error.what());
    return camctl::kExitUsage;
  } catch (const std::exception& error) {
    camctl::PrintError(error.what());
    return CAMERA_FAILED;
  }
}
