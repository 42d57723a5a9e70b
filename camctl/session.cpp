#include "camctl/session.h"

#include <utility>

#include "camctl/secrets.h"

namespace camctl {

Session::Session(const Connection& connection)
    : m_connection(connection), m_record(connection.capabilities), m_profiles(connection.profiles) {
  m_camera.host = connection.host;
  m_camera.port = connection.port;
  m_camera.simulated = connection.simulated;
}

ONVIFAPI& Session::Driver() {
  if (!m_driver) {
    CameraCap cap(m_record);
    m_driver = std::make_unique<ONVIFAPI>(m_connection.host, m_connection.port, m_connection.user,
                                          m_connection.password, m_profiles, cap);
    m_driver->SetTimeoutCap(m_connection.timeoutSeconds);
    m_driver->SetExchangeObserver([this](const HTTP_EXCHANGE& exchange) { Observe(exchange); });
    m_driver->SetExchangeGate([this] { return MayAsk(); });
  }
  return *m_driver;
}

void Session::UseProfiles(std::string pair) {
  m_profiles = std::move(pair);
  m_driver.reset();
}

void Session::Remember(const Capabilities& found) {
  for (const auto& [key, value] : found) m_record[key] = value;
  m_driver.reset();
}

OnvifMediaService Session::MediaClient() {
  const CameraCap cap(m_record);
  std::string device;
  std::string media;
  std::string ptz;
  cap.GetServiceEnt(device, media, ptz);
  OnvifMediaService client;
  client.UpdateServiceParam(&Driver(), media, "", "");
  return client;
}

OnvifPtzService Session::PtzClient() {
  const CameraCap cap(m_record);
  std::string device;
  std::string media;
  std::string ptz;
  std::string major;
  std::string minor;
  cap.GetServiceEnt(device, media, ptz);
  cap.GetONVIFVersion(major, minor);
  OnvifPtzService client;
  client.UpdateServiceParam(&Driver(), ptz, major, minor);
  return client;
}

void Session::SetListener(std::function<void(const Evidence&)> listener) {
  m_listener = std::move(listener);
}

std::string Session::WithoutPassword(const std::string& text) const {
  // The account of a simulated camera is in its documentation, and such a camera shows none.
  return m_connection.simulated.empty() ? HidePassword(text, m_connection.password) : text;
}

void Session::UseClock(std::chrono::milliseconds ahead) {
  m_clock.reset();  // the one before it is put back first
  m_clock = std::make_unique<DevicePackOwned::TokenClockOffset>(ahead);
}

bool Session::MayAsk() {
  if (!m_guard.MayAsk()) m_evidence = m_guard.Refusal();
  return m_guard.MayAsk();
}

void Session::Observe(const HTTP_EXCHANGE& exchange) {
  m_evidence = MakeEvidence(exchange);
  m_guard.Observe(*m_evidence);
  if (m_listener) m_listener(*m_evidence);
}

}  // namespace camctl
