#pragma once

#include <list>

#include "camctl/session.h"
#include "camctl/steps.h"

namespace camctl {

/// The profiles of a camera, what is bound to them, and what their video encoders are set to.
using CameraState = std::list<OVF_MED_PROFILE>;

/// Reads the state.
/// \param[out] state filled in when the step is run; must outlive it
Step ReadState(CameraState& state);

/// Makes the camera as it was: deletes profiles that are new, binds and unbinds, sets the video encoders. What the
/// driver cannot read stays as it is: bit rate and distance of key frames.
/// \param state as read before; must outlive the step
Step RestoreState(const CameraState& state);

}  // namespace camctl
