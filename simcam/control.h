// The control address of a camera: what people and tests see and change of it while it runs, as JSON over HTTP.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "simcam/dispatcher.h"
#include "simcam/httpserver.h"

namespace simcam {

// Safe to use from several threads.
//
//   GET /camera            model, ports, profiles with their encoders, lenses, viewers, quirks that are on, counters
//   GET /quirks            all quirks, and those that are on
//   POST /quirks           switches on: one NAME[=VALUE][@OPERATION][#NTH] a line; all of them or none
//   DELETE /quirks         switches all off
//   DELETE /quirks/NAME    switches one off
//
// Everything else is refused, with {"error": "..."}: 400 a body that is not right, 403 a request that a foreign web page
// may have caused, 404, 405.
class Control {
 public:
  // What is controlled; the references must outlive the control.
  struct Camera {
    const CameraModel& model;
    const CameraState& state;
    const Dispatcher& dispatcher;
    QuirkSet& quirks;
  };

  // What the camera's servers know.
  struct Outside {
    std::uint16_t port = 0;                   // of the camera's services
    std::optional<std::uint16_t> streamPort;  // nothing: no streams are served
    std::size_t viewers = 0;                  // of streams, at this moment
  };

  explicit Control(const Camera& camera) : m_camera(camera) {}

  HttpAnswer Answer(const HttpRequest& request, const Outside& outside) const;

 private:
  Camera m_camera;
};

}  // namespace simcam
