// What a camera's RTSP server streams: its profiles as they are now, through its lens where it is now.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "simcam/camerastate.h"
#include "simcam/clock.h"
#include "simcam/model.h"
#include "simcam/rtspserver.h"

namespace simcam {

// The streams of the profiles that have a video source and a video encoder.
std::vector<StreamDescription> StreamsOf(const CameraModel& model, const MediaSnapshot& media);

// Keeps one server in step with one camera. Safe to use from any thread.
class CameraStreams {
 public:
  // Tells the server when profiles or encoders have changed since the last call.
  void Refresh(RtspServer& server, const CameraModel& model, const CameraState& state);

 private:
  std::mutex m_mutex;
  std::uint64_t m_generation = 0;  // of what the server was told last; no state has this one
};

// What a stream of the profile shows at this moment.
PictureMoment MomentOf(const CameraModel& model, const CameraState& state, const Clock& clock,
                       const std::string& profileToken);

}  // namespace simcam
