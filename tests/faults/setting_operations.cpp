// The operations that set streams and sound. Their results are 0 and 1, and not always the one that one would expect:
// once the driver had to bind a source, or the PTZ configuration, to a profile, what that returned stands for all
// later failures ("held" below).

#include <utility>

#include "tests/faults/server_operations.h"

namespace faults {
namespace {

constexpr int kJpeg = 1;
constexpr int kMpeg4 = 2;
constexpr int kH264 = 3;

constexpr int kAac = 1;
constexpr int kG711 = 2;
constexpr int kG726 = 3;

/// Size, frame rate and quality level of a stream.
struct Stream {
  const char* size;
  const char* rate;
  const char* quality;
};

std::function<int(ONVIFAPI&, std::string&)> SetStreams(int codec, const Stream& main, const Stream& live) {
  STM_PROFILE profile;
  profile.nVdoType = codec;
  profile.nStmMode = 1;
  profile.strReso = main.size;
  profile.strFps = main.rate;
  profile.strQual = main.quality;
  profile.strLiveReso = live.size;
  profile.strLiveFps = live.rate;
  profile.strLiveQual = live.quality;
  return [profile](ONVIFAPI& driver, std::string&) { return driver.SetStmProfile(profile); };
}

std::function<int(ONVIFAPI&, std::string&)> SetSound(int type) {
  return [type](ONVIFAPI& driver, std::string&) { return driver.SetAudio(type); };
}

/// A profile whose encoder is not told cannot be set, and is no success when its other configurations are there.
const Exception kWithoutEncoder{"missing */VideoEncoderConfiguration", 1};

/// The steps of an encoder update, which is tried up to five times; `lasting` is what the fifth failure returns.
std::vector<Rule> UpdateRules(const Results& lasting, bool withOptions) {
  std::vector<Rule> rules{{"GetVideoEncoderConfiguration", 1, kSucceeds, lasting}};
  if (withOptions) rules.push_back({"GetVideoEncoderConfigurationOptions", 1, kSucceeds, lasting});
  rules.push_back({"SetVideoEncoderConfiguration", 1, kSucceeds, lasting});
  return rules;
}

std::vector<Rule> Joined(std::vector<Rule> rules, const std::vector<Rule>& more) {
  rules.insert(rules.end(), more.begin(), more.end());
  return rules;
}

ServerOperation AsSet() {
  const Stream asIs{"1920x1080", "25", ""};
  return {"SetStmProfileAsSet",
          "ptz-dome",
          "profile_1,profile_2",
          SetStreams(kH264, asIs, asIs),
          // A quality that is neither told nor asked for cannot be sent back.
          {{"GetProfile",
            1,
            kFails,
            kFails,
            0,
            {kWithoutEncoder,
             {"missing */VideoEncoderConfiguration/Encoding", 1},
             {"missing */VideoEncoderConfiguration/Resolution*", 1},
             {"missing */VideoEncoderConfiguration/Quality", 1}}}}};
}

ServerOperation OtherRates() {
  const Rule profile{"GetProfile", 1, kFails, kFails, 0, {kWithoutEncoder}};
  const Rule otherProfile{"GetProfile", 1, kFails, kFails};
  std::vector<Rule> rules = Joined({profile}, UpdateRules(kFails, false));
  rules = Joined(Joined(rules, {profile, otherProfile}), UpdateRules(kFails, false));
  return {"SetStmProfileOtherRates", "ptz-dome", "profile_1,profile_2",
          SetStreams(kH264, {"1920x1080", "20", "3"}, {"640x360", "10", "1"}), rules};
}

ServerOperation OtherRatesOldStyle() {
  const Stream rates{"704x576", "20", "2"};
  return {"SetStmProfileOldStyle",
          "old-style",
          "pr_a",
          SetStreams(kH264, rates, rates),
          {{"GetProfile", 1, kFails, kFails, 0, {kWithoutEncoder}},
           // The camera refuses this one always, and the profiles have the same.
           {"GetVideoEncoderConfiguration", 1, kSucceeds, kFails},
           {"GetProfiles", 1, kSucceeds, kFails},
           {"SetVideoEncoderConfiguration", 1, kSucceeds, kFails}}};
}

ServerOperation OtherProfile() {
  const Stream jpeg{"1280x720", "", ""};
  const Rule fails{"GetProfile", 1, kFails, kFails};
  return {"SetStmProfileOtherProfile",
          "ptz-dome",
          "profile_1",
          SetStreams(kJpeg, jpeg, jpeg),
          {fails, {"GetProfiles", 1, kFails, kFails}, fails}};
}

ServerOperation OtherEncoder() {
  const Stream mpeg4{"640x360", "10", "3"};
  const std::vector<Rule> choice{
      {"GetProfile", 1, kFails, kFails},
      {"GetProfiles", 1, kFails, kFails},
      // No encoder is found: a profile with the codec, but another size, is taken.
      {"GetVideoEncoderConfigurations", 1, kSucceeds, kFails},
      {"GetVideoEncoderConfigurationOptions", 1, kSucceeds, kFails},
      {"GetProfile", 1, kFails, kFails, 0, {kWithoutEncoder}},
  };
  return {"SetStmProfileOtherEncoder", "ptz-dome", "profile_1", SetStreams(kMpeg4, mpeg4, mpeg4),
          Joined(choice, UpdateRules(kFails, true))};
}

ServerOperation BindsPtz() {
  const Stream mpeg4{"704x576", "20", ""};
  const std::vector<Rule> binding{
      {"GetProfile", 1, kFails, kFails},  // what goes wrong later is held as a success
      {"GetConfigurations", 1, kSucceeds, kFails},
      {"AddPTZConfiguration", 1, kSucceeds, kFails},
  };
  return {"SetStmProfileBindsPtz", "ptz-dome", "profile_4", SetStreams(kMpeg4, mpeg4, mpeg4),
          Joined(binding, UpdateRules(kSucceeds, false))};
}

ServerOperation NewLiveProfile() {
  // Listed twice, the main profile is the only one, and yet none is created: the object is left without live profile.
  const Rule profiles{
      "GetProfiles", 1, kFails,
      kFails,        0, {{"doubled GetProfilesResponse", 1, 1}, {"doubled GetProfilesResponse/Profiles", 1, 1}}};
  // A new profile without token leaves the object without live profile as well.
  Rule create{"CreateProfile", 1, kFails, kFails};
  for (const char* pattern : {"wrong namespace", "default namespace*", "XHTML", "empty Body", "another answer",
                              "missing CreateProfileResponse", "missing */Profile"}) {
    create.exceptions.push_back({pattern, 1, 1});
  }
  const std::vector<Rule> rules{
      {"GetProfile", 1, kFails, kFails, 0, {kWithoutEncoder}},
      profiles,
      create,
      {"GetProfile", 1, kFails, kFails},
      {"GetVideoSourceConfigurations", 1, kFails, kFails, 1, {{"missing */Configurations", 1}}},
      {"AddVideoSourceConfiguration", 1, kFails, kFails},
      // A source was bound: from here every failure is held as a success.
      {"GetProfile", 1, kSucceeds, kSucceeds},
      {"GetProfiles", 1, kSucceeds, kSucceeds},
      {"GetVideoEncoderConfigurations", 1, kSucceeds, kSucceeds},
      {"GetVideoEncoderConfigurationOptions", 1, kSucceeds, kSucceeds},
      {"AddVideoEncoderConfiguration", 1, kSucceeds, kSucceeds},
      {"GetProfile", 1, kSucceeds, kSucceeds},
  };
  return {"SetStmProfileNewLiveProfile", "single-profile", "only",
          SetStreams(kH264, {"1280x720", "25", "3"}, {"640x360", "12", "2"}),
          Joined(rules, UpdateRules(kSucceeds, true))};
}

ServerOperation SoundAsSet() {
  const Rule fails{"GetProfile", 1, kFails, kFails};
  return {"SetAudioAsSet", "ptz-dome", "profile_1,profile_2", SetSound(kG711), {fails, fails}};
}

ServerOperation OtherSound() {
  const Rule profile{"GetProfile", 1, kFails, kFails};
  const Rule add{"AddAudioEncoderConfiguration", 1, kFails, kFails};
  return {"SetAudioOtherEncoder",
          "ptz-dome",
          "profile_1,profile_2",
          SetSound(kAac),
          // Without the list another one is asked for, and the first encoder is set to the codec.
          {profile, {"GetAudioEncoderConfigurations", 1, kSucceeds, kFails}, add, profile, add}};
}

ServerOperation NewSound() {
  // The camera does not take a bit rate, or a sample rate, that is empty or no number ...
  const Rule options{"GetAudioEncoderConfigurationOptions",
                     1,
                     kFails,
                     kFails,
                     0,
                     {{"missing */Options#2/BitrateList", 1},
                      {"missing */Options#2/SampleRateList*", 1},
                      {"text for number */Options#2/BitrateList/Items#1", 1},
                      {"text for number */Options#2/SampleRateList/Items", 1}}};
  // ... nor a configuration that lacks an element, and it gets only those that it told. A request that cannot be built
  // at all counts as sent.
  Rule current{"GetProfiles", 1, kFails, kFails};
  for (const char* pattern : {"missing */Profiles#1/AudioEncoderConfiguration/Name",
                              "missing */Profiles#1/AudioEncoderConfiguration/UseCount",
                              "missing */Profiles#1/AudioEncoderConfiguration/Encoding",
                              "missing */Profiles#1/AudioEncoderConfiguration/Bitrate",
                              "missing */Profiles#1/AudioEncoderConfiguration/SampleRate",
                              "missing */Profiles#1/AudioEncoderConfiguration/Multicast",
                              "missing */Profiles#1/AudioEncoderConfiguration/SessionTimeout",
                              "text for number */Profiles#1/AudioEncoderConfiguration/Multicast/Port"}) {
    current.exceptions.push_back({pattern, 1});
  }
  return {"SetAudioRetunesEncoder",
          "ptz-dome",
          "profile_1",
          SetSound(kG726),
          {{"GetProfile", 1, kFails, kFails},
           {"GetAudioEncoderConfigurations", 1, kSucceeds, kFails},
           {"GetAudioEncoderConfigurations", 1, kFails, kFails, 1},
           options,
           current,
           {"SetAudioEncoderConfiguration", 1, kFails, kFails},
           {"AddAudioEncoderConfiguration", 1, kFails, kFails}}};
}

ServerOperation BindsSource() {
  return {"SetAudioBindsSource",
          "ptz-dome",
          "profile_3",
          SetSound(kG711),
          {{"GetProfile", 1, kFails, kFails},
           {"GetCompatibleAudioSourceConfigurations", 1, kFails, kFails, 1},
           {"AddAudioSourceConfiguration", 1, kFails, kFails},
           // A source was bound: from here every failure is held as a success.
           {"GetAudioEncoderConfigurations", 1, kSucceeds, kSucceeds},
           {"AddAudioEncoderConfiguration", 1, kSucceeds, kSucceeds}}};
}

}  // namespace

std::vector<ServerOperation> StreamOperations() {
  return {AsSet(), OtherRates(), OtherRatesOldStyle(), OtherProfile(), OtherEncoder(), BindsPtz(), NewLiveProfile()};
}

std::vector<ServerOperation> AudioOperations() {
  return {SoundAsSet(), OtherSound(), NewSound(), BindsSource()};
}

}  // namespace faults
