#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "tests/support/scripted_camera.h"

namespace bench {

/// How much a camera has of what a capability report asks for.
struct CameraSize {
  std::int64_t profiles = 2;
  std::int64_t encoderConfigurations = 2;
  std::int64_t resolutions = 12;  // of each of the codecs JPEG, MPEG4 and H264
};

/// A camera on the loopback interface whose answers are made beforehand, so that they cost nothing but the sending.
class GeneratedCamera {
 public:
  explicit GeneratedCamera(const CameraSize& size);

  std::uint16_t Port() const { return m_camera.Port(); }

 private:
  std::map<std::string, testsupport::Reply> m_replies;  // by operation
  testsupport::ScriptedCamera m_camera;                 // last: its thread reads the replies
};

}  // namespace bench
