#include <sys/prctl.h>

#include <csignal>
#include <exception>

#include "camctl/commands.h"
#include "camctl/console.h"
#include "camctl/usageerror.h"
#include "platform/cameraresult.h"

int main(int argc, char** argv) {
  // A reader that goes away shows as a write that fails.
  std::signal(SIGPIPE, SIG_IGN);
#ifndef __SANITIZE_ADDRESS__  // which has to look at its own process at the end
  // A core would hold the password. Not by a limit: that is not one for cores that go to a program.
  prctl(PR_SET_DUMPABLE, 0);
#endif
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
