// The media service: profiles and what they bind.
#include "simcam/bytoken.h"
#include "simcam/mediawriters.h"
#include "simcam/service.h"
#include "simcam/soapfault.h"

namespace simcam {

namespace {

void GetProfiles(const Call& call, XmlWriter& response) {
  const MediaSnapshot media = call.state.Media();
  for (const Profile& profile : ShownProfiles(media.profiles, call.rules)) {
    WriteProfile(response, "trt:Profiles", call.model, profile, media);
  }
}

void GetProfile(const Call& call, XmlWriter& response) {
  const MediaSnapshot media = call.state.Media();
  const std::string token = WithoutPrefix(call.request.Argument("ProfileToken").RawText(), call.rules.profilePrefix);
  const std::vector<Profile> shown = ShownProfiles(media.profiles, call.rules);
  const Profile* const found = FindByToken(shown, token);
  WriteProfile(response, "trt:Profile", call.model, found == nullptr ? call.state.FindProfile(token) : *found, media);
}

void CreateProfile(const Call& call, XmlWriter& response) {
  if (!call.model.createsProfiles) {
    throw ActionNotSupported("the camera does not create profiles");
  }
  const XmlElement token = call.request.OptionalArgument("Token");
  const Profile profile =
      call.state.CreateProfile(call.request.Argument("Name").RawText(),
                               token.Exists() ? std::optional<std::string>(token.RawText()) : std::nullopt);
  WriteProfile(response, "trt:Profile", call.model, profile, call.state.Media());
}

void DeleteProfile(const Call& call, XmlWriter&) {
  call.state.DeleteProfile(ProfileArgument(call));
}

template <ConfigurationKind kKind>
void AddConfiguration(const Call& call, XmlWriter&) {
  call.state.Bind(ProfileArgument(call), kKind, call.request.Argument("ConfigurationToken").RawText());
}

template <ConfigurationKind kKind>
void RemoveConfiguration(const Call& call, XmlWriter&) {
  call.state.Unbind(ProfileArgument(call), kKind);
}

Operation Row(const char* name, Handler handler) {
  return {Service::Media, name, Access::Authenticated, 1, handler};
}

}  // namespace

std::vector<Operation> MediaProfileOperations() {
  using Kind = ConfigurationKind;
  return {
      Row("GetProfiles", GetProfiles),
      Row("GetProfile", GetProfile),
      Row("CreateProfile", CreateProfile),
      Row("DeleteProfile", DeleteProfile),
      Row("AddVideoSourceConfiguration", AddConfiguration<Kind::VideoSource>),
      Row("AddAudioSourceConfiguration", AddConfiguration<Kind::AudioSource>),
      Row("AddVideoEncoderConfiguration", AddConfiguration<Kind::VideoEncoder>),
      Row("AddAudioEncoderConfiguration", AddConfiguration<Kind::AudioEncoder>),
      Row("AddPTZConfiguration", AddConfiguration<Kind::Ptz>),
      Row("RemoveVideoSourceConfiguration", RemoveConfiguration<Kind::VideoSource>),
      Row("RemoveAudioSourceConfiguration", RemoveConfiguration<Kind::AudioSource>),
      Row("RemoveVideoEncoderConfiguration", RemoveConfiguration<Kind::VideoEncoder>),
      Row("RemoveAudioEncoderConfiguration", RemoveConfiguration<Kind::AudioEncoder>),
      Row("RemovePTZConfiguration", RemoveConfiguration<Kind::Ptz>),
  };
}

}  // namespace simcam
