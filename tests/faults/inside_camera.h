#pragma once

#include <string>

#include "simcam/dispatcher.h"
#include "tests/support/scripted_camera.h"

namespace faults {

/// A simulated camera without its HTTP front. It is asked with the requests of a ScriptedCamera, checks their tokens
/// by the true time, and answers with the account admin, password simcam.
class InsideCamera {
 public:
  static constexpr char kUser[] = "admin";
  static constexpr char kPassword[] = "simcam";

  explicit InsideCamera(const simcam::CameraModel& model);

  /// The answer of a camera with which nothing is wrong. From one thread at a time.
  testsupport::Reply Answer(const testsupport::HttpRequest& request) const;

  simcam::CameraState& State() { return m_state; }

 private:
  const simcam::CameraModel m_model;
  simcam::Clock m_clock;
  simcam::CameraState m_state;
  simcam::TokenChecker m_tokens;
  simcam::QuirkSet m_quirks;
  simcam::Dispatcher m_dispatcher;
};

/// Name of the ONVIF operation that a request asks for.
std::string OperationOf(const testsupport::HttpRequest& request);

}  // namespace faults
