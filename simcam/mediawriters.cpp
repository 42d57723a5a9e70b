#include "simcam/mediawriters.h"

#include "simcam/bytoken.h"
#include "simcam/configurationwriter.h"
#include "simcam/encoderoptions.h"
#include "simcam/ptzwriters.h"

namespace simcam {

namespace {

using Profiles = std::vector<Profile>;

// Nothing is sent by multicast; the schema asks for the element nevertheless.
void WriteNoMulticast(XmlWriter& writer) {
  writer.Open("tt:Multicast")
      .Open("tt:Address")
      .Element("tt:Type", "IPv4")
      .Element("tt:IPv4Address", "0.0.0.0")
      .Close();
  writer.Element("tt:Port", 0).Element("tt:TTL", 0).Element("tt:AutoStart", false).Close();
}

// Calls `write` with the configuration that has the token, if one has.
template <typename Item, typename Write>
void WithToken(const std::vector<Item>& items, const std::string& token, Write write) {
  const Item* const found = FindByToken(items, token);
  if (found != nullptr) {
    write(*found);
  }
}

}  // namespace

const char* ProfileElementOf(VideoCodec codec) {
  constexpr const char* kElements[kVideoCodecs] = {nullptr, "Mpeg4Profile", "H264Profile"};
  return kElements[static_cast<std::size_t>(codec)];
}

void WriteVideoSource(XmlWriter& writer, const char* name, const VideoSourceConfiguration& configuration,
                      const Profiles& all) {
  OpenConfiguration(writer, name, ConfigurationKind::VideoSource, configuration, all);
  writer.Element("tt:SourceToken", configuration.source).Open("tt:Bounds").Attribute("x", 0).Attribute("y", 0);
  writer.Attribute("width", configuration.width).Attribute("height", configuration.height).Close().Close();
}

void WriteVideoEncoder(XmlWriter& writer, const char* name, const VideoEncoderConfiguration& configuration,
                       const Profiles& all) {
  const char* const profileElement = ProfileElementOf(configuration.codec);
  OpenConfiguration(writer, name, ConfigurationKind::VideoEncoder, configuration, all);
  writer.Element("tt:Encoding", NameOf(configuration.codec))
      .Open("tt:Resolution")
      .Element("tt:Width", configuration.width);
  writer.Element("tt:Height", configuration.height).Close().Element("tt:Quality", configuration.quality);
  writer.Open("tt:RateControl").Element("tt:FrameRateLimit", configuration.frameRate);
  writer.Element("tt:EncodingInterval", 1).Element("tt:BitrateLimit", configuration.bitrate).Close();
  if (profileElement != nullptr) {
    writer.Open(std::string("tt:") + NameOf(configuration.codec)).Element("tt:GovLength", configuration.govLength);
    writer.Element((std::string("tt:") + profileElement).c_str(), configuration.codecProfile).Close();
  }
  WriteNoMulticast(writer);
  writer.Element("tt:SessionTimeout", kSessionTimeout).Close();
}

void WriteAudioEncoder(XmlWriter& writer, const char* name, const AudioEncoderConfiguration& configuration,
                       const Profiles& all) {
  OpenConfiguration(writer, name, ConfigurationKind::AudioEncoder, configuration, all);
  writer.Element("tt:Encoding", configuration.encoding).Element("tt:Bitrate", configuration.bitrate);
  writer.Element("tt:SampleRate", configuration.sampleRate);
  WriteNoMulticast(writer);
  writer.Element("tt:SessionTimeout", kSessionTimeout).Close();
}

void WriteAudioSource(XmlWriter& writer, const char* name, const AudioSourceConfiguration& configuration,
                      const Profiles& all) {
  OpenConfiguration(writer, name, ConfigurationKind::AudioSource, configuration, all);
  writer.Element("tt:SourceToken", configuration.source).Close();
}

void WriteProfile(XmlWriter& writer, const char* name, const CameraModel& model, const Profile& profile,
                  const MediaSnapshot& media) {
  const Profiles& all = media.profiles;
  writer.Open(name).Attribute("token", profile.token).Attribute("fixed", profile.fixed);
  writer.Element("tt:Name", profile.name);
  WithToken(model.videoSources, profile.Binding(ConfigurationKind::VideoSource),
            [&](const auto& found) { WriteVideoSource(writer, "tt:VideoSourceConfiguration", found, all); });
  WithToken(model.audioSources, profile.Binding(ConfigurationKind::AudioSource),
            [&](const auto& found) { WriteAudioSource(writer, "tt:AudioSourceConfiguration", found, all); });
  WithToken(media.videoEncoders, profile.Binding(ConfigurationKind::VideoEncoder),
            [&](const auto& found) { WriteVideoEncoder(writer, "tt:VideoEncoderConfiguration", found, all); });
  WithToken(media.audioEncoders, profile.Binding(ConfigurationKind::AudioEncoder),
            [&](const auto& found) { WriteAudioEncoder(writer, "tt:AudioEncoderConfiguration", found, all); });
  if (model.ptz) {
    WithToken(model.ptz->configurations, profile.Binding(ConfigurationKind::Ptz),
              [&](const auto& found) { WritePtzConfiguration(writer, "tt:PTZConfiguration", *model.ptz, found, all); });
  }
  writer.Close();
}

}  // namespace simcam
