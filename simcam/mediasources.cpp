// The media service: where pictures and sound come from.
#include <algorithm>
#include <set>

#include "simcam/bytoken.h"
#include "simcam/encoderoptions.h"
#include "simcam/mediawriters.h"
#include "simcam/service.h"
#include "simcam/soapfault.h"

namespace simcam {

namespace {

// The first configuration of each physical source stands for it.
template <typename Configuration, typename Write>
void ForEachSource(const std::vector<Configuration>& configurations, Write write) {
  std::set<std::string> seen;
  for (const Configuration& configuration : configurations) {
    if (seen.insert(configuration.source).second) {
      write(configuration);
    }
  }
}

void RequireAudio(const Call& call) {
  if (call.model.audioSources.empty()) {
    throw AudioNotSupported();
  }
}

int FastestRate(const CameraModel& model) {
  int fastest = 0;
  for (const VideoCodecOptions& codec : AllOptions(model).codecs) {
    fastest = std::max(fastest, codec.frameRate.max);
  }
  return fastest;
}

void GetVideoSources(const Call& call, XmlWriter& response) {
  ForEachSource(call.model.videoSources, [&](const VideoSourceConfiguration& configuration) {
    response.Open("trt:VideoSources").Attribute("token", configuration.source);
    response.Element("tt:Framerate", FastestRate(call.model)).Open("tt:Resolution");
    response.Element("tt:Width", configuration.width).Element("tt:Height", configuration.height).Close().Close();
  });
}

void GetVideoSourceConfigurations(const Call& call, XmlWriter& response) {
  const std::vector<Profile> profiles = call.state.Profiles();
  for (const VideoSourceConfiguration& configuration : call.model.videoSources) {
    WriteVideoSource(response, "trt:Configurations", configuration, profiles);
  }
}

void GetGuaranteedNumberOfVideoEncoderInstances(const Call& call, XmlWriter& response) {
  const std::string token = call.request.Argument("ConfigurationToken").RawText();
  if (FindByToken(call.model.videoSources, token) == nullptr) {
    throw InvalidArgument("NoConfig", "no video source configuration has the token " + token);
  }
  const GuaranteedInstances& instances = call.model.guaranteedInstances;
  response.Element("trt:TotalNumber", instances.total);
  // The schema wants JPEG, H264, MPEG4 in this order.
  for (const VideoCodec codec : {VideoCodec::Jpeg, VideoCodec::H264, VideoCodec::Mpeg4}) {
    const std::optional<int>& number = instances.ofCodec.at(static_cast<std::size_t>(codec));
    if (number) {
      response.Element((std::string("trt:") + NameOf(codec)).c_str(), *number);
    }
  }
}

void GetAudioSources(const Call& call, XmlWriter& response) {
  RequireAudio(call);
  ForEachSource(call.model.audioSources, [&](const AudioSourceConfiguration& configuration) {
    response.Open("trt:AudioSources").Attribute("token", configuration.source).Element("tt:Channels", 1).Close();
  });
}

void WriteAudioSources(const Call& call, XmlWriter& response) {
  const std::vector<Profile> profiles = call.state.Profiles();
  for (const AudioSourceConfiguration& configuration : call.model.audioSources) {
    WriteAudioSource(response, "trt:Configurations", configuration, profiles);
  }
}

void GetAudioSourceConfigurations(const Call& call, XmlWriter& response) {
  RequireAudio(call);
  WriteAudioSources(call, response);
}

// Every audio source fits every profile: the sources are independent of the pictures.
void GetCompatibleAudioSourceConfigurations(const Call& call, XmlWriter& response) {
  call.state.FindProfile(ProfileArgument(call));
  WriteAudioSources(call, response);
}

}  // namespace

std::vector<Operation> MediaSourceOperations() {
  constexpr Service kHere = Service::Media;
  constexpr Access kAccess = Access::Authenticated;
  return {
      {kHere, "GetVideoSources", kAccess, 1, GetVideoSources},
      {kHere, "GetVideoSourceConfigurations", kAccess, 1, GetVideoSourceConfigurations},
      {kHere, "GetGuaranteedNumberOfVideoEncoderInstances", kAccess, 1, GetGuaranteedNumberOfVideoEncoderInstances},
      {kHere, "GetAudioSources", kAccess, 1, GetAudioSources},
      {kHere, "GetAudioSourceConfigurations", kAccess, 1, GetAudioSourceConfigurations},
      {kHere, "GetCompatibleAudioSourceConfigurations", kAccess, 1, GetCompatibleAudioSourceConfigurations},
  };
}

}  // namespace simcam
