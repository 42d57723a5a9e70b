#include "fuzz/require.h"
#include "fuzz/targets.h"
#include "simcam/quirks/quirkset.h"

namespace camapifuzz {

void SimcamQuirk(std::string_view input) {
  try {
    const std::string text = simcam::FormatQuirk(simcam::ParseQuirk(input));
    Require(simcam::FormatQuirk(simcam::ParseQuirk(text)) == text, "a quirk reads back as the same");
  } catch (const simcam::QuirkError& error) {
    Require(*error.what() != '\0', "a refusal has its reason");
  }
}

}  // namespace camapifuzz
