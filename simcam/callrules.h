// How a camera treats one call. The rules of a good camera are the defaults; quirks bend them.
#pragma once

#include <optional>

#include "simcam/access.h"
#include "simcam/clock.h"
#include "simcam/soapfault.h"

namespace simcam {

struct CallRules {
  ClockRules clock;
  AccessRules access;

  // What happens instead of the operation.
  std::optional<SoapFault> fault;  // the call is accepted, and then refused with this
  bool isIdle = false;             // the answer says success, and nothing has changed
};

}  // namespace simcam
