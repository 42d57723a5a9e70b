// The control address of a camera: what people and tests see and change of it while it runs, as JSON over HTTP.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

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
//   POST /reboot           starts the camera anew; the body is how long it is gone, in milliseconds
//   POST /disconnect       ends the connections of all clients
//   POST /account          changes the account; the body has two lines, user name and password
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

  // What can be done to the camera beside its quirks. Called on the control server's thread; see SimCamera.
  struct Actions {
    std::function<void(std::chrono::milliseconds down)> reboot;
    std::function<std::size_t()> disconnect;
    std::function<void(const std::string& user, const std::string& password)> changeAccount;
  };

  Control(const Camera& camera, Actions actions) : m_camera(camera), m_actions(std::move(actions)) {}

  HttpAnswer Answer(const HttpRequest& request, const Outside& outside) const;

 private:
  Camera m_camera;
  Actions m_actions;
};

}  // namespace simcam
