// Who may call what, and how a caller proves who it is. The rules of a good camera are the defaults.
#pragma once

#include "simcam/security.h"

namespace simcam {

struct AccessRules {
  TokenRules token;
  bool opensNothing = false;  // operations that are open to all ask for credentials as well
};

}  // namespace simcam
