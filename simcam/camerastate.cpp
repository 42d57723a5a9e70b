#include "simcam/camerastate.h"

#include <algorithm>
#include <utility>

#include "simcam/bytoken.h"
#include "simcam/soapfault.h"

namespace simcam {

namespace {

SoapFault NoProfile(const std::string& token) {
  return InvalidArgument("NoProfile", "no profile has the token " + token);
}

// Changes a copy and keeps it, so that a change that is refused half-way has done nothing.
template <typename Item>
void Change(std::vector<Item>& items, const std::string& token, const std::function<void(Item&)>& change) {
  Item* const item = FindByToken(items, token);
  if (item == nullptr) {
    throw InvalidArgument("NoConfig", "no configuration of that kind has the token " + token);
  }
  Item changed = *item;
  change(changed);
  *item = std::move(changed);
}

}  // namespace

CameraState::CameraState(const CameraModel& model, const Clock& clock)
    : m_model(model), m_clock(clock), m_media{model.profiles, model.videoEncoders, model.audioEncoders, 1} {
  if (model.ptz) {
    for (const PtzNode& node : model.ptz->nodes) {
      m_units.emplace(node.token, PtzUnit(node));
    }
  }
}

MediaSnapshot CameraState::Media() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_media;
}

std::vector<Profile> CameraState::Profiles() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_media.profiles;
}

Profile CameraState::FindProfile(const std::string& token) const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const Profile* const found = FindByToken(m_media.profiles, token);
  if (found == nullptr) {
    throw NoProfile(token);
  }
  return *found;
}

Profile CameraState::CreateProfile(const std::string& name, const std::optional<std::string>& token) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  if (!IsNameLike(name) || (token && !IsNameLike(*token))) {
    throw SoapFault("Sender", {"InvalidArgVal"}, "a profile's name and token have 1 to 64 characters");
  }
  if (token && IsUsed(*token)) {
    throw InvalidArgument("ProfileExists", "a profile has the token " + *token);
  }
  if (m_media.profiles.size() >= m_model.maxProfiles) {
    throw ActionFailed("MaxNVTProfiles",
                       "the camera holds no more than " + std::to_string(m_model.maxProfiles) + " profiles");
  }
  Profile profile;
  profile.token = token ? *token : UnusedToken();
  profile.name = name;
  m_media.profiles.push_back(profile);
  ++m_media.generation;
  return profile;
}

void CameraState::DeleteProfile(const std::string& token) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const Profile* const profile = &Find(token);
  if (profile->fixed) {
    throw SoapFault("Sender", {"Action", "DeletionOfFixedProfile"}, "a fixed profile cannot be deleted");
  }
  m_media.profiles.erase(m_media.profiles.begin() + (profile - m_media.profiles.data()));
  ++m_media.generation;
}

void CameraState::Bind(const std::string& profile, ConfigurationKind kind, const std::string& configuration) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  Profile& found = Find(profile);
  const std::vector<std::string> known = m_model.ConfigurationTokens(kind);
  if (std::find(known.begin(), known.end(), configuration) == known.end()) {
    throw InvalidArgument("NoConfig", "no configuration of that kind has the token " + configuration);
  }
  found.bindings.at(IndexOf(kind)) = configuration;
  ++m_media.generation;
}

void CameraState::Unbind(const std::string& profile, ConfigurationKind kind) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  std::string& binding = Find(profile).bindings.at(IndexOf(kind));
  if (binding.empty()) {
    throw InvalidArgument("NoConfig", "the profile binds no configuration of that kind");
  }
  binding.clear();
  ++m_media.generation;
}

void CameraState::ChangeVideoEncoder(const std::string& token,
                                     const std::function<void(VideoEncoderConfiguration&)>& change) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  Change(m_media.videoEncoders, token, change);
  ++m_media.generation;
}

void CameraState::ChangeAudioEncoder(const std::string& token,
                                     const std::function<void(AudioEncoderConfiguration&)>& change) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  Change(m_media.audioEncoders, token, change);
  ++m_media.generation;
}

void CameraState::UsePtz(const std::string& profile, const std::function<void(PtzTarget&)>& use) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const std::string& token = Find(profile).Binding(ConfigurationKind::Ptz);
  if (token.empty()) {
    throw InvalidArgument("NoPTZProfile", "the profile has no PTZ configuration");
  }
  const PtzConfiguration& configuration = *FindByToken(m_model.ptz->configurations, token);
  PtzTarget target{m_units.at(configuration.node), configuration, *FindByToken(m_model.ptz->nodes, configuration.node),
                   m_clock.SteadyNow()};
  use(target);
}

void CameraState::HaltLenses() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const LensAxis::Time now = m_clock.SteadyNow();
  for (auto& [token, unit] : m_units) {
    unit.lens.Stop(now, true, true);
  }
}

bool CameraState::IsMoving(const std::string& node) const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const auto unit = m_units.find(node);
  if (unit == m_units.end()) {
    return false;
  }
  const LensAxis::Time now = m_clock.SteadyNow();
  return unit->second.lens.IsPanTiltMovingAt(now) || unit->second.lens.IsZoomMovingAt(now);
}

std::optional<LensPosition> CameraState::PositionOf(const std::string& node) const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const auto unit = m_units.find(node);
  if (unit == m_units.end()) {
    return std::nullopt;
  }
  return unit->second.lens.PositionAt(m_clock.SteadyNow());
}

std::vector<Preset> CameraState::PresetsOf(const std::string& node) const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const auto unit = m_units.find(node);
  return unit == m_units.end() ? std::vector<Preset>() : unit->second.presets;
}

Profile& CameraState::Find(const std::string& token) {
  Profile* const found = FindByToken(m_media.profiles, token);
  if (found == nullptr) {
    throw NoProfile(token);
  }
  return *found;
}

bool CameraState::IsUsed(const std::string& token) const {
  return FindByToken(m_media.profiles, token) != nullptr;
}

std::string CameraState::UnusedToken() {
  std::string token;
  do {
    token = "created_" + std::to_string(++m_lastToken);
  } while (IsUsed(token));
  return token;
}

bool IsNameLike(const std::string& text) {
  constexpr std::ptrdiff_t kMaxLength = 64;  // characters
  const auto isFirstByte = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; };
  return !text.empty() && std::count_if(text.begin(), text.end(), isFirstByte) <= kMaxLength;
}

int UseCount(const std::vector<Profile>& profiles, ConfigurationKind kind, const std::string& configuration) {
  return static_cast<int>(std::count_if(profiles.begin(), profiles.end(), [&](const Profile& profile) {
    return profile.Binding(kind) == configuration;
  }));
}

}  // namespace simcam
