// The snapshots of a camera: JPEG files of what its profiles show at this moment.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "simcam/camerastate.h"
#include "simcam/clock.h"
#include "simcam/httpdigest.h"
#include "simcam/httpserver.h"
#include "simcam/model.h"

namespace simcam {

// Where the lens of a profile's picture is; nothing when it cannot move. A profile that binds no PTZ configuration
// looks through the lens of the first PTZ node all the same.
std::optional<LensPosition> LensOf(const CameraModel& model, const CameraState& state, const Profile& profile);

// The JPEG quality, 1 to 100, for where an encoder's quality is in the range of its options.
int JpegQualityOf(double quality, const WholeRange& range);

// Safe to use from several threads.
class SnapshotService {
 public:
  // Model, state and clock must outlive the service. User and password are for models that ask for them.
  SnapshotService(const CameraModel& model, const CameraState& state, const Clock& clock, const std::string& user,
                  const std::string& password);

  // From now on this is the account; nonces that were given out before are stale.
  void ChangeAccount(const std::string& user, const std::string& password);

  // Whether the target has the form of a snapshot address, of whatever profile.
  bool HasTarget(const std::string& target) const;

  // Answers GET and HEAD for such a target: the picture, 401 or 400 for credentials, 404 for a profile that is unknown
  // or has no picture.
  HttpAnswer Answer(const HttpRequest& request);

 private:
  std::shared_ptr<DigestChecker> Checker() const;
  HttpAnswer Picture(const std::string& token);
  std::string Draw(const Profile& profile, const VideoEncoderConfiguration& encoder);

  const CameraModel& m_model;
  const CameraState& m_state;
  const Clock& m_clock;
  mutable std::mutex m_mutex;
  std::shared_ptr<DigestChecker> m_digest;  // null: everybody is served
  std::atomic<std::uint64_t> m_taken{0};
};

}  // namespace simcam
