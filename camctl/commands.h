#pragma once

#include <functional>
#include <vector>

#include "camctl/arguments.h"
#include "camctl/runner.h"

namespace camctl {

/// Work of a command: makes the steps and prints what they found; a failure is printed by the caller.
using Task = std::function<void(Runner& runner)>;

/// One command. `prepare` reads what the command line says to it and makes no network traffic; it throws UsageError.
struct Command {
  CommandHelp help;
  ShowSteps show;
  Task (*prepare)(const Request& request);
};

/// All commands, in the order of the help.
const std::vector<Command>& Commands();

// The commands, each in a file of its own.
void RunTestCommand(Runner& runner);
void RunInfoCommand(Runner& runner);
void RunPathsCommand(Runner& runner);
void RunTourCommand(Runner& runner);
Task PrepareCaps(const Request& request);
Task PrepareStream(const Request& request);
Task PrepareAudio(const Request& request);
Task PreparePtz(const Request& request);
Task PreparePreset(const Request& request);

/// Runs the program: everything but the conversion of exceptions.
/// \return exit status. Throws UsageError and simcam::CameraError.
int RunProgram(int argc, const char* const* argv);

}  // namespace camctl
