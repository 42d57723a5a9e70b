// Cameras that check who is calling in a way of their own.
#include "simcam/quirks/quirk.h"

namespace simcam {

QuirkGroup AuthenticationQuirks() {
  return {"authentication", {}};
}

}  // namespace simcam
