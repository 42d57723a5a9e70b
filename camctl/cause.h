#pragma once

#include <optional>
#include <string>

#include "camctl/evidence.h"
#include "camctl/report.h"

namespace camctl {

/// Whom the evidence is about.
struct Party {
  std::string host;
  int port = 0;
  std::string user;
  int timeoutSeconds = 0;  ///< longest wait that was asked for; 0: none
};

/// Cause and remedy of a failed step, read from its last exchange.
/// \param evidence nothing when the step failed without asking the camera
/// \param result the step's result code
Cause FindCause(const std::optional<Evidence>& evidence, int result, const Party& party);

/// Whether a clock that is off may be the reason as well.
bool MayBeTheClock(const Cause& cause);

/// Meaning of a result code in a few words.
const char* MeaningOf(int result);

}  // namespace camctl
