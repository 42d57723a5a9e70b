#include "camctl/streams.h"

#include <algorithm>

#include "camctl/text.h"

namespace camctl {

namespace {

constexpr int kStreamModeOnvif = 1;  // the only STM_PROFILE::nStmMode that such a camera serves

std::string Describe(const StreamState& state) {
  return state.profile + " (" + state.codec + " " + state.resolution + ", " + state.fps + "/s, quality " +
         state.quality + ")";
}

// What is asked of one stream.
struct Wish {
  std::string STM_PROFILE::*resolution;
  std::string STM_PROFILE::*fps;
  std::string STM_PROFILE::*quality;
};

constexpr Wish kRecordingWish = {&STM_PROFILE::strReso, &STM_PROFILE::strFps, &STM_PROFILE::strQual};
constexpr Wish kLiveWish = {&STM_PROFILE::strLiveReso, &STM_PROFILE::strLiveFps, &STM_PROFILE::strLiveQual};

void CompareStream(Session& session, const STM_PROFILE& wanted, const Wish& wish, const char* stream,
                   const StreamState& before, const StreamState& after, std::vector<Setting>& settings) {
  const std::string& level = wanted.*wish.quality;
  const std::string quality = level.empty() ? "" : session.Driver().GetRealQualText(level);
  settings.push_back({stream, "profile", before.profile, "", after.profile});
  settings.push_back({stream, "codec", before.codec, CodecOnTheWire(wanted.nVdoType), after.codec});
  settings.push_back({stream, "resolution", before.resolution, wanted.*wish.resolution, after.resolution});
  settings.push_back({stream, "fps", before.fps, wanted.*wish.fps, after.fps});
  settings.push_back({stream, "quality", before.quality, quality, after.quality});
}

// A failure that no exchange explains: the record does.
std::optional<Cause> WhyRefused(const Session& session, const STM_PROFILE& wanted) {
  const std::optional<Evidence>& evidence = session.LastEvidence();
  if (!evidence || evidence->result != HTTP_POST_OK || evidence->fault) return std::nullopt;
  const std::string codec = CodecOnTheWire(wanted.nVdoType);
  return Cause{"no encoder of the camera offers " + codec + " in what was asked for",
               "choose of what camctl caps shows"};
}

StepOutcome RunSet(Session& session, const STM_PROFILE& wanted) {
  ONVIFAPI& driver = session.Driver();
  const int result = driver.SetStmProfile(wanted);
  if (result != CAMERA_OK) return {result, "", WhyRefused(session, wanted)};
  session.UseProfiles(driver.GetCH());
  return {result, "profiles " + session.Profiles(), {}};
}

}  // namespace

int VideoTypeOf(const std::string& codec) {
  for (int type = 1; !CodecOnTheWire(type).empty(); ++type) {
    const auto index = static_cast<std::size_t>(type - 1);
    if (codec == OnvifMediaService::m_rgstrCodec[index] || codec == ONVIFAPI::m_rgstrLwrCodec[index]) return type;
  }
  return 0;
}

std::string CodecOnTheWire(int videoType) {
  constexpr int types = static_cast<int>(std::size(OnvifMediaService::m_rgstrCodec));
  return videoType >= 1 && videoType <= types ? OnvifMediaService::m_rgstrCodec[videoType - 1] : std::string();
}

int ReadStream(Session& session, const std::string& token, StreamState& state) {
  OVF_MED_PROFILE profile;
  const int result = session.Driver().ConvertOnvifRetToCamApiRet(session.MediaClient().GetProfile(token, profile));
  const OVF_MED_VDO_CONF& video = profile.VdoConf;
  state = {token, video.strEncoding, "", video.strFrameRateLimit, video.strQuality, profile.AudConf.strEncoding};
  if (!video.strWidth.empty()) state.resolution = video.strWidth + "x" + video.strHeight;
  return result;
}

Step ReadStreams(StreamStates& states) {
  return {"read back", "GetProfile", [&states](Session& session) {
            int result = ReadStream(session, MainOf(session.Profiles()), states.recording);
            if (result == CAMERA_OK) result = ReadStream(session, LiveOf(session.Profiles()), states.live);
            const std::string found = "recording " + Describe(states.recording) + ", live " + Describe(states.live);
            return StepOutcome{result, found, {}};
          }};
}

Step SetStreams(const char* name, const STM_PROFILE& wanted) {
  STM_PROFILE profile = wanted;
  profile.nStmMode = kStreamModeOnvif;
  return {name, "SetStmProfile", [profile](Session& session) { return RunSet(session, profile); }};
}

std::vector<Setting> Compare(Session& session, const STM_PROFILE& wanted, const StreamStates& before,
                             const StreamStates& after) {
  std::vector<Setting> settings;
  CompareStream(session, wanted, kRecordingWish, "recording", before.recording, after.recording, settings);
  CompareStream(session, wanted, kLiveWish, "live", before.live, after.live, settings);
  return settings;
}

std::string NotTaken(const std::vector<Setting>& settings) {
  std::vector<std::string> parts;
  for (const Setting& row : settings) {
    if (row.Taken()) continue;
    parts.push_back(row.stream + " " + row.name + " is " + (row.after.empty() ? "not set" : row.after) + ", not " +
                    row.asked);
  }
  return Joined(parts, "; ");
}

}  // namespace camctl
