#include "bench/soaking/camera.h"

#include <cstdio>
#include <map>
#include <stdexcept>

#include "bench/soaking/controlclient.h"
#include "platform/devicepackowned.h"

namespace soak {

namespace {

constexpr const char* kUser = "admin";
constexpr int kTimeout_s = 20;  // of a request, unless a trouble has its own
constexpr int kPan = 1;         // code of a move

constexpr std::array<Model, kModelCount> kModels = {
    {{"ptz-dome", "profile_1,profile_2", true, 2, CAMERA_OK, 3, "1920x1080"},
     {"axis-dome", "profile_1_h264,profile_1_jpeg", true, 1, CAMERA_OK, 3, "1280x720"},
     {"fixed-box", "Profile0,Profile1", false, 2, CAMERA_FAILED, 3, "640x480"},
     {"legacy-1-0", "stream0,stream1", true, 3, CAMERA_OK, 2, "704x576"}}};

std::string Text(const char* label, long number) {
  return label + std::to_string(number);
}

}  // namespace

const Model& ModelAt(std::size_t index) {
  return kModels.at(index);
}

// The first rounds are spread over the interval.
Camera::Camera(const CameraPlan& plan, Tally& tally) : m_plan(plan), m_tally(tally) {
  std::seed_seq seeds{plan.seed, plan.number};
  m_random.seed(seeds);
  m_due = std::chrono::steady_clock::now() + plan.interval * Below(1000) / 1000;
}

void Camera::Prepare() {
  MakeDriver();
  CameraCap::MAP report;
  const int result = m_driver->GetCapability(report);
  m_reportSize = report.size();
  m_cap = CameraCap(std::move(report));
  if (result != CAMERA_OK || (m_cap.IsPTZValid(kPan) != 0) != m_plan.model->hasPtz ||
      (m_cap.GetPresetCnt() > 0) != m_plan.model->hasPtz) {
    throw std::runtime_error(Text("camera ", m_plan.number) + " (" + m_plan.model->name +
                             "): no report, or not that of its model; GetCapability answered " +
                             std::to_string(result));
  }
  MakeDriver();
}

void Camera::MakeDriver() {
  m_driver.reset();
  m_driver =
      std::make_unique<ONVIFAPI>("127.0.0.1", m_plan.ports.service, kUser, m_password, m_plan.model->profiles, m_cap);
  m_driver->SetExchangeObserver([this](const HTTP_EXCHANGE& exchange) { Note(exchange); });
}

void Camera::Note(const HTTP_EXCHANGE& exchange) {
  std::snprintf(m_exchange.data(), m_exchange.size(), "%d, status %d, \"%s\"", exchange.eResult, exchange.nStatus,
                exchange.strError.c_str());
}

void Camera::Round() {
  ++m_round;
  try {
    Befall();
  } catch (const ControlError& error) {
    Complain(error.what());
    return;
  }
  const int timeout_s = m_plight ? Now()->timeout_s : 0;
  m_driver->SetTimeoutCap(timeout_s > 0 ? timeout_s : kTimeout_s);
  if (!IsClockCorrected()) {
    AskAll();
    return;
  }
  const DevicePackOwned::TokenClockOffset offset{std::chrono::seconds(m_plight->number)};
  AskAll();
}

bool Camera::IsClockCorrected() const {
  return m_plight && Now()->cause == Cause::Clock && m_plight->roundsLeft % 2 == 0;
}

// The first troubles of the cameras are different ones, so that a short run sees many; later ones come by chance.
void Camera::Befall() {
  if (m_plight) {
    const bool isReboot = Now()->cause == Cause::Reboot;
    const bool isOver =
        isReboot ? std::chrono::steady_clock::now() >= m_plight->overLatest : --m_plight->roundsLeft <= 0;
    if (isOver) End();
    return;
  }
  if (m_round == 2) {
    Begin(m_plan.number % kTroubleCount);
  } else if (m_round > 2 && Below(3) == 0) {
    Begin(static_cast<std::size_t>(Below(static_cast<int>(kTroubleCount))));
  }
}

void Camera::Begin(std::size_t index) {
  m_tally.CountTrouble(index);
  m_plight = Plight{index, 1 + Below(3), 0, {}, {}};
  switch (Now()->cause) {
    case Cause::Quirks:
      SwitchQuirks(Now()->quirks);
      break;
    case Cause::Clock:
      m_plight->number = (Below(2) == 0 ? 1L : -1L) * (600 + Below(100000000));
      SwitchQuirks(Text("clock-offset=", m_plight->number));
      break;
    case Cause::Reboot:
      Reboot();
      break;
    case Cause::Disconnect:
      Tell(m_plan.ports.control, "POST", "/disconnect");
      break;
    case Cause::Password:
      m_newPassword = Text("secret & <", m_round);
      Tell(m_plan.ports.control, "POST", "/account", std::string(kUser) + "\n" + m_newPassword);
      break;
    case Cause::NewObject:
      MakeDriver();
      break;
  }
  m_events.at(m_round % m_events.size()) = {m_round, index, m_plight->number};
  if (Now()->cause == Cause::Disconnect || Now()->cause == Cause::NewObject) m_plight.reset();
}

void Camera::End() {
  const Cause cause = Now()->cause;
  m_plight.reset();
  if (cause == Cause::Quirks || cause == Cause::Clock) Tell(m_plan.ports.control, "DELETE", "/quirks");
  if (cause == Cause::Password) {
    m_password = m_newPassword;
    MakeDriver();
  }
}

void Camera::SwitchQuirks(const std::string& lines) {
  Tell(m_plan.ports.control, "POST", "/quirks", lines);
}

// Up to some rounds are asked while the camera is gone. Its own time of the end lies between ours.
void Camera::Reboot() {
  const auto interval = std::chrono::duration_cast<std::chrono::milliseconds>(m_plan.interval);
  const std::chrono::milliseconds down(Below(static_cast<int>(interval.count()) * 5 / 2));
  m_plight->number = static_cast<long>(down.count());
  m_plight->overEarliest = std::chrono::steady_clock::now() + down;
  Tell(m_plan.ports.control, "POST", "/reboot", std::to_string(down.count()));
  m_plight->overLatest = std::chrono::steady_clock::now() + down;
}

int Camera::Code(Group group, const Answers& answers) const {
  switch (group) {
    case Group::Converted:
      return answers.converted;
    case Group::Ptz:
      return m_plan.model->hasPtz ? answers.plain : CAMERA_NOT_SUPPORTED;
    case Group::Audio:
      return answers.plain == CAMERA_OK ? m_plan.model->audioAnswer : answers.plain;
    case Group::Plain:
      break;
  }
  return answers.plain;
}

// An operation that began before the end of a reboot and ended after it may have met the one or the other.
bool Camera::IsAllowed(Group group, int result, Time before) const {
  if (!m_plight || IsClockCorrected()) return result == Code(group, kFine);
  if (Now()->cause != Cause::Reboot) return result == Code(group, Now()->answers);
  const bool mayBeGone = before < m_plight->overLatest;
  const bool mayBeBack = std::chrono::steady_clock::now() >= m_plight->overEarliest;
  return (mayBeGone && result == Code(group, kGone)) || (mayBeBack && result == Code(group, kFine));
}

// Returns whether the operation succeeded.
template <typename Call>
bool Camera::Ask(const char* operation, Group group, Call call) {
  const Time before = std::chrono::steady_clock::now();
  const int result = call(*m_driver);
  m_tally.CountResult(result);
  if (!IsAllowed(group, result, before)) {
    Complain(std::string(operation) + " answered " + std::to_string(result));
  }
  return result == CAMERA_OK;
}

void Camera::Complain(const std::string& what) const {
  m_tally.CountWrong(Text("camera ", m_plan.number) + " (" + m_plan.model->name +
                     Text(", port ", m_plan.ports.service) + Text("), seed ", m_plan.seed) + Text(", round ", m_round) +
                     ": " + what + "; last exchange: " + m_exchange.data() +
                     "; now: " + (m_plight ? Now()->name : "all is well") + History());
}

void Camera::Claim(bool holds, const char* what) const {
  if (!holds) Complain(what);
}

std::string Camera::History() const {
  std::string text;
  for (std::size_t i = 1; i <= m_events.size(); ++i) {
    const Event& event = m_events.at((m_round + i) % m_events.size());
    if (event.round == 0) continue;
    text += Text("; in round ", event.round) + ": " + TroubleAt(event.trouble).name;
    if (event.number != 0) text += Text(" ", event.number);
  }
  return text;
}

void Camera::AskAll() {
  AskConnection();
  if (m_plight && Now()->isDear) return;
  AskIdentity();
  AskPaths();
  AskLens();
  if (Below(3) == 0) AskPresets();
  if (Below(4) == 0) AskReport();
  if (Below(5) == 0) AskStream();
}

void Camera::AskConnection() {
  const Group group = m_plan.expectsWrongCode ? Group::Ptz : Group::Converted;
  Ask("TestConn", group, [](ONVIFAPI& driver) { return driver.TestConn(); });
}

void Camera::AskIdentity() {
  std::map<std::string, std::string> info;
  if (Ask("GetDeviceInfo", Group::Converted, [&](ONVIFAPI& driver) { return driver.GetDeviceInfo(info); })) {
    Claim(info.count("vendor") == 1 && info.count("mac_address") == 1, "GetDeviceInfo lacks vendor or MAC address");
  }
}

void Camera::AskPaths() {
  std::string path;
  int port = 0;
  int flag = 0;
  if (Ask("GetPathPort", Group::Plain, [&](ONVIFAPI& driver) { return driver.GetPathPort(path, port); })) {
    Claim(path.rfind('/', 0) == 0 && port > 0, "GetPathPort gave no path or port");
  }
  Ask("GetLivePathPort", Group::Plain, [&](ONVIFAPI& driver) { return driver.GetLivePathPort(path, port); });
  if (Ask("GetShotPathPort", Group::Plain,
          [&](ONVIFAPI& driver) { return driver.GetShotPathPort(path, port, flag); })) {
    Claim(port == m_plan.ports.service && flag == 1, "GetShotPathPort gave another port than the camera's");
  }
}

void Camera::AskReport() {
  std::map<std::string, std::string> report;
  if (Ask("GetCapability", Group::Converted, [&](ONVIFAPI& driver) { return driver.GetCapability(report); })) {
    Claim(report.size() == m_reportSize, "GetCapability gave another number of keys than the first one");
  }
}

void Camera::AskStream() {
  STM_PROFILE profile;
  profile.nVdoType = m_plan.model->videoType;
  profile.nStmMode = 1;
  profile.strReso = m_plan.model->size;
  profile.strFps = Below(2) == 0 ? "5" : "8";
  profile.strQual = Below(2) == 0 ? "2" : "4";
  profile.strLiveReso = profile.strReso;
  profile.strLiveFps = profile.strFps;
  profile.strLiveQual = profile.strQual;
  Ask("SetStmProfile", Group::Plain, [&](ONVIFAPI& driver) { return driver.SetStmProfile(profile); });
  Ask("SetAudio", Group::Audio, [&](ONVIFAPI& driver) { return driver.SetAudio(m_plan.model->audioType); });
}

void Camera::AskLens() {
  Ask("LensPTZStart", Group::Ptz, [](ONVIFAPI& driver) { return driver.LensPTZStart(kPan); });
  Ask("LensPTZ", Group::Ptz, [](ONVIFAPI& driver) { return driver.LensPTZ(kPan); });
  Ask("LensPTZStop", Group::Ptz, [](ONVIFAPI& driver) { return driver.LensPTZStop(kPan); });
}

// A preset may be left over from a round in which the camera went away.
void Camera::AskPresets() {
  const int number = Below(8);
  std::map<int, std::string> presets;
  const auto list = [&presets](ONVIFAPI& driver) { return driver.GetPresets(presets); };
  const auto remove = [number](ONVIFAPI& driver) { return driver.DelPreset(number, ""); };
  if (Ask("GetPresets", Group::Ptz, list) && presets.count(number) != 0) Ask("DelPreset", Group::Ptz, remove);
  if (!Ask("SetPreset", Group::Ptz, [number](ONVIFAPI& driver) { return driver.SetPreset(number, ""); })) return;
  presets.clear();
  if (Ask("GetPresets", Group::Ptz, list)) Claim(presets.count(number) == 1, "GetPresets lacks the one just set");
  Ask("LensPreset", Group::Ptz, [number](ONVIFAPI& driver) { return driver.LensPreset(number, ""); });
  Ask("DelPreset", Group::Ptz, remove);
}

}  // namespace soak
