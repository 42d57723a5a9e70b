#include "fuzz/require.h"
#include "fuzz/targets.h"
#include "tests/simcam/bench.h"

namespace camapifuzz {

namespace {

simcam::CameraModel Parse(std::string_view input) {
  return simcam::ParseModel(input, "input");
}

}  // namespace

void SimcamModel(std::string_view input) {
  try {
    const simcamtest::Bench bench(Parse(input));
    Require(bench.Device("GetCapabilities").httpStatus == 200, "a camera of an accepted model answers");
    Require(bench.Media("GetProfiles").httpStatus == 200, "a camera of an accepted model shows its profiles");
  } catch (const simcam::ModelError& error) {
    Require(*error.what() != '\0', "a refusal has its reason");
  }
}

}  // namespace camapifuzz
