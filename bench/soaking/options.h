// What the program is asked to do.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace soak {

constexpr int kMostCameras = 400;

// What the soak does wrong on purpose, so that a test sees that it is caught.
enum class SelfCheck {
  None,
  Leak,         // memory is lost in each round
  Descriptors,  // a descriptor is lost in each round
  Threads,      // a thread is started in each round and stays
  Code,         // of one camera, one operation is expected to answer another code
};

struct Options {
  int cameras = 100;
  double minutes = 30;
  unsigned seed = 1;
  std::string simcam;  // path of the program
  SelfCheck selfCheck = SelfCheck::None;
};

// Reads the command line. Nothing when the program has already done what was asked (--help), or cannot do it; `status`
// is then its exit status.
std::optional<Options> ReadOptions(int argc, char** argv, int& status);

}  // namespace soak
