// What changes while a camera runs: its media profiles, what they bind, how the encoders are set, where the lenses are
// and what presets they know.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "simcam/clock.h"
#include "simcam/lens.h"
#include "simcam/model.h"

namespace simcam {

// What a PTZ node keeps.
struct PtzUnit {
  explicit PtzUnit(const PtzNode& node) : lens(node), home(node.home), presets(node.presets) {}

  Lens lens;
  std::optional<LensPosition> home;
  std::vector<Preset> presets;
  unsigned lastPreset = 0;  // number in the newest token that was made
};

// The unit that a profile moves, with what limits it, at one moment.
struct PtzTarget {
  PtzUnit& unit;
  const PtzConfiguration& configuration;
  const PtzNode& node;
  LensAxis::Time now;
};

// What the media service shows, all of one moment.
struct MediaSnapshot {
  std::vector<Profile> profiles;  // in the order of their creation
  std::vector<VideoEncoderConfiguration> videoEncoders;
  std::vector<AudioEncoderConfiguration> audioEncoders;
  std::uint64_t generation = 1;  // grows with each change of the above
};

// Starts as the model says. All operations are safe to call from any thread; each is one step that others see whole.
// What the standard refuses is thrown as SoapFault, and then nothing has changed.
class CameraState {
 public:
  // Model and clock must outlive the state.
  CameraState(const CameraModel& model, const Clock& clock);

  MediaSnapshot Media() const;

  // The profiles alone.
  std::vector<Profile> Profiles() const;

  // Refuses an unknown token (ter:NoProfile).
  Profile FindProfile(const std::string& token) const;

  // Adds an empty profile; without `token` a new one is made. Refuses names and tokens longer than 64 characters or
  // empty, a token in use, and more profiles than the model allows.
  Profile CreateProfile(const std::string& name, const std::optional<std::string>& token);

  // Refuses unknown and fixed profiles.
  void DeleteProfile(const std::string& token);

  // Binds a configuration, in place of the one of its kind that was bound before.
  void Bind(const std::string& profile, ConfigurationKind kind, const std::string& configuration);

  // Refuses when nothing of that kind is bound.
  void Unbind(const std::string& profile, ConfigurationKind kind);

  // Runs `change` on the encoder configuration. Refuses an unknown token (ter:NoConfig). What `change` throws leaves the
  // encoder as it was. `change` must not call back into the state.
  void ChangeVideoEncoder(const std::string& token, const std::function<void(VideoEncoderConfiguration&)>& change);
  void ChangeAudioEncoder(const std::string& token, const std::function<void(AudioEncoderConfiguration&)>& change);

  // Runs `use` on the unit that the profile's PTZ configuration drives. Refuses unknown profiles and profiles without
  // PTZ configuration (ter:NoPTZProfile). `use` throws before it changes anything, and must not call back into the state.
  void UsePtz(const std::string& profile, const std::function<void(PtzTarget&)>& use);

  // Where the lens of a node is now; nothing when the model has no such node.
  std::optional<LensPosition> PositionOf(const std::string& node) const;

  // Stops all lenses where they are.
  void HaltLenses();

  // False when the lens stands still or the model has no such node.
  bool IsMoving(const std::string& node) const;

  // The presets of a node, in the order of their creation; none when the model has no such node.
  std::vector<Preset> PresetsOf(const std::string& node) const;

 private:
  Profile& Find(const std::string& token);
  bool IsUsed(const std::string& token) const;
  std::string UnusedToken();

  const CameraModel& m_model;
  const Clock& m_clock;
  mutable std::mutex m_mutex;
  MediaSnapshot m_media;
  std::map<std::string, PtzUnit> m_units;  // by node token
  unsigned m_lastToken = 0;
};

// True for a text of 1 to 64 characters, which names and tokens have by the schema.
bool IsNameLike(const std::string& text);

// How many of the profiles bind the configuration.
int UseCount(const std::vector<Profile>& profiles, ConfigurationKind kind, const std::string& configuration);

}  // namespace simcam
