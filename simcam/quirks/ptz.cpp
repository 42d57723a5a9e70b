// Cameras whose lens does not do what the PTZ service promises.
#include "simcam/quirks/quirk.h"

namespace simcam {

QuirkGroup PtzQuirks() {
  return {"ptz", {}};
}

}  // namespace simcam
