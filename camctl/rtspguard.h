#pragma once

namespace camctl {

/// Makes every rtspsrc of this process blind to challenges other than Digest: Basic would show the password to everybody
/// on the way. GStreamer must be started.
/// \return whether it works
bool RegisterRtspGuard();

}  // namespace camctl
