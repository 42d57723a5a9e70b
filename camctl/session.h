#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "camctl/accountguard.h"
#include "camctl/connection.h"
#include "camctl/evidence.h"
#include "camctl/report.h"
#include "onvif/camapi-onvif.h"
#include "platform/devicepackowned.h"

namespace camctl {

/// What a server would hold of one camera: the stored record, and the driver object that is made from it.
class Session {
 public:
  /// Makes no network traffic. `connection` must outlive the session.
  explicit Session(const Connection& connection);

  const Connection& GetConnection() const { return m_connection; }

  /// The driver object. It is made anew after a change of the record, as a server does it.
  ONVIFAPI& Driver();

  /// Tokens of the recording and the live profile, joined by ","; empty: not known.
  const std::string& Profiles() const { return m_profiles; }
  void UseProfiles(std::string pair);

  const Capabilities& Record() const { return m_record; }
  /// Adds to the stored record; keys that it holds are replaced.
  void Remember(const Capabilities& found);

  // Clients of the camera's services, for what the driver has no operation for. They use the driver object of now and
  // must not outlive it.
  OnvifMediaService MediaClient();
  OnvifPtzService PtzClient();

  /// Has the requests of this thread signed with the time of a camera whose clock is ahead by so much, until the session
  /// ends.
  void UseClock(std::chrono::milliseconds ahead);
  bool UsesClock() const { return m_clock != nullptr; }

  /// What is reported of the camera; steps fill it in.
  CameraReport& Camera() { return m_camera; }

  /// The last exchange since `ForgetEvidence`; after the refusal of the account, that refusal: nothing is asked any more.
  const std::optional<Evidence>& LastEvidence() const { return m_evidence; }
  void ForgetEvidence() { m_evidence.reset(); }

  /// `listener` is told of every exchange after it ended. It must not throw.
  void SetListener(std::function<void(const Evidence&)> listener);

  /// `text` without the password.
  std::string WithoutPassword(const std::string& text) const;

 private:
  void Observe(const HTTP_EXCHANGE& exchange);
  bool MayAsk();

  const Connection& m_connection;
  Capabilities m_record;
  std::string m_profiles;
  CameraReport m_camera;
  std::optional<Evidence> m_evidence;
  AccountGuard m_guard;
  std::unique_ptr<DevicePackOwned::TokenClockOffset> m_clock;
  std::function<void(const Evidence&)> m_listener;
  std::unique_ptr<ONVIFAPI> m_driver;
};

}  // namespace camctl
