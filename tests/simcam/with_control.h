#pragma once

#include <memory>
#include <utility>

#include "simcam/simcamera.h"
#include "tests/simcam/bench.h"

namespace simcamtest {

// A camera with a control address and a clock that stands still until the test moves it.
inline simcam::CameraOptions WithControl(std::shared_ptr<ManualClock> clock) {
  simcam::CameraOptions options;
  options.controlPort = 0;
  options.clock = std::move(clock);
  return options;
}

}  // namespace simcamtest
