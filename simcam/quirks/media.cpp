// Cameras whose media profiles and encoders do not hold what the standard promises.
#include <algorithm>
#include <cctype>
#include <utility>

#include "simcam/encodersettings.h"
#include "simcam/quirks/oddtokens.h"
#include "simcam/quirks/quirk.h"

namespace simcam {

namespace {

using Elements = std::vector<xmlNode*>;

void Append(Elements& elements, const Elements& more) {
  elements.insert(elements.end(), more.begin(), more.end());
}

// The profiles of an answer, whether it tells one or all.
Elements ProfilesOf(const AnswerDocument& answer) {
  Elements profiles = answer.FindAll("Profiles");
  Append(profiles, answer.FindAll("Profile"));
  return profiles;
}

// The configurations of encoders of an answer: inside profiles, or alone. `kind` is Video or Audio.
Elements EncodersOf(const AnswerDocument& answer, const std::string& kind) {
  Elements encoders = answer.FindAll(kind + "EncoderConfiguration");
  if (answer.Operation().rfind("Get" + kind + "EncoderConfiguration", 0) == 0) {
    Append(encoders, answer.FindAll("Configurations"));
    Append(encoders, answer.FindAll("Configuration"));
  }
  return encoders;
}

template <typename Use>
void ForEachVideoEncoder(const AnswerDocument& answer, Use use) {
  const Elements encoders = EncodersOf(answer, "Video");
  std::for_each(encoders.begin(), encoders.end(), use);
}

std::vector<std::string_view> ProfileAnswers() {
  return {"GetProfiles", "GetProfile"};
}

std::vector<std::string_view> VideoAnswers() {
  return {"GetProfiles", "GetProfile", "GetVideoEncoderConfigurations", "GetVideoEncoderConfiguration"};
}

std::vector<std::string_view> AudioAnswers() {
  return {"GetProfiles", "GetProfile", "GetAudioEncoderConfigurations", "GetAudioEncoderConfiguration",
          "GetAudioEncoderConfigurationOptions"};
}

std::vector<std::string_view> EncoderSets() {
  return {"SetVideoEncoderConfiguration", "SetAudioEncoderConfiguration"};
}

void DropEncoders(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("VideoEncoderConfiguration");
}

void DropSources(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("VideoSourceConfiguration");
}

void DropProfileNames(AnswerDocument& answer, const QuirkValue&) {
  for (xmlNode* const profile : ProfilesOf(answer)) {
    AnswerDocument::Remove(answer.Find("Name", profile));
  }
}

void DropProfiles(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("Profiles");
}

void DropProfileTokens(AnswerDocument& answer, const QuirkValue&) {
  for (xmlNode* const profile : ProfilesOf(answer)) {
    AnswerDocument::RemoveAttribute(profile, "token");
  }
}

void EmptyProfileTokens(AnswerDocument& answer, const QuirkValue&) {
  for (xmlNode* const profile : ProfilesOf(answer)) {
    AnswerDocument::SetAttribute(profile, "token", "");
  }
}

void RepeatFirstToken(AnswerDocument& answer, const QuirkValue&) {
  const Elements profiles = ProfilesOf(answer);
  for (xmlNode* const profile : profiles) {
    AnswerDocument::SetAttribute(profile, "token", AnswerDocument::AttributeOf(profiles.front(), "token"));
  }
}

void ShowOddProfileTokens(AnswerDocument& answer, const QuirkValue& value) {
  for (xmlNode* const profile : ProfilesOf(answer)) {
    AnswerDocument::SetAttribute(profile, "token",
                                 OddTokenPrefix(value) + AnswerDocument::AttributeOf(profile, "token"));
  }
}

void TakeOddProfileTokens(CallRules& rules, const QuirkValue& value) {
  rules.profilePrefix = OddTokenPrefix(value);
}

void AddProfiles(CallRules& rules, const QuirkValue& value) {
  rules.extraProfiles = value.Whole();
}

void RefuseNewProfile(CallRules& rules, const QuirkValue&) {
  rules.fault = ActionFailed("MaxNVTProfiles", "the camera holds no more profiles");
}

void RefuseDeletion(CallRules& rules, const QuirkValue&) {
  rules.fault = SoapFault("Sender", {"Action", "DeletionOfFixedProfile"}, "a fixed profile cannot be deleted");
}

void DropResolution(AnswerDocument& answer, const QuirkValue&) {
  ForEachVideoEncoder(answer, [&](xmlNode* encoder) { answer.RemoveAll("Resolution", encoder); });
}

void PutHeightFirst(AnswerDocument& answer, const QuirkValue&) {
  ForEachVideoEncoder(answer, [&](xmlNode* encoder) { AnswerDocument::MoveToFront(answer.Find("Height", encoder)); });
}

void DropRateControl(AnswerDocument& answer, const QuirkValue&) {
  ForEachVideoEncoder(answer, [&](xmlNode* encoder) { answer.RemoveAll("RateControl", encoder); });
}

template <const char* kElement>
void PutZero(AnswerDocument& answer, const QuirkValue&) {
  ForEachVideoEncoder(answer, [&](xmlNode* encoder) { answer.SetAll(kElement, "0", encoder); });
}

constexpr char kFrameRateLimit[] = "FrameRateLimit";
constexpr char kBitrateLimit[] = "BitrateLimit";
constexpr char kQuality[] = "Quality";
constexpr char kGovLength[] = "GovLength";

// Numbers with a fraction where the schema wants whole ones.
void PutFraction(AnswerDocument& answer, const QuirkValue&) {
  for (xmlNode* const rate : answer.FindAll(kFrameRateLimit)) {
    AnswerDocument::SetText(rate, AnswerDocument::TextOf(rate) + ".000000");
  }
}

void DropCodecSettings(AnswerDocument& answer, const QuirkValue&) {
  for (const char* const name : {"H264", "MPEG4"}) {
    ForEachVideoEncoder(answer, [&](xmlNode* encoder) { answer.RemoveAll(name, encoder); });
  }
}

void RenameCodec(AnswerDocument& answer, const QuirkValue& value) {
  ForEachVideoEncoder(answer, [&](xmlNode* encoder) { answer.SetAll("Encoding", value.Text(), encoder); });
}

void ShowH265(AnswerDocument& answer, const QuirkValue&) {
  ForEachVideoEncoder(answer, [&](xmlNode* encoder) {
    xmlNode* const encoding = answer.Find("Encoding", encoder);
    if (AnswerDocument::TextOf(encoding) == "H264") {
      AnswerDocument::SetText(encoding, "H265");
    }
  });
  for (xmlNode* const settings : answer.FindAll("H264")) {
    AnswerDocument::Rename(settings, "H265");
  }
}

void LowerCodec(AnswerDocument& answer, const QuirkValue&) {
  ForEachVideoEncoder(answer, [&](xmlNode* encoder) {
    xmlNode* const encoding = answer.Find("Encoding", encoder);
    std::string name = AnswerDocument::TextOf(encoding);
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
    AnswerDocument::SetText(encoding, name);
  });
}

void ClampValues(CallRules& rules, const QuirkValue&) {
  rules.clampsEncoders = true;
}

// What then stands together need not be possible: the encoder takes what is nearest.
void IgnoreSetting(CallRules& rules, const QuirkValue& value) {
  rules.ignoredSettings.push_back(value.Text());
  rules.clampsEncoders = true;
}

void IgnoreAllButCodec(CallRules& rules, const QuirkValue&) {
  for (const char* const name : EncoderSettingNames()) {
    if (std::string_view(name) != "codec") {
      rules.ignoredSettings.emplace_back(name);
    }
  }
  rules.clampsEncoders = true;
}

void RefuseAsBusy(CallRules& rules, const QuirkValue&) {
  rules.fault = SoapFault("Receiver", {"Action", "ConfigurationConflict"}, "the camera is busy");
}

void EmptyOptions(AnswerDocument& answer, const QuirkValue&) {
  AnswerDocument::RemoveChildren(answer.Find("Options"));
}

void DropResolutions(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("ResolutionsAvailable");
}

void DropExtension(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("Extension");
}

// The first of each name stands outside the extension.
void LeaveOnlyExtension(AnswerDocument& answer, const QuirkValue&) {
  if (answer.Find("Extension") == nullptr) {
    return;
  }
  for (const char* const codec : {"JPEG", "MPEG4", "H264"}) {
    const Elements found = answer.FindAll(codec);
    if (found.size() > 1) {
      AnswerDocument::Remove(found.front());
    }
  }
}

void TurnRangesRound(AnswerDocument& answer, const QuirkValue&) {
  for (xmlNode* const range : answer.FindAll("FrameRateRange")) {
    xmlNode* const min = answer.Find("Min", range);
    xmlNode* const max = answer.Find("Max", range);
    const std::string least = AnswerDocument::TextOf(min);
    AnswerDocument::SetText(min, AnswerDocument::TextOf(max));
    AnswerDocument::SetText(max, least);
  }
}

void DropQualityRange(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("QualityRange");
}

void DropTotal(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("TotalNumber");
}

void DropInstancesOfCodecs(AnswerDocument& answer, const QuirkValue&) {
  for (const char* const codec : {"JPEG", "MPEG4", "H264"}) {
    answer.RemoveAll(codec);
  }
}

void PutZeroInstances(AnswerDocument& answer, const QuirkValue&) {
  for (const char* const name : {"TotalNumber", "JPEG", "MPEG4", "H264"}) {
    answer.SetAll(name, "0");
  }
}

void DropAudioEncoders(AnswerDocument& answer, const QuirkValue&) {
  for (xmlNode* const encoder : EncodersOf(answer, "Audio")) {
    AnswerDocument::Remove(encoder);
  }
  if (answer.Operation() == "GetAudioEncoderConfigurationOptions") {
    AnswerDocument::RemoveChildren(answer.Find("Options"));
  }
}

void RenameAac(AnswerDocument& answer, const QuirkValue& value) {
  for (xmlNode* const encoding : answer.FindAll("Encoding")) {
    if (AnswerDocument::TextOf(encoding) == "AAC") {
      AnswerDocument::SetText(encoding, value.Text());
    }
  }
}

void RefuseAudio(CallRules& rules, const QuirkValue&) {
  rules.fault = AudioNotSupported();
}

Quirk OfProfiles(const char* name, const char* trouble, DocumentHook hook) {
  return {name, trouble, {}, ProfileAnswers(), hook};
}

Quirk OfEncoders(const char* name, const char* trouble, DocumentHook hook) {
  return {name, trouble, {}, VideoAnswers(), hook};
}

Quirk OfOptions(const char* name, const char* trouble, QuirkHooks hooks) {
  return {name, trouble, {}, {"GetVideoEncoderConfigurationOptions"}, std::move(hooks)};
}

Quirk OfInstances(const char* name, const char* trouble, QuirkHooks hooks) {
  return {name, trouble, {}, {"GetGuaranteedNumberOfVideoEncoderInstances"}, std::move(hooks)};
}

std::vector<Quirk> ProfileRows() {
  return {
      OfProfiles("profile-without-encoder", "profiles show no video encoder: a client has no codec and no size",
                 DropEncoders),
      OfProfiles("profile-without-source", "profiles show no video source: a client cannot tell the sensors apart",
                 DropSources),
      OfProfiles("profile-without-name", "profiles have no name: there is nothing to show", DropProfileNames),
      OfProfiles("profile-without-token", "profiles have no token: nothing can be asked about them", DropProfileTokens),
      OfProfiles("profile-token-empty", "tokens of profiles are empty", EmptyProfileTokens),
      OfProfiles("profile-token-repeated", "all profiles have the token of the first: a map keeps one of them",
                 RepeatFirstToken),
      {"profile-token-odd",
       "tokens of profiles are long or hold blanks or markup, and the camera wants them back exactly",
       OddTokenChoices(),
       {},
       {RulesHook(TakeOddProfileTokens), DocumentHook(ShowOddProfileTokens)}},
      {"profile-none", "the list of profiles is empty", {}, {"GetProfiles"}, DocumentHook(DropProfiles)},
      {"profile-extra",
       "many more profiles, all alike: lists are long and answers large",
       WholeParameter("profiles", "300", 1, 1000),
       {},
       RulesHook(AddProfiles)},
      {"profile-get-fault",
       "GetProfile is refused while GetProfiles works",
       {},
       {"GetProfile"},
       RulesHook(RefuseAsNotSupported)},
      {"profile-create-refused",
       "no profile can be created: the camera says that it has too many",
       {},
       {"CreateProfile"},
       RulesHook(RefuseNewProfile)},
      {"profile-delete-refused",
       "no profile can be deleted: what a client created stays for ever",
       {},
       {"DeleteProfile"},
       RulesHook(RefuseDeletion)},
  };
}

std::vector<Quirk> EncoderRows() {
  return {
      OfEncoders("encoder-without-resolution", "encoders have no resolution", DropResolution),
      OfEncoders("encoder-height-first", "the height stands before the width: reading by order swaps them",
                 PutHeightFirst),
      OfEncoders("encoder-without-rate-control", "encoders have no RateControl: no frame rate, no bitrate",
                 DropRateControl),
      OfEncoders("encoder-frame-rate-zero", "the frame rate is 0: a division fails", PutZero<kFrameRateLimit>),
      OfEncoders("encoder-frame-rate-fraction", "the frame rate has a fraction where the schema wants none",
                 PutFraction),
      OfEncoders("encoder-bitrate-zero", "the bitrate is 0, which means: as needed", PutZero<kBitrateLimit>),
      OfEncoders("encoder-quality-zero", "the quality is 0 and outside of its own range", PutZero<kQuality>),
      OfEncoders("encoder-gov-length-zero", "the length of a group of pictures is 0", PutZero<kGovLength>),
      OfEncoders("encoder-without-codec-settings", "the element of the codec is missing: no profile, no group length",
                 DropCodecSettings),
      {"codec-h265",
       "H.264 is called H265, which this service has no word for: clients drop the profile",
       {},
       {"GetProfiles", "GetProfile", "GetVideoEncoderConfigurations", "GetVideoEncoderConfiguration",
        "GetVideoEncoderConfigurationOptions"},
       DocumentHook(ShowH265)},
      {"codec-unknown", "the codec has a name that nobody knows", TextParameter("name", "SmartH264+"), VideoAnswers(),
       DocumentHook(RenameCodec)},
      OfEncoders("codec-lower-case", "names of codecs are in lower case: a comparison fails", LowerCodec),
  };
}

std::vector<Quirk> SetRows() {
  return {
      {"set-ignored", "Set is answered with success and changes nothing", {}, EncoderSets(), RulesHook(DoNothing)},
      {"set-clamped",
       "Set takes values that the camera does not offer, and makes the nearest of them",
       {},
       EncoderSets(),
       RulesHook(ClampValues)},
      {"set-codec-only",
       "Set changes the codec and leaves the rest, with success",
       {},
       {"SetVideoEncoderConfiguration"},
       RulesHook(IgnoreAllButCodec)},
      {"set-ignores",
       "Set leaves one of the settings as it was, with success",
       ChoiceParameter("setting", EncoderSettingNames()),
       {"SetVideoEncoderConfiguration"},
       RulesHook(IgnoreSetting)},
      {"set-busy",
       "the camera is busy and refuses the change; the same change later works (try with #1)",
       {},
       EncoderSets(),
       RulesHook(RefuseAsBusy)},
  };
}

std::vector<Quirk> OptionRows() {
  return {
      OfOptions("options-fault", "the options of encoders are refused: a client must offer what it sees",
                RulesHook(RefuseAsNotSupported)),
      OfOptions("options-empty", "the options are there and empty", DocumentHook(EmptyOptions)),
      OfOptions("options-without-resolutions", "codecs are offered without any resolution",
                DocumentHook(DropResolutions)),
      OfOptions("options-only-in-extension", "codecs stand in the extension alone: old clients see none",
                DocumentHook(LeaveOnlyExtension)),
      OfOptions("options-without-extension", "codecs stand outside the extension alone: no range of bitrates",
                DocumentHook(DropExtension)),
      OfOptions("options-frame-rate-inverted", "the least frame rate is above the greatest: a clamp has no result",
                DocumentHook(TurnRangesRound)),
      OfOptions("options-without-quality", "the range of the quality is missing", DocumentHook(DropQualityRange)),
      OfInstances("instances-fault", "how many encoders can run is not told", RulesHook(RefuseAsNotSupported)),
      OfInstances("instances-without-total", "how many encoders can run is told of codecs, not in all",
                  DocumentHook(DropTotal)),
      OfInstances("instances-zero", "the camera guarantees no encoder at all", DocumentHook(PutZeroInstances)),
      OfInstances("instances-without-codecs", "how many encoders can run is told in all, not of codecs",
                  DocumentHook(DropInstancesOfCodecs)),
      {"audio-without-encoder",
       "there are audio sources and no audio encoder",
       {},
       AudioAnswers(),
       DocumentHook(DropAudioEncoders)},
      {"audio-aac-name", "AAC has another name, as in RTP: clients do not know the codec",
       TextParameter("name", "MP4A-LATM"), AudioAnswers(), DocumentHook(RenameAac)},
      {"audio-fault",
       "the camera says that it has no audio, and its profiles have some",
       {},
       {"GetAudioSources", "GetAudioSourceConfigurations", "GetAudioEncoderConfigurations"},
       RulesHook(RefuseAudio)},
  };
}

}  // namespace

QuirkGroup MediaQuirks() {
  return {"media", JoinRows({ProfileRows(), EncoderRows(), SetRows(), OptionRows()})};
}

}  // namespace simcam
