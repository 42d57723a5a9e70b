#pragma once

#include "manual/page.h"

namespace manual {

/// What the command lines of the programs say.
Page PageOfCamctl();
Page PageOfSimcam();

}  // namespace manual
