#include "tests/camctl/session_fixture.h"

namespace camctl {

LiveCamera::LiveCamera(const std::string& model)
    : m_model(model), m_camera(std::make_unique<simcam::SimCamera>(simcam::LoadModel(model))) {
  const simcam::CameraOptions account;
  m_connection.host = "127.0.0.1";
  m_connection.port = m_camera->Port();
  m_connection.user = account.user;
  m_connection.password = account.password;
}

void LiveCamera::Stop() {
  m_camera.reset();
}

void LiveCamera::Restart() {
  Stop();
  simcam::CameraOptions options;
  options.port = static_cast<std::uint16_t>(m_connection.port);
  m_camera = std::make_unique<simcam::SimCamera>(simcam::LoadModel(m_model), options);
}

std::unique_ptr<ONVIFAPI> LiveCamera::Driver(const Capabilities& record, const std::string& profiles) const {
  CameraCap cap(record);
  return std::make_unique<ONVIFAPI>(m_connection.host, m_connection.port, m_connection.user, m_connection.password,
                                    profiles, cap);
}

std::string LiveCamera::FirstProfiles() const {
  const std::vector<std::string> tokens = m_camera->ProfileTokens();
  return tokens.size() == 1 ? tokens.at(0) : tokens.at(0) + "," + tokens.at(1);
}

}  // namespace camctl
