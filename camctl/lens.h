#pragma once

#include <string>

#include "camctl/session.h"
#include "camctl/steps.h"

namespace camctl {

/// Direction code of the home position.
inline constexpr int kHome = 33;

/// Speed level that the driver takes when none is asked for.
inline constexpr int kUsualSpeed = 5;

/// A direction code, by name ("left", "right", "up", "down", "in", "out", "home") or number, 0 to 99. Throws UsageError.
int ReadDirection(const std::string& text);

/// Name of a direction code, its number when it has none.
std::string NameOfDirection(int code);

/// The first direction of right, up and in that the camera's record allows; right when it allows none.
int FirstDirection(const CameraCap& cap);

/// One step of the lens.
Step MoveLens(int code);

/// The lens starts to move.
Step StartLens(int code, int speed);

/// The lens stops. Up to three tries: a lens that goes on moving is worse than a late answer.
Step StopLens(int code);

}  // namespace camctl
