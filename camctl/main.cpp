#include <csignal>
#include <exception>

#include "camctl/commands.h"
#include "camctl/console.h"
#include "camctl/usageerror.h"
#include "platform/cameraresult.h"

int main(int argc, char** argv) {
  // A reader that goes away shows as a write that fails.
  std::signal(SIGPIPE, SIG_IGN);
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
