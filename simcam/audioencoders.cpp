// The media service: how sound is encoded.
#include "simcam/bytoken.h"
#include "simcam/encoderarguments.h"
#include "simcam/mediawriters.h"
#include "simcam/service.h"
#include "simcam/soapfault.h"

namespace simcam {

namespace {

void RequireEncoders(const Call& call) {
  if (call.model.audioEncoders.empty()) {
    throw AudioNotSupported();
  }
}

AudioEncoderConfiguration FindAudioEncoder(const MediaSnapshot& media, const std::string& token) {
  const AudioEncoderConfiguration* const found = FindByToken(media.audioEncoders, token);
  if (found == nullptr) {
    throw InvalidArgument("NoConfig", "no audio encoder configuration has the token " + token);
  }
  return *found;
}

void GetAudioEncoderConfigurations(const Call& call, XmlWriter& response) {
  RequireEncoders(call);
  const MediaSnapshot media = call.state.Media();
  for (const AudioEncoderConfiguration& encoder : media.audioEncoders) {
    WriteAudioEncoder(response, "trt:Configurations", encoder, media.profiles);
  }
}

void GetAudioEncoderConfiguration(const Call& call, XmlWriter& response) {
  RequireEncoders(call);
  const MediaSnapshot media = call.state.Media();
  WriteAudioEncoder(response, "trt:Configuration",
                    FindAudioEncoder(media, call.request.Argument("ConfigurationToken").RawText()), media.profiles);
}

void WriteItems(XmlWriter& writer, const char* name, const std::vector<int>& items) {
  writer.Open(name);
  for (const int item : items) {
    writer.Element("tt:Items", item);
  }
  writer.Close();
}

// All encoders of a camera offer the same.
void GetAudioEncoderConfigurationOptions(const Call& call, XmlWriter& response) {
  RequireEncoders(call);
  const XmlElement encoder = call.request.OptionalArgument("ConfigurationToken");
  const XmlElement profile = call.request.OptionalArgument("ProfileToken");
  if (encoder.Exists()) {
    FindAudioEncoder(call.state.Media(), encoder.RawText());
  }
  if (profile.Exists()) {
    call.state.FindProfile(ProfileArgument(call));
  }
  response.Open("trt:Options");
  for (const AudioCodecOptions& codec : call.model.audioCodecs) {
    response.Open("tt:Options").Element("tt:Encoding", codec.encoding);
    WriteItems(response, "tt:BitrateList", codec.bitrates);
    WriteItems(response, "tt:SampleRateList", codec.sampleRates);
    response.Close();
  }
  response.Close();
}

void SetAudioEncoderConfiguration(const Call& call, XmlWriter&) {
  RequireEncoders(call);
  const XmlElement configuration = call.request.Argument("Configuration");
  ReadBoolean(call.request.Argument("ForcePersistence"));
  call.state.ChangeAudioEncoder(ReadConfigurationToken(configuration), [&](AudioEncoderConfiguration& encoder) {
    ReadAudioEncoder(configuration, call.model.audioCodecs, call.rules, encoder);
  });
}

}  // namespace

std::vector<Operation> AudioEncoderOperations() {
  constexpr Service kHere = Service::Media;
  constexpr Access kAccess = Access::Authenticated;
  return {
      {kHere, "GetAudioEncoderConfigurations", kAccess, 1, GetAudioEncoderConfigurations},
      {kHere, "GetAudioEncoderConfiguration", kAccess, 1, GetAudioEncoderConfiguration},
      {kHere, "GetAudioEncoderConfigurationOptions", kAccess, 1, GetAudioEncoderConfigurationOptions},
      {kHere, "SetAudioEncoderConfiguration", kAccess, 1, SetAudioEncoderConfiguration},
  };
}

}  // namespace simcam
