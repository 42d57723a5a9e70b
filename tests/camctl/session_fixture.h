#pragma once

#include <memory>
#include <string>

#include "camctl/runner.h"

namespace camctl {

/// A simulated camera, and what a server holds of it.
class LiveCamera {
 public:
  explicit LiveCamera(const std::string& model);

  simcam::SimCamera& Camera() { return *m_camera; }
  const Connection& GetConnection() const { return m_connection; }

  /// Ends the camera. The connection keeps its address.
  void Stop();

  /// Starts the camera anew, as it was delivered, at the address that it had.
  void Restart();

  /// A driver object, as the server makes one of what it has stored.
  std::unique_ptr<ONVIFAPI> Driver(const Capabilities& record, const std::string& profiles) const;

  /// Tokens of the first two profiles, joined by ","; of a single one, that.
  std::string FirstProfiles() const;

 private:
  std::string m_model;
  std::unique_ptr<simcam::SimCamera> m_camera;
  Connection m_connection;
};

}  // namespace camctl
