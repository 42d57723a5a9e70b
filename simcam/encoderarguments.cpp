#include "simcam/encoderarguments.h"

#include <optional>

#include "simcam/camerastate.h"
#include "simcam/configurationwriter.h"
#include "simcam/encoderoptions.h"
#include "simcam/encodersettings.h"
#include "simcam/mediawriters.h"
#include "simcam/namespaces.h"
#include "simcam/soapfault.h"

namespace simcam {

namespace {

SoapFault NotOffered(const std::string& reason) {
  return InvalidArgument("ConfigModify", reason);
}

// The camera has no multicast, and sessions of one length: what asks for something else would not happen.
void CheckStreaming(const XmlElement& configuration) {
  const XmlElement multicast = RequiredChild(configuration, "Multicast");
  const XmlElement address = multicast.Child(ns::kSchema, "Address").Child(ns::kSchema, "IPv4Address");
  const XmlElement port = multicast.Child(ns::kSchema, "Port");
  const XmlElement start = multicast.Child(ns::kSchema, "AutoStart");
  if ((address.Exists() && address.Text() != "0.0.0.0") || (port.Exists() && ReadWhole(port) != 0) ||
      (start.Exists() && ReadBoolean(start))) {
    throw NotOffered("the camera does not send by multicast");
  }
  if (RequiredChild(configuration, "SessionTimeout").Text() != kSessionTimeout) {
    throw NotOffered(std::string("the session timeout is ") + kSessionTimeout + " and cannot be set");
  }
}

std::string ReadName(const XmlElement& configuration) {
  std::string name = RequiredChild(configuration, "Name").RawText();
  if (!IsNameLike(name)) {
    throw SoapFault("Sender", {"InvalidArgVal"}, "a name has 1 to 64 characters");
  }
  // How often the configuration is used is the camera's to say; it must be there all the same.
  RequiredChild(configuration, "UseCount");
  return name;
}

VideoCodec ReadCodec(const XmlElement& configuration) {
  const std::string text = RequiredChild(configuration, "Encoding").Text();
  const std::optional<VideoCodec> codec = CodecNamed(text);
  if (!codec) {
    throw NotOffered("the encoder does not offer " + text);
  }
  return *codec;
}

void ReadRateControl(const XmlElement& rate, VideoEncoderConfiguration& encoder) {
  if (!rate.Exists()) {
    return;
  }
  encoder.frameRate = ReadWhole(RequiredChild(rate, "FrameRateLimit"));
  encoder.bitrate = ReadWhole(RequiredChild(rate, "BitrateLimit"));
  if (ReadWhole(RequiredChild(rate, "EncodingInterval")) != 1) {
    throw NotOffered("every frame is encoded: the encoding interval is 1");
  }
}

void StartCodec(VideoCodec codec, const VideoEncoderOptions& options, VideoEncoderConfiguration& encoder) {
  if (codec == encoder.codec) {
    return;
  }
  const VideoCodecOptions* const offered = FindCodec(options, codec);
  if (offered == nullptr) {
    throw NotOffered(std::string("the encoder does not offer ") + NameOf(codec));
  }
  encoder.codec = codec;
  encoder.govLength = offered->govLength.min;
  encoder.codecProfile = offered->codecProfiles.empty() ? std::string() : offered->codecProfiles.front();
}

void ReadCodecSettings(const XmlElement& settings, VideoEncoderConfiguration& encoder) {
  const char* const profileElement = ProfileElementOf(encoder.codec);
  if (!settings.Exists() || profileElement == nullptr) {
    return;
  }
  encoder.govLength = ReadWhole(RequiredChild(settings, "GovLength"));
  encoder.codecProfile = RequiredChild(settings, profileElement).Text();
}

}  // namespace

void ReadVideoEncoder(const XmlElement& configuration, const VideoEncoderOptions& options, const CallRules& rules,
                      VideoEncoderConfiguration& encoder) {
  const VideoEncoderConfiguration before = encoder;
  encoder.name = ReadName(configuration);
  StartCodec(ReadCodec(configuration), options, encoder);
  const XmlElement resolution = RequiredChild(configuration, "Resolution");
  encoder.width = ReadWhole(RequiredChild(resolution, "Width"));
  encoder.height = ReadWhole(RequiredChild(resolution, "Height"));
  encoder.quality = ReadNumber(RequiredChild(configuration, "Quality"));
  ReadRateControl(configuration.Child(ns::kSchema, "RateControl"), encoder);
  ReadCodecSettings(configuration.Child(ns::kSchema, NameOf(encoder.codec)), encoder);
  CheckStreaming(configuration);
  KeepSettings(rules.ignoredSettings, before, encoder);
  if (rules.clampsEncoders) {
    Clamp(encoder, options);
  }
  const std::string problem = ProblemOf(encoder, options);
  if (!problem.empty()) {
    throw NotOffered(problem);
  }
}

void ReadAudioEncoder(const XmlElement& configuration, const std::vector<AudioCodecOptions>& codecs,
                      const CallRules& rules, AudioEncoderConfiguration& encoder) {
  encoder.name = ReadName(configuration);
  encoder.encoding = RequiredChild(configuration, "Encoding").Text();
  encoder.bitrate = ReadWhole(RequiredChild(configuration, "Bitrate"));
  encoder.sampleRate = ReadWhole(RequiredChild(configuration, "SampleRate"));
  CheckStreaming(configuration);
  if (rules.clampsEncoders) {
    Clamp(encoder, codecs);
  }
  const std::string problem = ProblemOf(encoder, codecs);
  if (!problem.empty()) {
    throw NotOffered(problem);
  }
}

std::string ReadConfigurationToken(const XmlElement& configuration) {
  const std::optional<std::string> token = configuration.Attribute("token");
  if (!token) {
    throw SoapFault("Sender", {"InvalidArgs"}, "the configuration has no token");
  }
  return *token;
}

}  // namespace simcam
