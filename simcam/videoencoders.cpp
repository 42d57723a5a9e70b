// The media service: how pictures are encoded.
#include "simcam/bytoken.h"
#include "simcam/encoderarguments.h"
#include "simcam/encoderoptions.h"
#include "simcam/mediawriters.h"
#include "simcam/service.h"
#include "simcam/soapfault.h"

namespace simcam {

namespace {

VideoEncoderConfiguration FindVideoEncoder(const MediaSnapshot& media, const std::string& token) {
  const VideoEncoderConfiguration* const found = FindByToken(media.videoEncoders, token);
  if (found == nullptr) {
    throw InvalidArgument("NoConfig", "no video encoder configuration has the token " + token);
  }
  return *found;
}

void GetVideoEncoderConfigurations(const Call& call, XmlWriter& response) {
  const MediaSnapshot media = call.state.Media();
  for (const VideoEncoderConfiguration& encoder : media.videoEncoders) {
    WriteVideoEncoder(response, "trt:Configurations", encoder, media.profiles);
  }
}

void GetVideoEncoderConfiguration(const Call& call, XmlWriter& response) {
  const MediaSnapshot media = call.state.Media();
  WriteVideoEncoder(response, "trt:Configuration",
                    FindVideoEncoder(media, call.request.Argument("ConfigurationToken").RawText()), media.profiles);
}

// The options of the encoder that the request names, or that its profile binds, or of the camera.
VideoEncoderOptions RequestedOptions(const Call& call) {
  const XmlElement profileToken = call.request.OptionalArgument("ProfileToken");
  std::string encoder;
  if (profileToken.Exists()) {
    encoder = call.state.FindProfile(ProfileArgument(call)).Binding(ConfigurationKind::VideoEncoder);
  }
  const XmlElement encoderToken = call.request.OptionalArgument("ConfigurationToken");
  if (encoderToken.Exists()) {
    return OptionsOf(call.model, FindVideoEncoder(call.state.Media(), encoderToken.RawText()));
  }
  return encoder.empty() ? AllOptions(call.model)
                         : OptionsOf(call.model, FindVideoEncoder(call.state.Media(), encoder));
}

void WriteWholeRange(XmlWriter& writer, const char* name, const WholeRange& range) {
  writer.Open(name).Element("tt:Min", range.min).Element("tt:Max", range.max).Close();
}

// Leaves the codec's element open.
void OpenCodecOptions(XmlWriter& writer, const VideoCodecOptions& options) {
  const char* const profileElement = ProfileElementOf(options.codec);
  writer.Open(std::string("tt:") + NameOf(options.codec));
  for (const Resolution& resolution : options.resolutions) {
    writer.Open("tt:ResolutionsAvailable").Element("tt:Width", resolution.width);
    writer.Element("tt:Height", resolution.height).Close();
  }
  if (profileElement != nullptr) {
    WriteWholeRange(writer, "tt:GovLengthRange", options.govLength);
  }
  WriteWholeRange(writer, "tt:FrameRateRange", options.frameRate);
  WriteWholeRange(writer, "tt:EncodingIntervalRange", {1, 1});
  for (const std::string& profile : options.codecProfiles) {
    writer.Element((std::string("tt:") + profileElement + "sSupported").c_str(), profile);
  }
}

// Writes the codecs in the schema's order, which is that of VideoCodec.
template <typename Finish>
void WriteCodecs(XmlWriter& writer, const VideoEncoderOptions& options, Finish finish) {
  for (std::size_t codec = 0; codec < kVideoCodecs; ++codec) {
    const VideoCodecOptions* const offered = FindCodec(options, static_cast<VideoCodec>(codec));
    if (offered != nullptr) {
      OpenCodecOptions(writer, *offered);
      finish();
      writer.Close();
    }
  }
}

// Since version 2 the codecs stand in the extension once more, with the bitrates that the first release had no place
// for.
void GetVideoEncoderConfigurationOptions(const Call& call, XmlWriter& response) {
  const VideoEncoderOptions options = RequestedOptions(call);
  response.Open("trt:Options");
  WriteWholeRange(response, "tt:QualityRange", options.quality);
  WriteCodecs(response, options, [] {});
  if (call.model.versions.front().major >= 2) {
    response.Open("tt:Extension");
    WriteCodecs(response, options, [&] { WriteWholeRange(response, "tt:BitrateRange", options.bitrate); });
    response.Close();
  }
  response.Close();
}

void SetVideoEncoderConfiguration(const Call& call, XmlWriter&) {
  const XmlElement configuration = call.request.Argument("Configuration");
  ReadBoolean(call.request.Argument("ForcePersistence"));
  call.state.ChangeVideoEncoder(ReadConfigurationToken(configuration), [&](VideoEncoderConfiguration& encoder) {
    ReadVideoEncoder(configuration, OptionsOf(call.model, encoder), call.rules, encoder);
  });
}

}  // namespace

std::vector<Operation> VideoEncoderOperations() {
  constexpr Service kHere = Service::Media;
  constexpr Access kAccess = Access::Authenticated;
  return {
      {kHere, "GetVideoEncoderConfigurations", kAccess, 1, GetVideoEncoderConfigurations},
      {kHere, "GetVideoEncoderConfiguration", kAccess, 1, GetVideoEncoderConfiguration},
      {kHere, "GetVideoEncoderConfigurationOptions", kAccess, 1, GetVideoEncoderConfigurationOptions},
      {kHere, "SetVideoEncoderConfiguration", kAccess, 1, SetVideoEncoderConfiguration},
  };
}

}  // namespace simcam
