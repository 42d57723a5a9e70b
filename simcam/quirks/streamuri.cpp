// Cameras whose stream addresses cannot be used as they are.
#include "simcam/quirks/quirk.h"

namespace simcam {

QuirkGroup StreamUriQuirks() {
  return {"stream-uri", {}};
}

}  // namespace simcam
