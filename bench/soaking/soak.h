// The whole run: cameras, threads, looks at the process, judgement.
#pragma once

#include <csignal>
#include <stdexcept>

#include "bench/soaking/options.h"

namespace soak {

// Runs it and prints a line for each tenth and a summary. `signals` are those that end it early; they must be blocked in
// this thread. Returns the exit status: 0, or 1 for growth, a wrong result or an early end. Throws std::runtime_error
// when it cannot begin.
int Run(const Options& options, const sigset_t& signals);

}  // namespace soak
