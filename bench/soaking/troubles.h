// What befalls a camera, and what its driver must answer meanwhile.
#pragma once

#include <cstddef>
#include <string_view>

#include "platform/cameraresult.h"

namespace soak {

// The result of operations while something is so.
struct Answers {
  int converted = CAMERA_OK;  // of those that tell the server why a request failed
  int plain = CAMERA_OK;      // of those that tell only that one did
};

constexpr Answers kFine{CAMERA_OK, CAMERA_OK};
constexpr Answers kGone{CAMERA_UNREACHABLE, CAMERA_FAILED};
constexpr Answers kRefused{CAMERA_NOT_AUTHORIZED, CAMERA_FAILED};
constexpr Answers kFault{CAMERA_FAULT, CAMERA_FAILED};

enum class Cause {
  Quirks,      // for some rounds
  Clock,       // for some rounds: off by more than the window. Every other one corrects the driver's time
  Reboot,      // until it is over
  Disconnect,  // at once
  Password,    // for some rounds; then the server knows the new one
  NewObject,   // at once: the server makes its object anew
};

struct Trouble {
  const char* name;
  Cause cause;
  Answers answers = kFine;  // meanwhile
  const char* quirks = "";  // as the control address takes them
  bool isDear = false;      // little is asked meanwhile, because each answer is long in coming, or long
  int timeout_s = 0;        // of the driver's requests; 0: as it has it
};

constexpr std::size_t kTroubleCount = 35;

// All of them, in a fixed order.
const Trouble& TroubleAt(std::size_t index);

}  // namespace soak
