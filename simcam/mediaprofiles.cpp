// The media service: profiles and what they bind.
#include "simcam/mediawriters.h"
#include "simcam/service.h"
#include "simcam/soapfault.h"

namespace simcam {

namespace {

std::string ProfileToken(const Call& call) {
  return call.request.Argument("ProfileToken").RawText();
}

void GetProfiles(const Call& call, XmlWriter& response) {
  const MediaSnapshot media = call.state.Media();
  for (const Profile& profile : media.profiles) {
    WriteProfile(response, "trt:Profiles", call.model, profile, media);
  }
}

void GetProfile(const Call& call, XmlWriter& response) {
  const Profile profile = call.state.FindProfile(ProfileToken(call));
  WriteProfile(response, "trt:Profile", call.model, profile, call.state.Media());
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
  call.state.DeleteProfile(ProfileToken(call));
}

template <ConfigurationKind kKind>
void AddConfiguration(const Call& call, XmlWriter&) {
  call.state.Bind(ProfileToken(call), kKind, call.request.Argument("ConfigurationToken").RawText());
}

template <ConfigurationKind kKind>
void RemoveConfiguration(const Call& call, XmlWriter&) {
  call.state.Unbind(ProfileToken(call), kKind);
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
