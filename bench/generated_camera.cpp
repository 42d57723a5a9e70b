#include "bench/generated_camera.h"

#include <string_view>

#include "tests/support/envelope.h"

namespace bench {
namespace {

using testsupport::HttpRequest;
using testsupport::Reply;

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

std::string Configuration(const std::string& element, std::int64_t number) {
  return "<" + element + " token=\"v" + std::to_string(number) +
         "\"><tt:Name>v</tt:Name><tt:UseCount>1</tt:UseCount><tt:Encoding>H264</tt:Encoding>"
         "<tt:Resolution><tt:Width>640</tt:Width><tt:Height>480</tt:Height></tt:Resolution><tt:Quality>50</tt:Quality>"
         "<tt:RateControl><tt:FrameRateLimit>25</tt:FrameRateLimit></tt:RateControl></" +
         element + ">";
}

std::string Profiles(std::int64_t count) {
  std::string text;
  for (std::int64_t i = 0; i < count; ++i) {
    text += "<trt:Profiles token=\"p" + std::to_string(i) + "\"><tt:Name>p</tt:Name>" +
            Configuration("tt:VideoEncoderConfiguration", i) + "</trt:Profiles>";
  }
  return text;
}

std::string EncoderConfigurations(std::int64_t count) {
  std::string text;
  for (std::int64_t i = 0; i < count; ++i) text += Configuration("trt:Configurations", i);
  return text;
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

std::string EncoderOptions(std::int64_t resolutions) {
  std::string text = "<trt:Options><tt:QualityRange><tt:Min>1</tt:Min><tt:Max>100</tt:Max></tt:QualityRange>";
  for (const char* codec : {"JPEG", "MPEG4", "H264"}) text += CodecOptions(codec, resolutions);
  return text + "</trt:Options>";
}

std::map<std::string, Reply> MakeReplies(const CameraSize& size) {
  struct Answer {
    const char* prefix;
    const char* operation;
    std::string content;
  };
  const Answer answers[] = {
      {"tds", "GetCapabilities", kCapabilities},
      {"tds", "GetDeviceInformation", kIdentity},
      {"tds", "GetNetworkInterfaces", kInterfaces},
      {"trt", "GetProfiles", Profiles(size.profiles)},
      {"trt", "GetVideoEncoderConfigurations", EncoderConfigurations(size.encoderConfigurations)},
      {"trt", "GetVideoEncoderConfigurationOptions", EncoderOptions(size.resolutions)},
      {"trt", "GetVideoSourceConfigurations", "<trt:Configurations token=\"s\"/>"},
      {"trt", "GetGuaranteedNumberOfVideoEncoderInstances", kInstances},
      {"trt", "GetAudioEncoderConfigurationOptions", kAudioOptions},
      {"tptz", "GetConfigurations", "<tptz:PTZConfiguration token=\"z\"/>"},
      {"tptz", "GetConfigurationOptions", kPtzSpace},
      {"tptz", "GetNodes", kPtzNode},
  };
  std::map<std::string, Reply> replies;
  for (const Answer& answer : answers) {
    const std::string element = std::string(answer.prefix) + ":" + answer.operation + "Response";
    replies[answer.operation] =
        Reply::Ok(testsupport::Envelope("<" + element + ">" + answer.content + "</" + element + ">"));
  }
  return replies;
}

std::string OperationOf(const HttpRequest& request) {
  const std::string body = testsupport::BodyOf(request.body);
  return body.empty() ? body : body.substr(1, body.find_first_of(" />") - 1);
}

}  // namespace

GeneratedCamera::GeneratedCamera(const CameraSize& size) : m_replies(MakeReplies(size)) {
  m_camera.AnswerAll([this](const HttpRequest& request) {
    const auto found = m_replies.find(OperationOf(request));
    return found == m_replies.end() ? Reply::Status(500) : found->second;
  });
}

}  // namespace bench
