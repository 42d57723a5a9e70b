#include "bench/answers.h"

#include "tests/support/envelope.h"

namespace bench {
namespace {

constexpr char kCapabilities[] =
    "<tds:Capabilities><tt:Device><tt:XAddr>http://cam/onvif/device_service</tt:XAddr><tt:System>"
    "<tt:SupportedVersions><tt:Major>2</tt:Major><tt:Minor>40</tt:Minor></tt:SupportedVersions></tt:System></tt:Device>"
    "<tt:Media><tt:XAddr>http://cam/onvif/media</tt:XAddr></tt:Media>"
    "<tt:PTZ><tt:XAddr>http://cam/onvif/ptz</tt:XAddr></tt:PTZ></tds:Capabilities>";

constexpr char kInstances[] =
    "<trt:TotalNumber>4</trt:TotalNumber><trt:JPEG>2</trt:JPEG><trt:H264>2</trt:H264><trt:MPEG4>2</trt:MPEG4>";

constexpr char kAudioOptions[] =
    "<trt:Options><tt:Options><tt:Encoding>G711</tt:Encoding><tt:BitrateList><tt:Items>64</tt:Items></tt:BitrateList>"
    "<tt:SampleRateList><tt:Items>8</tt:Items></tt:SampleRateList></tt:Options></trt:Options>";

constexpr char kIdentity[] =
    "<tds:Manufacturer>Axis</tds:Manufacturer><tds:Model>M</tds:Model><tds:FirmwareVersion>1</tds:FirmwareVersion>";

constexpr char kInterfaces[] =
    "<tds:NetworkInterfaces token=\"eth0\"><tt:Info><tt:HwAddress>00:11:22:33:44:55</tt:HwAddress></tt:Info>"
    "</tds:NetworkInterfaces>";

constexpr char kPtzSpace[] =
    "<tptz:PTZConfigurationOptions><tt:Spaces><tt:ContinuousPanTiltVelocitySpace><tt:URI>v</tt:URI><tt:XRange>"
    "<tt:Min>-1</tt:Min><tt:Max>1</tt:Max></tt:XRange><tt:YRange><tt:Min>-1</tt:Min><tt:Max>1</tt:Max></tt:YRange>"
    "</tt:ContinuousPanTiltVelocitySpace></tt:Spaces></tptz:PTZConfigurationOptions>";

constexpr char kPtzNode[] =
    "<tptz:PTZNode token=\"n\"><tt:MaximumNumberOfPresets>64</tt:MaximumNumberOfPresets>"
    "<tt:HomeSupported>true</tt:HomeSupported></tptz:PTZNode>";

constexpr char kStreamUri[] =
    "<trt:MediaUri><tt:Uri>rtsp://192.168.1.10:554/Streaming/Channels/101?transportmode=unicast&amp;profile=Profile_1"
    "</tt:Uri><tt:InvalidAfterConnect>false</tt:InvalidAfterConnect><tt:InvalidAfterReboot>false"
    "</tt:InvalidAfterReboot><tt:Timeout>PT60S</tt:Timeout></trt:MediaUri>";

constexpr char kSnapshotUri[] =
    "<trt:MediaUri><tt:Uri>http://192.168.1.10/onvif-http/snapshot?Profile_1</tt:Uri><tt:InvalidAfterConnect>false"
    "</tt:InvalidAfterConnect><tt:InvalidAfterReboot>false</tt:InvalidAfterReboot><tt:Timeout>PT60S</tt:Timeout>"
    "</trt:MediaUri>";

constexpr char kVideoSource[] =
    "<tt:VideoSourceConfiguration token=\"s0\"><tt:Name>source</tt:Name><tt:UseCount>2</tt:UseCount><tt:SourceToken>s"
    "</tt:SourceToken><tt:Bounds height=\"1080\" width=\"1920\" y=\"0\" x=\"0\"/></tt:VideoSourceConfiguration>";

constexpr char kAudio[] =
    "<tt:AudioSourceConfiguration token=\"as0\"><tt:Name>audio</tt:Name><tt:UseCount>2</tt:UseCount><tt:SourceToken>a"
    "</tt:SourceToken></tt:AudioSourceConfiguration><tt:AudioEncoderConfiguration "
    "token=\"ae0\"><tt:Name>audio</tt:Name>"
    "<tt:UseCount>2</tt:UseCount><tt:Encoding>G711</tt:Encoding><tt:Bitrate>64</tt:Bitrate><tt:SampleRate>8"
    "</tt:SampleRate><tt:SessionTimeout>PT60S</tt:SessionTimeout></tt:AudioEncoderConfiguration>";

constexpr char kPtz[] =
    "<tt:PTZConfiguration token=\"z\"><tt:Name>ptz</tt:Name><tt:UseCount>2</tt:UseCount><tt:NodeToken>n</tt:NodeToken>"
    "<tt:DefaultContinuousPanTiltVelocitySpace>http://www.onvif.org/ver10/tptz/PanTiltSpaces/VelocityGenericSpace"
    "</tt:DefaultContinuousPanTiltVelocitySpace><tt:DefaultPTZSpeed><tt:PanTilt y=\"0.1\" x=\"0.1\"/>"
    "<tt:Zoom x=\"1\"/></tt:DefaultPTZSpeed><tt:DefaultPTZTimeout>PT5S</tt:DefaultPTZTimeout></tt:PTZConfiguration>";

std::string Repeated(std::int64_t count, std::string (*item)(std::int64_t number)) {
  std::string text;
  for (std::int64_t i = 0; i < count; ++i) text += item(i);
  return text;
}

std::string Configuration(const std::string& element, std::int64_t number) {
  return "<" + element + " token=\"v" + std::to_string(number) +
         "\"><tt:Name>v</tt:Name><tt:UseCount>1</tt:UseCount><tt:Encoding>H264</tt:Encoding>"
         "<tt:Resolution><tt:Width>640</tt:Width><tt:Height>480</tt:Height></tt:Resolution><tt:Quality>50</tt:Quality>"
         "<tt:RateControl><tt:FrameRateLimit>25</tt:FrameRateLimit><tt:EncodingInterval>1</tt:EncodingInterval>"
         "<tt:BitrateLimit>2048</tt:BitrateLimit></tt:RateControl><tt:H264><tt:GovLength>50</tt:GovLength>"
         "<tt:H264Profile>Main</tt:H264Profile></tt:H264><tt:Multicast><tt:Address><tt:Type>IPv4</tt:Type>"
         "<tt:IPv4Address>0.0.0.0</tt:IPv4Address></tt:Address><tt:Port>0</tt:Port><tt:TTL>1</tt:TTL>"
         "<tt:AutoStart>false</tt:AutoStart></tt:Multicast><tt:SessionTimeout>PT60S</tt:SessionTimeout></" +
         element + ">";
}

std::string Profile(std::int64_t number) {
  return "<trt:Profiles fixed=\"true\" token=\"p" + std::to_string(number) + "\"><tt:Name>p</tt:Name>" + kVideoSource +
         Configuration("tt:VideoEncoderConfiguration", number) + kAudio + kPtz + "</trt:Profiles>";
}

std::string EncoderConfiguration(std::int64_t number) {
  return Configuration("trt:Configurations", number);
}

std::string Preset(std::int64_t number) {
  const std::string digits = std::to_string(number);
  // A preset of the server's own: the driver deletes all others.
  return "<tptz:Preset token=\"t" + digits + "\"><tt:Name>QARN" + digits +
         "</tt:Name><tt:PTZPosition><tt:PanTilt y=\"0.5\" x=\"0.25\"/><tt:Zoom "
         "x=\"0\"/></tt:PTZPosition></tptz:Preset>";
}

std::string CodecOptions(const std::string& codec, std::int64_t resolutions) {
  std::string text = "<tt:" + codec + ">";
  // Descending, so that they have to be sorted.
  for (std::int64_t i = resolutions; i > 0; --i) {
    text += "<tt:ResolutionsAvailable><tt:Width>" + std::to_string(16 * i) + "</tt:Width><tt:Height>" +
            std::to_string(9 * i) + "</tt:Height></tt:ResolutionsAvailable>";
  }
  return text + "<tt:FrameRateRange><tt:Min>1</tt:Min><tt:Max>30</tt:Max></tt:FrameRateRange></tt:" + codec + ">";
}

std::string AllCodecs(std::int64_t resolutions) {
  std::string codecs;
  for (const char* codec : {"JPEG", "MPEG4", "H264"}) codecs += CodecOptions(codec, resolutions);
  return codecs + "<tt:Extension>" + codecs + "</tt:Extension>";
}

std::string EncoderOptions(const CameraSize& size) {
  return "<trt:Options><tt:QualityRange><tt:Min>1</tt:Min><tt:Max>100</tt:Max></tt:QualityRange>" +
         (size.isH264Only ? CodecOptions("H264", size.resolutions) : AllCodecs(size.resolutions)) + "</trt:Options>";
}

}  // namespace

Answers MakeAnswers(const CameraSize& size) {
  struct Answer {
    const char* prefix;
    const char* operation;
    std::string content;
  };
  const Answer answers[] = {
      {"tds", "GetCapabilities", kCapabilities},
      {"tds", "GetDeviceInformation", kIdentity},
      {"tds", "GetNetworkInterfaces", kInterfaces},
      {"trt", "GetProfiles", Repeated(size.profiles, Profile)},
      {"trt", "GetVideoEncoderConfigurations", Repeated(size.encoderConfigurations, EncoderConfiguration)},
      {"trt", "GetVideoEncoderConfigurationOptions", EncoderOptions(size)},
      {"trt", "GetVideoSourceConfigurations", "<trt:Configurations token=\"s\"/>"},
      {"trt", "GetGuaranteedNumberOfVideoEncoderInstances", kInstances},
      {"trt", "GetAudioEncoderConfigurationOptions", kAudioOptions},
      {"tptz", "GetConfigurations", "<tptz:PTZConfiguration token=\"z\"/>"},
      {"tptz", "GetConfigurationOptions", kPtzSpace},
      {"tptz", "GetNodes", kPtzNode},
      {"trt", "GetStreamUri", kStreamUri},
      {"trt", "GetSnapshotUri", kSnapshotUri},
      {"tptz", "GetPresets", Repeated(size.presets, Preset)},
      {"tptz", "ContinuousMove", ""},
  };
  Answers envelopes;
  for (const Answer& answer : answers) {
    const std::string element = std::string(answer.prefix) + ":" + answer.operation + "Response";
    envelopes[answer.operation] = testsupport::Envelope("<" + element + ">" + answer.content + "</" + element + ">");
  }
  return envelopes;
}

}  // namespace bench
