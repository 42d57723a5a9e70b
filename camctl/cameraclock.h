#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "camctl/report.h"
#include "camctl/steps.h"

namespace camctl {

/// How far the camera's clock is ahead of this machine's, to about a second; asked without credentials. Nothing when the
/// camera does not tell.
std::optional<std::chrono::milliseconds> MeasureClock(Session& session);

/// A difference for people: "as this machine's", "3 h 0 min ahead of this machine's", "2 days 4 h behind this machine's".
std::string DescribeClock(std::chrono::milliseconds ahead);

/// `cause` of a refused account, with what the camera's clock has to do with it.
/// \param ahead of this machine's clock; nothing when it is not known
Cause WithClock(Cause cause, std::optional<std::chrono::milliseconds> ahead);

/// Measures the clock, and has all later requests carry the camera's time.
extern const Step kClock;

}  // namespace camctl
