// Cameras that tell addresses of their services where nobody can reach them.
#include "simcam/quirks/quirk.h"

namespace simcam {

QuirkGroup AddressQuirks() {
  return {"addresses", {}};
}

}  // namespace simcam
