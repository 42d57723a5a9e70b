#include "simcam/requestedprofile.h"

#include <algorithm>

namespace simcam {

namespace {

std::string ExtraToken(int number) {
  return "extra_" + std::to_string(number);
}

bool IsExtra(const std::string& token, int count) {
  for (int number = 1; number <= count; ++number) {
    if (token == ExtraToken(number)) {
      return true;
    }
  }
  return false;
}

void HidePtz(Profile& profile, const std::vector<Profile>& profiles, const CallRules& rules) {
  if (!MayMove(profile.token, profiles, rules)) {
    profile.bindings.at(IndexOf(ConfigurationKind::Ptz)).clear();
  }
}

}  // namespace

std::string WithoutPrefix(const std::string& token, const std::string& prefix) {
  return token.compare(0, prefix.size(), prefix) == 0 ? token.substr(prefix.size()) : std::string();
}

std::string OwnProfileToken(const XmlElement& element, const CallRules& rules, const CameraState& state) {
  std::string token = WithoutPrefix(element.RawText(), rules.profilePrefix);
  if (IsExtra(token, rules.extraProfiles)) {
    const std::vector<Profile> profiles = state.Profiles();
    return profiles.empty() ? token : profiles.front().token;
  }
  return token;
}

std::vector<Profile> ShownProfiles(const std::vector<Profile>& profiles, const CallRules& rules) {
  std::vector<Profile> shown = profiles;
  for (int number = 1; number <= rules.extraProfiles && !profiles.empty(); ++number) {
    shown.push_back(profiles.front());
    shown.back().token = ExtraToken(number);
    shown.back().name = "Stream " + std::to_string(number);
  }
  for (Profile& profile : shown) {
    HidePtz(profile, profiles, rules);
  }
  return shown;
}

bool MayMove(const std::string& token, const std::vector<Profile>& profiles, const CallRules& rules) {
  return !rules.onlySecondProfileMoves || (profiles.size() > 1 && profiles[1].token == token);
}

PtzNode ShownNode(PtzNode node, const CallRules& rules) {
  if (rules.hasNoPanTilt) {
    node.panTiltMoves = {};
  }
  if (rules.hasNoRelativeMoves) {
    node.panTiltMoves.relative = false;
    node.zoomMoves.relative = false;
  }
  return node;
}

}  // namespace simcam
