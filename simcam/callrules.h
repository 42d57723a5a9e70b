// How a camera treats one call. The rules of a good camera are the defaults; quirks bend them.
#pragma once

#include <chrono>
#include <optional>

#include "simcam/soapfault.h"

namespace simcam {

struct CallRules {
  // Clock.
  std::chrono::seconds clockOffset{0};  // the camera's clock is ahead of the true time by this

  // What happens instead of the operation.
  std::optional<SoapFault> fault;  // the call is accepted, and then refused with this
  bool isIdle = false;             // the answer says success, and nothing has changed
};

}  // namespace simcam
