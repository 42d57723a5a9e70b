#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "camctl/report.h"
#include "camctl/steps.h"

namespace camctl {

/// What a camera said about its time.
struct ClockReading {
  int result = 0;                         ///< result code of the server
  std::chrono::milliseconds ahead{0};     ///< of this machine's clock, to about a second; when the result is 0
  std::optional<Evidence> evidence = {};  ///< of the exchange
};

/// Asks the camera for its time, without credentials.
ClockReading ReadClock(const Session& session);

/// A difference for people: "as this machine's", "3 h 0 min ahead of this machine's", "2 days 4 h behind this machine's".
std::string DescribeClock(std::chrono::milliseconds ahead);

/// `cause` of a refused account, with what a clock that is so far ahead has to do with it.
Cause WithClock(const Cause& cause, std::chrono::milliseconds ahead);

/// Measures the clock, and has all later requests carry the camera's time.
extern const Step kClock;

}  // namespace camctl
