#pragma once

#include <chrono>
#include <functional>
#include <vector>

#include "camctl/arguments.h"
#include "camctl/runner.h"
#include "camctl/tourmedia.h"

namespace camctl {

/// Work of a command: makes the steps and prints what they found; a failure is printed by the caller.
using Task = std::function<void(Runner& runner)>;

/// One command. `prepare` reads what the command line says to it and makes no network traffic; it throws UsageError.
struct Command {
  CommandHelp help;
  ShowSteps show;
  bool plays;  ///< a simulated camera must serve streams for it, unless it gets --no-play
  Task (*prepare)(const Request& request);
};

/// All commands, in the order of the help.
const std::vector<Command>& Commands();

// The commands, each in a file of its own.
void RunTestCommand(Runner& runner);
void RunInfoCommand(Runner& runner);
void RunPathsCommand(Runner& runner);
Task PreparePlay(const Request& request);
Task PrepareSnapshot(const Request& request);
Task PrepareTour(const Request& request);
Task PrepareCaps(const Request& request);
Task PrepareStream(const Request& request);
Task PrepareAudio(const Request& request);
Task PreparePtz(const Request& request);
Task PreparePreset(const Request& request);

/// How long a stream is to be played, of the option --seconds. Throws UsageError.
std::chrono::milliseconds ReadPlayTime(const Request& request);

/// The tour itself.
void RunTour(Runner& runner, const TourOptions& options);

/// Runs the program: everything but the conversion of exceptions.
/// \return exit status. Throws UsageError and simcam::CameraError.
int RunProgram(int argc, const char* const* argv);

}  // namespace camctl
