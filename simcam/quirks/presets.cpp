// Cameras whose lists of presets are not what clients expect.
#include "simcam/quirks/quirk.h"

namespace simcam {

QuirkGroup PresetQuirks() {
  return {"presets", {}};
}

}  // namespace simcam
